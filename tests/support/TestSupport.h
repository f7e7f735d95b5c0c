#pragma once
#include "link/MsgClass.h"
#include "support/QtPrinting.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QStringList>

#include <functional>
#include <ostream>
#include <vector>

namespace rz48test {

// Runs the event loop until `done` holds or `ms` milliseconds have passed.
bool waitUntil(const std::function<bool()>& done, int ms = 3000);

// A parent for the link: records every chunk it is handed on the main thread.
class ChunkRecorder : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void threadHasMsg(MsgClass chunk);
    Q_INVOKABLE void threadLinkLost() { ++losses; }

    QByteArray allBytes() const;
    std::vector<MsgClass> chunks;
    bool allOnMainThread = true;
    int losses = 0;
};

} // namespace rz48test
