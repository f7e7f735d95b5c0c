#include "update/UpdateProcedure.h"

#include "codecs/ProtocolTables.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "link/UnitLink.h"
#include "update/FirmwareUpdateThread.h"
#include "update/MicroUpdateThread.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"

#include <QTimer>

#include <algorithm>
#include <cstring>

namespace rz48::update {

namespace {

constexpr int kQuietBeforeQueries = 1500; // ms
constexpr int kSettingsPollMs = 50;
constexpr int kSettingsWaitMs = 2000;     // for the "k" and "j" answers before a microcontroller update
constexpr int kVersionWaitMs = 15000;     // for the unit's version after a good update
constexpr int kSentWaitTurnMs = 2;        // while the FPGA update's commands go out
constexpr int kSentWaitTurns = 100;

} // namespace

UpdateProcedure::UpdateProcedure(QObject* parent)
    : QObject(parent)
    , micro_(std::make_unique<MicroUpdateThread>())
    , firmware_(std::make_unique<FirmwareUpdateThread>())
{
}

UpdateProcedure::~UpdateProcedure() = default;

void UpdateProcedure::stop()
{
    if (settingsWait_)
        settingsWait_->stop();
    awaitingVersion_ = false;
    setUpdating(false); // the update's end is not announced to a closing window
    micro_->stopThread();
    firmware_->stopThread();
    link_ = nullptr;
}

void UpdateProcedure::setUpdating(bool updating)
{
    if (updating_ == updating)
        return;
    updating_ = updating;
    emit updatingChanged(updating);
}

// ---------------------------------------------------------------- reports

void UpdateProcedure::versionReport(const QString& line, uint32_t address, uint32_t size)
{
    stateBuffer_.fill(0xFF);
    stateAddress_ = address;
    stateSize_ = size;
    versionAnswered_ = true;
    version_.description = versionOfReport(line).description;
    checkMicroVersion(line, QString::fromLatin1(rz48::kMinMicroVersion));
    if (awaitingVersion_)
        endAlert(QStringLiteral("success!"), true);
}

void UpdateProcedure::checkMicroVersion(const QString& current, const QString& minimum)
{
    const std::optional<VersionVerdict> verdict = compareVersions(current, minimum);
    if (!verdict)
        return;
    version_.version = verdict->current;
    emit firmwareReported();
    if (verdict->tooOld)
        rz48::showAlert(QStringLiteral("update micro to %1 or greater").arg(minimum));
    rz48::diag("%s ", verdict->current.toUtf8().constData());
}

void UpdateProcedure::settingsRecord(const QString& line)
{
    rz48::diag("%s\n", line.toUtf8().constData());
    SRecord record;
    record.fromJString(line);
    const uint32_t a = record.address();
    if (a >= 0xFC00 && a < 0xFC40 && a % 16 == 0)
        settingsAnswered_ |= 1u << ((a - 0xFC00) / 16);
    if (a >= 0xFC00 && a <= 0xFCFF && record.buffer()) {
        // The record's bytes go in at its offset; a record that runs past
        // the end of the 256-byte image is cut there.
        const size_t offset = a - 0xFC00;
        const size_t n = std::min<size_t>(record.count(), stateBuffer_.size() - offset);
        std::memcpy(stateBuffer_.data() + offset, record.buffer(), n);
    }
}


// ---------------------------------------------------------------- updates

void UpdateProcedure::startMicro(const QByteArray& program, const QByteArray& loader, const QStringList& fileWarnings)
{
    kind_ = Kind::Micro;
    program_ = QString::fromLatin1(program); // checked: nothing but S-records
    loader_ = loader;
    fileWarnings_ = fileWarnings;
    setUpdating(true);
    threadHasProgress({QStringLiteral("loading S Record file..."), 0});
    saveSetupThen([this] { askForSettings(); });
}

void UpdateProcedure::startFpga(const QByteArray& configuration, const QStringList& fileWarnings)
{
    kind_ = Kind::Fpga;
    settingsNote_.clear();
    settingsKept_ = false;
    fileWarnings_ = fileWarnings;
    setUpdating(true);
    saveSetupThen([this, configuration] { startFpgaWorker(configuration); });
}

void UpdateProcedure::threadHasProgress(Progress progress)
{
    emit progressShown(progress);
}

void UpdateProcedure::saveSetupThen(std::function<void()> next)
{
    setupNote_.clear();
    if (!beforeUpdate_) {
        next();
        return;
    }
    beforeUpdate_([this, next = std::move(next)](const QString& path, const QString& error) {
        setupNote_ = path.isEmpty() ? tr("The unit's setup could not be saved before the update: %1.").arg(error)
                                    : tr("The unit's setup before the update is saved in %1.").arg(path);
        if (updating_ && link_) // not stopped while the setup was read
            next();
    });
}

void UpdateProcedure::askForSettings()
{
    // The unit's settings block, to be written back with the program.
    stateSize_ = 0;
    stateAddress_ = 0;
    versionAnswered_ = false;
    settingsAnswered_ = 0;
    for (const char* command : {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1"})
        link_->sendString(QString::fromLatin1(command));
    if (!settingsWait_) {
        settingsWait_ = new QTimer(this);
        settingsWait_->setInterval(kSettingsPollMs);
        connect(settingsWait_, &QTimer::timeout, this, &UpdateProcedure::settingsWaitTick);
    }
    settingsWaitTicks_ = 0;
    settingsWait_->start();
}

void UpdateProcedure::settingsWaitTick()
{
    constexpr unsigned kAllLines = 0xF;
    const bool answered = versionAnswered_ && settingsAnswered_ == kAllLines && link_ && link_->txCount() == 0;
    if (!answered && ++settingsWaitTicks_ * kSettingsPollMs < kSettingsWaitMs)
        return;
    settingsWait_->stop();
    if (!link_)
        return;
    QStringList got, missing;
    (versionAnswered_ ? got : missing) << QStringLiteral("k");
    for (unsigned line = 0; line < 4; ++line)
        ((settingsAnswered_ >> line) & 1 ? got : missing) << QStringLiteral("fc%1").arg(line * 16, 2, 16, QLatin1Char('0'));
    if (!missing.isEmpty()) {
        const int choice = rz48::askButtons(
            tr("The unit did not send all of its settings (no answer for %1). The update erases them with the old "
               "program; without them the unit starts with its factory settings.")
                .arg(missing.join(QStringLiteral(", "))),
            tr("Cancelling erases nothing."), {tr("Cancel the update"), tr("Update without keeping the settings")}, 0, 0);
        if (choice != 1) {
            emit progressShown({tr("update cancelled: nothing was erased"), 0});
            setUpdating(false);
            return;
        }
        settingsNote_ = tr("The unit's settings were not kept (no answer for %1): it starts with its factory "
                           "settings; set them again before the session.")
                            .arg(missing.join(QStringLiteral(", ")));
        startMicroWorker(false);
        return;
    }
    rz48::update::SettingsImage settings;
    settings.buffer = stateBuffer_;
    settings.address = stateAddress_;
    settings.size = stateSize_;
    settingsKept_ = rz48::update::settingsComplete(settings);
    if (settingsKept_)
        settingsNote_ = tr("The unit's settings were kept: read before the update (records %1, %2 bytes from fc00) "
                           "and written back with the program.")
                            .arg(got.mid(1).join(QStringLiteral(", ")))
                            .arg(std::min<uint32_t>(std::max<uint32_t>(stateSize_, 1), 256));
    else
        settingsNote_ = tr("The unit's settings were not kept (its report of them was incomplete): it starts with "
                           "its factory settings; set them again before the session.");
    startMicroWorker(true);
}

void UpdateProcedure::startMicroWorker(bool restoreSettings)
{
    rz48::update::SettingsImage settings;
    if (restoreSettings) {
        settings.buffer = stateBuffer_;
        settings.address = stateAddress_;
        settings.size = stateSize_;
    }
    const QStringList records = rz48::update::microRecords(program_, settings);
    program_.clear();
    micro_->setFd(link_->lendPort(0));
    micro_->setSRecArray(records);
    micro_->setLoader(loader_);
    if (micro_->startThread(this) != 0)
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
}

void UpdateProcedure::startFpgaWorker(const QByteArray& bytes)
{
    link_->sendString(QStringLiteral("A 1"));
    firmware_->setArray(QString::fromLatin1(bytes).split(u'\n')); // checked: nothing but records
    link_->sendString(QStringLiteral("d 1"));
    whenSent(kSentWaitTurns, [this] {
        firmware_->setFd(link_->lendPort(230400));
        if (firmware_->startThread(this) != 0)
            threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
    });
}

void UpdateProcedure::whenSent(int turnsLeft, std::function<void()> then)
{
    // The commands go out with the link thread's next turns; the window
    // goes on meanwhile. Then the unit is given its 10 ms.
    if (!updating_ || !link_)
        return; // stopped meanwhile
    if (link_->txCount() > 0 && turnsLeft > 0) {
        QTimer::singleShot(kSentWaitTurnMs, this, [this, turnsLeft, then = std::move(then)]() mutable { whenSent(turnsLeft - 1, std::move(then)); });
        return;
    }
    QTimer::singleShot(10, this, [this, then = std::move(then)] {
        if (updating_ && link_)
            then();
    });
}

void UpdateProcedure::threadUpdateComplete(Progress progress)
{
    emit progressShown(progress);
    micro_->stopThread();
    firmware_->stopThread();
    const bool success = progress.msg == QLatin1String("success!");
    if (link_ && link_->hasPort()) {
        link_->takePortBack();
        // After a good update the unit is asked for its state again, once it
        // has left its update mode (after a second without data). After a
        // failed one it may still be in that mode: nothing more is sent.
        if (success)
            QTimer::singleShot(kQuietBeforeQueries, this, [this] {
                if (link_ && link_->isRunning())
                    emit linkBack();
            });
    }
    const bool wasUpdating = updating_;
    setUpdating(false);
    if (!wasUpdating)
        return;
    if (!success) {
        endAlert(progress.msg);
        return;
    }
    // The alert names the version the unit reports once it answers again.
    awaitingVersion_ = true;
    QTimer::singleShot(kVersionWaitMs, this, [this] {
        if (awaitingVersion_)
            endAlert(QStringLiteral("success!"));
    });
}

void UpdateProcedure::endAlert(const QString& message, bool versionReported)
{
    awaitingVersion_ = false;
    const QString what = kind_ == Kind::Micro ? tr("microcontroller") : tr("FPGA");
    QStringList details;
    if (message == QLatin1String("success!")) {
        details << (!versionReported
                        ? tr("The unit has not reported its version since the update: if it does not answer, switch "
                             "it off and on, then use Unit > Reconnect.")
                        : tr("The unit reports firmware %1.").arg(version_.version));
    } else {
        const bool erased = message.contains(QLatin1String("FLASH corrupted")) || kind_ == Kind::Fpga;
        details << (erased ? tr("The unit is left without a complete %1 program: do not switch it off for long; run "
                                "the update again with the same file. If the loader no longer answers, switch the "
                                "unit off and on and try again.")
                                 .arg(what)
                           : tr("The unit's program was not touched. Switch the unit off and on, then run the update again."));
    }
    // Settings written back with the program are only said of a program that was written.
    if (!settingsNote_.isEmpty() && kind_ == Kind::Micro && (!settingsKept_ || message == QLatin1String("success!")))
        details << settingsNote_;
    if (!setupNote_.isEmpty())
        details << setupNote_;
    if (!fileWarnings_.isEmpty()) {
        constexpr int kShown = 5;
        QStringList shown = fileWarnings_.mid(0, kShown);
        if (fileWarnings_.size() > kShown)
            shown << tr("... and %1 more").arg(fileWarnings_.size() - kShown);
        details << tr("Not sent, as the update sends only S1 data from 0x8000 on:\n%1").arg(shown.join(u'\n'));
    }
    if (message == QLatin1String("success!"))
        rz48::showInformation(tr("The %1 update is complete.").arg(what), details.join(QStringLiteral("\n\n")));
    else
        rz48::showError(tr("The %1 update failed: %2").arg(what, message), details.join(QStringLiteral("\n\n")));
}

} // namespace rz48::update
