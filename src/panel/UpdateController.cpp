#include "panel/UpdateController.h"

#include "codecs/ProtocolTables.h"
#include "codecs/VersionCheck.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "link/ComThread.h"
#include "codecs/ReportRouter.h"
#include "update/FirmwareUpdateThread.h"
#include "update/MicroUpdateThread.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"

#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kProgressHideTicks = 50;
constexpr int kQuietBeforeQueries = 1500; // ms
constexpr int kSettingsPollMs = 50;
constexpr int kSettingsWaitMs = 2000;     // for the "k" and "j" answers before a microcontroller update
constexpr int kVersionWaitMs = 15000;     // for the unit's version after a good update
constexpr int kSentWaitTurnMs = 2;        // while the FPGA update's commands go out
constexpr int kSentWaitTurns = 100;

} // namespace

UpdateController::UpdateController(QObject* parent)
    : QObject(parent)
    , micro_(std::make_unique<MicroUpdateThread>())
    , firmware_(std::make_unique<FirmwareUpdateThread>())
{
}

UpdateController::~UpdateController() = default;

QWidget* UpdateController::makeTab()
{
    auto* update = new QWidget;
    update->setObjectName(QStringLiteral("updatePage"));
    auto* layout = new QVBoxLayout(update);
    labelUpdate = new QLabel(update);
    labelUpdate->setObjectName(QStringLiteral("labelUpdate"));
    progressBarUpdate = new QProgressBar(update);
    progressBarUpdate->setObjectName(QStringLiteral("progressBarUpdate"));
    progressBarUpdate->setTextVisible(false);
    layout->addWidget(labelUpdate);
    layout->addWidget(progressBarUpdate);
    layout->addStretch(1);
    labelUpdate->hide();
    progressBarUpdate->hide();
    return update;
}

void UpdateController::setUp(ComThread* link, const LinkOptions& options, std::function<void()> showTab,
                             std::function<void()> makeRoom)
{
    comThread_ = link;
    options_ = options;
    showTab_ = std::move(showTab);
    makeRoom_ = std::move(makeRoom);
}

void UpdateController::stop()
{
    if (settingsWait_)
        settingsWait_->stop();
    awaitingVersion_ = false;
    setUpdating(false); // the update's end is not announced to a closing window
    micro_->stopThread();
    firmware_->stopThread();
    comThread_ = nullptr;
}

// ---------------------------------------------------------------- reports

void UpdateController::registerReports(ReportRouter& router)
{
    using Fields = ReportRouter::Fields;
    router.on({'f'}, [this](const QString&, Fields&) { onTransferQueued(); });
    router.on({'h'}, [this](const QString&, Fields& f) { onTransferResult(f.hex()); });
    router.on({'j'}, [this](const QString& line, Fields&) { onSettingsRecord(line); });
    router.on({'k'}, [this](const QString& line, Fields& f) {
        stateBuffer_.fill(0xFF);
        stateAddress_ = f.hex();
        stateSize_ = f.hex();
        versionAnswered_ = true;
        checkMicroVersion(line, QString::fromLatin1(rz48::kMinMicroVersion));
        if (awaitingVersion_)
            endAlert(QStringLiteral("success!"), true);
    });
}

void UpdateController::onTransferQueued()
{
    const int queued = comThread_ ? comThread_->txCount() : 0;
    progress_downcount = kProgressHideTicks;
    if (progressBarUpdate->isHidden()) {
        progressBarUpdate->show();
        labelUpdate->show();
        progressBarUpdate->setMaximum(queued);
        if (showTab_)
            showTab_();
    }
    labelUpdate->setText(QString::asprintf("%d items in queue", queued));
    if (queued > progressBarUpdate->maximum())
        progressBarUpdate->setMaximum(queued);
    progressBarUpdate->setValue(queued);
}

void UpdateController::onTransferResult(uint32_t n)
{
    if (int32_t(n) == fMax) {
        // What the unit took went well; a transfer that stopped early says so.
        labelUpdate->setText(transferNote_.isEmpty() ? QStringLiteral("success!") : transferNote_);
        transferNote_.clear();
        progressBarUpdate->setMaximum(std::max(progressBarUpdate->maximum(), 100));
        progressBarUpdate->setValue(100);
    } else if (n != 0) {
        labelUpdate->setText(QString::asprintf("%d of %d items sent, try again", int(n), fMax));
    }
}

void UpdateController::onSettingsRecord(const QString& line)
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

void UpdateController::checkMicroVersion(const QString& current, const QString& minimum)
{
    const std::optional<rz48::VersionVerdict> verdict = rz48::compareVersions(current, minimum);
    if (!verdict)
        return;
    firmwareVersion_ = verdict->current;
    emit firmwareReported();
    if (verdict->tooOld)
        rz48::showAlert(QStringLiteral("update micro to %1 or greater").arg(minimum));
    rz48::diag("%s ", verdict->current.toUtf8().constData());
}

void UpdateController::timer_service()
{
    if (progress_downcount != 0) {
        if (progress_downcount == 1) {
            progressBarUpdate->hide();
            labelUpdate->hide();
        }
        --progress_downcount;
    }
}

// ---------------------------------------------------------------- updates

void UpdateController::setUpdating(bool updating)
{
    if (updating_ == updating)
        return;
    updating_ = updating;
    emit updatingChanged(updating);
}

bool UpdateController::mayClose()
{
    if (!updating_)
        return true;
    const int choice = rz48::askChoice(
        tr("An update is running: quitting now leaves the unit without a working program, and only a new update "
           "(or the factory) brings it back. Quit anyway?"),
        {tr("Keep the update running"), tr("Quit and stop the update")});
    return choice == 1;
}

void UpdateController::menuFileUpdateMicro()
{
    if (!mayStart())
        return;
    // Nothing goes to the unit before the loader and the file are known to be good.
    const QByteArray loader = loaderForUpdate();
    if (loader.isEmpty())
        return;
    const QByteArray bytes = askForFile(Kind::Micro);
    if (bytes.isEmpty())
        return;
    kind_ = Kind::Micro;
    program_ = QString::fromLatin1(bytes); // checked: nothing but S-records
    loader_ = loader;
    setUpdating(true);
    progress_downcount = 0;
    showProgress({QStringLiteral("loading S Record file..."), 0});
    saveSetupThen([this] { askForSettings(); });
}

void UpdateController::saveSetupThen(std::function<void()> next)
{
    setupNote_.clear();
    if (!beforeUpdate_) {
        next();
        return;
    }
    beforeUpdate_([this, next = std::move(next)](const QString& path, const QString& error) {
        setupNote_ = path.isEmpty() ? tr("The unit's setup could not be saved before the update: %1.").arg(error)
                                    : tr("The unit's setup before the update is saved in %1.").arg(path);
        if (updating_ && comThread_) // not stopped while the setup was read
            next();
    });
}

void UpdateController::askForSettings()
{
    // The unit's settings block, to be written back with the program.
    stateSize_ = 0;
    stateAddress_ = 0;
    versionAnswered_ = false;
    settingsAnswered_ = 0;
    for (const char* command : {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1"})
        comThread_->sendString(QString::fromLatin1(command));
    if (!settingsWait_) {
        settingsWait_ = new QTimer(this);
        settingsWait_->setInterval(kSettingsPollMs);
        connect(settingsWait_, &QTimer::timeout, this, &UpdateController::settingsWaitTick);
    }
    settingsWaitTicks_ = 0;
    settingsWait_->start();
}

void UpdateController::settingsWaitTick()
{
    constexpr unsigned kAllLines = 0xF;
    const bool answered = versionAnswered_ && settingsAnswered_ == kAllLines && comThread_ && comThread_->txCount() == 0;
    if (!answered && ++settingsWaitTicks_ * kSettingsPollMs < kSettingsWaitMs)
        return;
    settingsWait_->stop();
    if (!comThread_)
        return;
    QStringList got, missing;
    (versionAnswered_ ? got : missing) << QStringLiteral("k");
    for (unsigned line = 0; line < 4; ++line)
        ((settingsAnswered_ >> line) & 1 ? got : missing) << QStringLiteral("fc%1").arg(line * 16, 2, 16, QLatin1Char('0'));
    if (!missing.isEmpty()) {
        const int choice = rz48::askChoice(
            tr("The unit did not send all of its settings (no answer for %1). The update erases them with the old "
               "program; without them the unit starts with its factory settings.")
                .arg(missing.join(QStringLiteral(", "))),
            {tr("Cancel the update (nothing is erased)"), tr("Update without keeping the settings")});
        if (choice != 1) {
            showProgress({tr("update cancelled: nothing was erased"), 0});
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
    if (rz48::update::settingsComplete(settings))
        settingsNote_ = tr("The unit's settings were kept: read before the update (records %1, %2 bytes from fc00) "
                           "and written back with the program.")
                            .arg(got.mid(1).join(QStringLiteral(", ")))
                            .arg(std::min<uint32_t>(std::max<uint32_t>(stateSize_, 1), 256));
    else
        settingsNote_ = tr("The unit's settings were not kept (its report of them was incomplete): it starts with "
                           "its factory settings; set them again before the session.");
    startMicroWorker(true);
}

void UpdateController::startMicroWorker(bool restoreSettings)
{
    rz48::update::SettingsImage settings;
    if (restoreSettings) {
        settings.buffer = stateBuffer_;
        settings.address = stateAddress_;
        settings.size = stateSize_;
    }
    const QStringList records = rz48::update::microRecords(program_, settings);
    program_.clear();
    comThread_->stopThread();
    micro_->setFd(comThread_->fd());
    micro_->setSRecArray(records);
    micro_->setLoader(loader_);
    if (micro_->startThread(this) != 0)
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
}

void UpdateController::menuFileUpdateFirmware()
{
    if (!mayStart())
        return;
    const QByteArray bytes = askForFile(Kind::Fpga);
    if (bytes.isEmpty())
        return;
    kind_ = Kind::Fpga;
    settingsNote_.clear();
    setUpdating(true);
    progress_downcount = 0;
    saveSetupThen([this, bytes] { startFpga(bytes); });
}

void UpdateController::startFpga(const QByteArray& bytes)
{
    comThread_->sendString(QStringLiteral("A 1"));
    firmware_->setFd(comThread_->fd());
    firmware_->setArray(QString::fromLatin1(bytes).split(u'\n')); // checked: nothing but records
    comThread_->sendString(QStringLiteral("d 1"));
    whenSent(kSentWaitTurns, [this] {
        comThread_->stopThread();
        comThread_->setBaud(230400);
        if (firmware_->startThread(this) != 0)
            threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
    });
}

void UpdateController::whenSent(int turnsLeft, std::function<void()> then)
{
    // The commands go out with the link thread's next turns; the window
    // goes on meanwhile. Then the unit is given its 10 ms.
    if (!updating_ || !comThread_)
        return; // stopped meanwhile
    if (comThread_->txCount() > 0 && turnsLeft > 0) {
        QTimer::singleShot(kSentWaitTurnMs, this, [this, turnsLeft, then = std::move(then)]() mutable { whenSent(turnsLeft - 1, std::move(then)); });
        return;
    }
    QTimer::singleShot(10, this, [this, then = std::move(then)] {
        if (updating_ && comThread_)
            then();
    });
}

void UpdateController::showProgress(const Progress& progress)
{
    progressBarUpdate->show();
    labelUpdate->show();
    progressBarUpdate->setRange(0, 100);
    progressBarUpdate->setValue(std::clamp(progress.percent, 0, 100));
    labelUpdate->setText(progress.msg);
    emit progressShown(progress.msg, progress.percent);
}

void UpdateController::threadHasProgress(Progress progress)
{
    showProgress(progress);
}

void UpdateController::threadUpdateComplete(Progress progress)
{
    showProgress(progress);
    progress_downcount = 0; // the Update tab keeps the last message until the next update
    micro_->stopThread();
    firmware_->stopThread();
    const bool success = progress.msg == QLatin1String("success!");
    if (comThread_ && comThread_->fd() >= 0) {
        comThread_->setBaud(38400);
        comThread_->startThread(parent());
        // After a good update the unit is asked for its state again, once it
        // has left its update mode (after a second without data). After a
        // failed one it may still be in that mode: nothing more is sent.
        if (success)
            QTimer::singleShot(kQuietBeforeQueries, this, [this] {
                if (comThread_ && comThread_->isRunning())
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

void UpdateController::endAlert(const QString& message, bool versionReported)
{
    awaitingVersion_ = false;
    const QString what = kind_ == Kind::Micro ? tr("microcontroller") : tr("FPGA");
    QStringList details;
    if (message == QLatin1String("success!")) {
        details << (!versionReported
                        ? tr("The unit has not reported its version since the update: if it does not answer, switch "
                             "it off and on, then use Unit > Reconnect.")
                        : tr("The unit reports firmware %1.").arg(firmwareVersion_));
    } else {
        const bool erased = message.contains(QLatin1String("FLASH corrupted")) || kind_ == Kind::Fpga;
        details << (erased ? tr("The unit is left without a complete %1 program: do not switch it off for long; run "
                                "the update again with the same file. If the loader no longer answers, switch the "
                                "unit off and on and try again.")
                                 .arg(what)
                           : tr("The unit's program was not touched. Switch the unit off and on, then run the update again."));
    }
    if (!settingsNote_.isEmpty() && kind_ == Kind::Micro)
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
    rz48::showAlert(message == QLatin1String("success!") ? tr("The %1 update is complete.").arg(what)
                                                          : tr("The %1 update failed: %2").arg(what, message),
                    details.join(QStringLiteral("\n\n")));
}
