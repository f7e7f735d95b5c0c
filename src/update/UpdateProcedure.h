#pragma once
// The two firmware updates, from a checked file to their end: the
// microcontroller's (read the unit's version and settings block, "k" and
// "j", then hand the port to its worker with the program and the settings)
// and the FPGA's ("A 1", "d 1", then the port at 230400 bit/s to its worker).
// The port goes back to the link at the end; a good update has the unit
// asked for its state again. Keeps what the unit says of its firmware.
#include "codecs/VersionCheck.h"
#include "update/Progress.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

class FirmwareUpdateThread;
class MicroUpdateThread;
class QTimer;

namespace rz48::link {
class UnitLink;
}

namespace rz48::update {

class UpdateProcedure : public QObject {
    Q_OBJECT
public:
    enum class Kind { Micro, Fpga };

    explicit UpdateProcedure(QObject* parent = nullptr);
    ~UpdateProcedure() override;

    void setLink(rz48::link::UnitLink* link) { link_ = link; }
    rz48::link::UnitLink* link() const { return link_; }
    // Runs once a checked file is accepted, before the update's first
    // command; the update goes on when it calls back (with where the unit's
    // setup was saved, or why it could not be).
    using BeforeUpdate = std::function<void(std::function<void(const QString& path, const QString& error)>)>;
    void setBeforeUpdate(BeforeUpdate before) { beforeUpdate_ = std::move(before); }

    // A checked microcontroller program (nothing but S-records) with the unit's loader image.
    void startMicro(const QByteArray& program, const QByteArray& loader, const QStringList& fileWarnings);
    // A checked FPGA configuration (nothing but records).
    void startFpga(const QByteArray& configuration, const QStringList& fileWarnings);
    // The window is closing: a running update ends first ("operation aborted, ...").
    void stop();
    bool isUpdating() const { return updating_; }

    // The unit's reports an update reads.
    void versionReport(const QString& line, uint32_t address, uint32_t size);
    void settingsRecord(const QString& line);
    // Keeps the version `current` names; an alert when it is older than `minimum`.
    void checkMicroVersion(const QString& current, const QString& minimum);

    Q_INVOKABLE void threadHasProgress(Progress progress);
    Q_INVOKABLE void threadUpdateComplete(Progress progress);

    MicroUpdateThread* microUpdateThread() const { return micro_.get(); }
    FirmwareUpdateThread* firmwareUpdateThread() const { return firmware_.get(); }
    const std::array<uint8_t, 256>& stateBuffer() const { return stateBuffer_; }
    uint32_t stateAddress() const { return stateAddress_; }
    uint32_t stateSize() const { return stateSize_; }
    const UnitVersion& unitVersion() const { return version_; }

signals:
    void updatingChanged(bool updating);
    // Every step of an update, with its percentage.
    void progressShown(const Progress& progress);
    // An update succeeded and the link runs again: the unit's state is read anew.
    void linkBack();
    // A "k" report said which firmware the unit runs.
    void firmwareReported();

private:
    void setUpdating(bool updating);
    // Saves the unit's setup (when a saver is set), then runs `next` unless the update was stopped meanwhile.
    void saveSetupThen(std::function<void()> next);
    void askForSettings();
    // Waits for the "k" and "j" answers, then goes on with the update.
    void settingsWaitTick();
    void startMicroWorker(bool restoreSettings);
    void startFpgaWorker(const QByteArray& configuration);
    // Runs `then` once the link has sent what is queued (or after `turnsLeft` short waits), unless stopped.
    void whenSent(int turnsLeft, std::function<void()> then);
    // The update's end, in an alert: what happened, what to do, the settings.
    void endAlert(const QString& message, bool versionReported = false);

    std::unique_ptr<MicroUpdateThread> micro_;
    std::unique_ptr<FirmwareUpdateThread> firmware_;
    rz48::link::UnitLink* link_ = nullptr;
    BeforeUpdate beforeUpdate_;
    std::array<uint8_t, 256> stateBuffer_ {};
    uint32_t stateAddress_ = 0;
    uint32_t stateSize_ = 0;
    UnitVersion version_;

    bool updating_ = false;
    Kind kind_ = Kind::Micro;
    QTimer* settingsWait_ = nullptr;
    int settingsWaitTicks_ = 0;
    bool versionAnswered_ = false;
    unsigned settingsAnswered_ = 0; // bit n: the "j" report of 0xFC00 + 16 n
    QString program_;               // the microcontroller program's text, checked
    QByteArray loader_;
    QString settingsNote_;          // for the end alert: what became of the settings
    bool settingsKept_ = false;     // the settings go back with the program
    QStringList fileWarnings_;      // what the checked file has that is not sent
    QString setupNote_;             // for the end alert: where the unit's setup was saved
    bool awaitingVersion_ = false;  // a good update's alert waits for the unit's "k" report
};

} // namespace rz48::update
