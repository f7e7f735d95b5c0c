#pragma once
// A unit without a window: one search, the probe, then only what is asked
// for, through the panel's own link (its pacing, its probe). Report lines
// are collected as they come, so that a caller can ask for one and wait.
#include "link/UnitLink.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace rz48::session {

class UnitSession : public QObject {
    Q_OBJECT
public:
    UnitSession();
    ~UnitSession() override;

    // Searches once (the directory, or only `port` when given) and starts
    // the link. False with every port's reason in `reasons` when no unit answered.
    bool open(const QString& directory, const QString& port, QStringList* reasons);
    const QString& portPath() const { return link_.portPath(); }

    // Sends `command` and waits up to `timeoutMs` for a report of `letter`.
    std::optional<QString> ask(const QString& command, QChar letter, int timeoutMs = 2000);
    // Sends `command` and returns the lines that came until the unit was
    // quiet for `quietMs` after answering (a bare prompt answers with no
    // line); none when nothing came within `timeoutMs`.
    std::optional<QStringList> exchange(const QString& command, int quietMs = 100, int timeoutMs = 1000);
    void send(const QString& command) { link_.sendString(command); }
    void trigger(int note) { link_.sendMidiTrigger(note); }
    // Waits until everything queued is written and answered (or `timeoutMs`).
    bool drain(int timeoutMs = 5000);
    // Waits up to `timeoutMs` for a report of `letter` among the lines still to come.
    std::optional<QString> waitFor(QChar letter, int timeoutMs);
    bool lost() const { return link_.state() == rz48::link::UnitLink::State::Lost; }

private:
    // Runs the event loop until `done` holds or `timeoutMs` passed.
    bool waitUntil(const std::function<bool()>& done, int timeoutMs);

    rz48::link::UnitLink link_;
    QStringList lines_; // not yet taken
};

// Every candidate port and what was found on it, printed on standard output.
// 0 when a unit answered, 3 when none did.
int printPortListing(const QString& directory, const QString& port);

} // namespace rz48::session
