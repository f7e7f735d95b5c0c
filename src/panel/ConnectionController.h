#pragma once
// Where the unit is: searching, connected, not answering, not found, or lost.
// Finds the unit at start-up; notices a lost link (the link thread says so)
// and looks for the same unit again every second (the same port, or the same
// USB serial number under another name); keeps looking when none was found;
// Reconnect searches every candidate at once. A port that opened and did not
// answer is not probed again until it disappears and comes back (or until
// Reconnect), and each reason a port could not be used is printed once.
#include "panel/LinkOptions.h"

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>

class ComThread;
class QTimer;

class ConnectionController : public QObject {
    Q_OBJECT
public:
    enum class State { Searching, Connected, NotAnswering, NotFound, Lost };
    // Commands in a row without an answer that make a unit "not answering".
    static constexpr int kUnansweredLimit = 5;

    explicit ConnectionController(QObject* parent = nullptr);

    // `link` is the one link; `firmware` gives the version the unit reported.
    void setUp(ComThread* link, const LinkOptions& options, std::function<QString()> firmware);
    // The search at start-up; true when the unit answered.
    bool start();
    // Unit > Reconnect: every candidate, now, forgetting which were silent.
    void reconnect();
    // Unit > Port: every unit that answers; when there is more than one, the
    // operator chooses, and the link moves to the chosen one.
    void choosePort();
    // The link thread saw the port go away.
    void linkLost();
    // The window closes: no more searching.
    void stop();

    State state() const { return state_; }
    // One line for the status bar.
    QString statusText() const;
    // Why no port could be used, a line each, with what to do.
    const QStringList& reasons() const { return reasons_; }
    bool isConnected() const { return state_ == State::Connected || state_ == State::NotAnswering; }

signals:
    void stateChanged();
    // The unit answered on a port: the window starts the link and asks the
    // unit for its state.
    void connected();
    // The link is about to move to another port: its thread must stop first.
    void leaving();

private:
    void tick();
    bool retry(bool everyCandidate);
    void setState(State state);
    void printOnce(const QString& line);
    bool sameUnit(const QString& path) const;

    ComThread* link_ = nullptr;
    LinkOptions options_;
    std::function<QString()> firmware_;
    QTimer* timer_;
    State state_ = State::Searching;
    QStringList reasons_;
    QSet<QString> silent_;  // ports that opened and did not answer
    QSet<QString> printed_; // reasons already printed
    QString lostPort_;
    QString lostCanonical_;
    QString lostSerial_;
    QDateTime lostSince_;
};
