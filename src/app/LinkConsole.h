#pragma once
// The console front of the link: receives the link thread's chunks on the
// main thread, cuts them into report lines and prints each one.
#include "link/MsgClass.h"

#include <QObject>

class LinkConsole : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    Q_INVOKABLE void threadHasMsg(MsgClass chunk);

    int linesSeen() const { return lines_; }

signals:
    void lineReceived(const QString& line);

private:
    MsgClass msg_;
    int lines_ = 0;
};
