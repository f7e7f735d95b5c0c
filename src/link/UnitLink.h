#pragma once
// The one way to the unit that the window, the control program and the tests
// hold: sending, the stream of lines the unit reports, where the connection
// stands, and the port lent to an update.
//
// Where the unit is: searching, connected, not answering, not found, or lost.
// The unit is found at start-up; a lost link (the link thread says so) is
// looked for again every second (the same port, or the same USB serial number
// under another name); when none was found the search goes on; Reconnect
// searches every candidate at once. A port that opened and did not answer is
// not probed again until it disappears and comes back (or until Reconnect),
// and each reason a port could not be used is printed once.
#include "link/MsgClass.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>
#include <memory>

class ComThread;
class QTimer;

namespace rz48::link {

// Where the link looks for the unit.
struct Search {
    QString directory;                 // empty: "/dev"
    QString explicitPort;              // set: only this port is probed
    std::function<bool()> driverCheck; // set: replaces the platform's USB serial driver check
};

class UnitLink : public QObject {
    Q_OBJECT
public:
    enum class State { Searching, Connected, NotAnswering, NotFound, Lost };
    // Commands in a row without an answer that make a unit "not answering".
    static constexpr int kUnansweredLimit = 5;

    explicit UnitLink(const Search& search = {}, QObject* parent = nullptr);
    ~UnitLink() override;
    // Where to look, before start().
    void setSearch(const Search& search);

    // --- the connection
    // The search at start-up; true when the unit answered. The link then
    // keeps watching (every second) until stop().
    bool start();
    // Unit > Reconnect: closes the port in use and probes every candidate
    // (about 50 ms later, so the status bar says so first), forgetting which
    // were silent.
    void reconnect();
    // Unit > Port: every unit that answers; when there is more than one, the
    // operator chooses, and the link moves to the chosen one. `firmware` is
    // the version of the unit in use.
    void choosePort(const QString& firmware = {});
    // No more searching, and the link thread stops.
    void stop();
    State state() const { return state_; }
    bool isConnected() const { return state_ == State::Connected || state_ == State::NotAnswering; }
    // One line for the status bar; `firmware` names what the unit runs.
    QString statusText(const QString& firmware = {}) const;
    // Why no port could be used, a line each, with what to do.
    const QStringList& reasons() const { return reasons_; }
    // Every candidate port and what was found on it; the ports where a unit
    // answered go into `answering`, the version each one names into `versions`.
    static QStringList listPorts(const Search& search, QStringList* answering, QStringList* versions = nullptr);

    // --- sending
    void sendString(const QString& command);
    void sendMidiTrigger(int note);
    // Called with the bytes of every message queued for the unit.
    void setSendTap(std::function<void(const QByteArray&)> tap);
    // Messages still to be written.
    int txCount() const;
    // Commands dropped when the port went away.
    int droppedCommands() const;
    int unanswered() const;
    bool isRunning() const;
    int getBaud() const;
    const QString& portPath() const;
    // The port's name as the window's title shows it.
    const QString& portName() const;

    // --- what the unit says: every line, in order, as reportLine()
    Q_INVOKABLE void threadHasMsg(MsgClass chunk);
    Q_INVOKABLE void threadLinkLost();
    quint64 bytesReceived() const { return bytesReceived_; }
    // What has come and is not yet a whole line.
    const MsgClass& received() const { return received_; }
    // Bytes the port holds that the link has not read yet.
    int bytesAvailable() const;
    // Milliseconds since the last bytes came; -1 before any.
    qint64 quietFor() const { return lastReceived_.isValid() ? lastReceived_.elapsed() : -1; }

    // --- the port lent to an update
    bool hasPort() const;
    // The port's descriptor for an update worker, at `baud` (0 keeps the
    // speed), after the link's thread has stopped.
    int lendPort(int baud);
    // The port back at 38400, with the link's thread running again.
    void takePortBack();

signals:
    void stateChanged();
    // The unit answered on a port and the link runs: the window asks the unit for its state.
    void connected();
    // A line from the unit, without its terminator.
    void reportLine(const QString& line);

private:
    void tick();
    bool retry(bool everyCandidate);
    void found(const QString& path);
    void setState(State state);
    void printOnce(const QString& line);
    bool sameUnit(const QString& path) const;
    QString searchDirectory() const;

    Search search_;
    std::unique_ptr<ComThread> thread_;
    MsgClass received_;
    quint64 bytesReceived_ = 0;
    QElapsedTimer lastReceived_;
    QTimer* timer_;
    State state_ = State::Searching;
    bool reconnecting_ = false; // Reconnect asked: the probes are about to run
    QString closedPort_;        // the port Reconnect closed
    static constexpr int kReconnectPaintMs = 50;
    QStringList reasons_;
    QSet<QString> silent_;  // ports that opened and did not answer
    QSet<QString> printed_; // reasons already printed
    QString lostPort_;
    QString lostCanonical_;
    QString lostSerial_;
    QDateTime lostSince_;
};

} // namespace rz48::link
