#pragma once
// One panel per user: cue lists given to a second panel (a double-click in a
// file manager) go to the one already running over a local socket, and the
// second one exits, so that two panels never fight over the unit's port.
#include <QObject>
#include <QStringList>

#include <functional>

class QLocalServer;

namespace rz48::app {

// True when a running panel took the files (it opens them); false when
// none runs or it did not answer.
bool sendToRunningPanel(const QStringList& files);

// The running panel's end: files that arrive are handed to `open`.
class InstanceServer : public QObject {
    Q_OBJECT
public:
    explicit InstanceServer(std::function<void(const QStringList&)> open, QObject* parent = nullptr);
    // Listens, unless another panel already does; false then.
    bool listen();

private:
    std::function<void(const QStringList&)> open_;
    QLocalServer* server_;
};

} // namespace rz48::app
