#pragma once
// The unit's whole setup from the window: Unit > Save setup..., Load
// setup..., Compare with unit..., Revert to connection setup, and the setup
// saved before each firmware update. Every report line passes by on its way
// to the controls, so the setup is made of the unit's own report lines (not
// of the controls, which shift a received overlay position), and asking for
// it sends the setup letters' queries and nothing else.
#include "codecs/SetupFile.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace rz48::link {
class UnitLink;
}
class QTimer;

class SetupController : public QObject {
    Q_OBJECT
public:
    using Done = std::function<void(const rz48::setup::Setup& setup, const QStringList& missing)>;

    explicit SetupController(QObject* parent = nullptr);
    void setUp(rz48::link::UnitLink* link);
    // Where the unit's firmware is known (for the setup's comment).
    void setFirmware(std::function<QString()> firmware) { firmware_ = std::move(firmware); }
    // Tells whether an update runs: the menu commands wait for its end (a
    // setup read or sent during one would be empty or lost).
    void setUpdateCheck(std::function<bool()> updating) { updating_ = std::move(updating); }

    // Every report line, before the controls read it.
    void record(const QString& line);
    // The link is up and the start-up queries are on their way: what they
    // bring back is kept for the session as the connection's setup.
    void connected();
    // Asks the unit for its setup ("k", then each setup letter); `done` runs
    // once the answers are in (a bare "M" is given 300 ms).
    void capture(Done done);
    bool busy() const { return pending_ != nullptr; }

    void menuSaveSetup();
    void menuLoadSetup();
    void menuCompareSetup();
    void menuRevertSetup();
    // Saves a dated setup into the data directory (rz48/setups), then runs
    // `done` with its path, or with an empty path and why it could not.
    void saveBeforeUpdate(std::function<void(const QString& path, const QString& error)> done);

    const rz48::setup::Setup& connectionSetup() const { return connectionSetup_; }
    // Where the setups saved before updates go.
    static QString updateSetupDirectory();

signals:
    // A setup was applied: the controls follow the reports it brought.
    void applied();

private:
    void tick();
    void finish();
    // Sends a setup's lines, asks again, and says what did not come back as sent.
    void apply(const rz48::setup::Setup& setup, const QString& name);
    // What the comparison found, in words: `same` when nothing differs, else
    // `differ` of the number of settings that do.
    void showDifferences(const rz48::setup::Setup& wanted, const rz48::setup::Setup& unit, const QString& same,
                         const std::function<QString(qsizetype)>& differ);
    // A setup file the operator chooses, or none after a refusal.
    bool chooseSetup(const QString& title, rz48::setup::Setup& setup, QString* name);
    // True (after an alert) while an update runs.
    bool refusedDuringUpdate() const;

    rz48::link::UnitLink* link_ = nullptr;
    std::function<bool()> updating_;
    QTimer* timer_ = nullptr;
    quint64 sequence_ = 0;                 // of the last line recorded
    QMap<QChar, QPair<QString, quint64>> latest_; // each letter's last report and when it came
    std::function<QString()> firmware_;    // what the unit's last "k" report said
    quint64 askedAt_ = 0;
    int quietTicks_ = 0;
    int ticks_ = 0;
    std::unique_ptr<Done> pending_;
    rz48::setup::Setup connectionSetup_;
    QString connectedAt_; // when the connection's setup was read
};
