#include "panel/UpdateController.h"

#include "codecs/ProtocolTables.h"
#include "codecs/VersionCheck.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
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
#include <unistd.h>

namespace {

constexpr uint32_t kProgressHideTicks = 50;
constexpr int kQuietBeforeQueries = 1500; // ms

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
        checkMicroVersion(line, QString::fromLatin1(rz48::kMinMicroVersion));
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
        labelUpdate->setText(QStringLiteral("success!"));
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

QByteArray UpdateController::loaderForUpdate()
{
    QString error;
    QByteArray loader;
    if (options_.simulated && options_.loaderPath.isEmpty()) {
        loader = options_.simulatedLoader;
    } else {
        const QStringList paths = options_.loaderPath.isEmpty() ? rz48::update::defaultLoaderPaths() : QStringList {options_.loaderPath};
        QStringList reasons;
        for (const QString& path : paths) {
            loader = rz48::update::readLoaderImage(path, &error);
            if (!loader.isEmpty())
                break;
            reasons << error;
        }
        if (loader.isEmpty()) {
            rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                            tr("Place the %1-byte loader image at %2, or name it with --loader FILE.\n%3")
                                .arg(rz48::update::kLoaderSize)
                                .arg(paths.value(0), reasons.join(u'\n')));
            return {};
        }
    }
    if (loader.size() != rz48::update::kLoaderSize) {
        rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                        tr("The loader image has %1 bytes; it must have %2.").arg(loader.size()).arg(rz48::update::kLoaderSize));
        return {};
    }
    if (rz48::update::isTestLoader(loader) && !options_.simulated) {
        rz48::showAlert(tr("That loader image is the emulated unit's test loader."),
                        tr("It would leave a real unit without a working program; nothing was sent."));
        return {};
    }
    return loader;
}

void UpdateController::menuFileUpdateMicro()
{
    // Nothing goes to the unit before the loader is known to be there.
    const QByteArray loader = loaderForUpdate();
    if (loader.isEmpty() || !comThread_)
        return;
    if (showTab_)
        showTab_();
    if (makeRoom_)
        makeRoom_();
    stateSize_ = 0;
    stateAddress_ = 0;
    for (const char* command : {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1"})
        comThread_->sendString(QString::fromLatin1(command));

    const QString path = rz48::askOpenPathWithExtension(tr("Microcontroller program"), QStringLiteral("s19"),
                                                        {QStringLiteral("s19"), QStringLiteral("S19")});
    if (path.isEmpty())
        return;
    showProgress({QStringLiteral("loading S Record file..."), 0});
    QString text;
    if (!rz48::readUtf8File(path, 16 * 1024 * 1024, text)) {
        rz48::showAlert(QStringLiteral("problem opening file, try again"));
        return;
    }
    rz48::update::SettingsImage settings;
    settings.buffer = stateBuffer_;
    settings.address = stateAddress_;
    settings.size = stateSize_;
    const QStringList records = rz48::update::microRecords(text, settings);

    comThread_->stopThread();
    micro_->setFd(comThread_->fd());
    micro_->setSRecArray(records);
    micro_->setLoader(loader);
    if (micro_->startThread(this) != 0)
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
}

void UpdateController::menuFileUpdateFirmware()
{
    if (!comThread_)
        return;
    if (showTab_)
        showTab_();
    if (makeRoom_)
        makeRoom_();
    comThread_->sendString(QStringLiteral("A 1"));
    const QString path = rz48::askOpenPathWithExtension(tr("FPGA configuration"), QStringLiteral("mcs"),
                                                        {QStringLiteral("MCS"), QStringLiteral("mcs")});
    if (path.isEmpty())
        return;
    QString text, error;
    if (!rz48::readUtf8File(path, 64 * 1024 * 1024, text, &error)) {
        rz48::showAlert(tr("cannot read %1").arg(path), error);
        return;
    }
    firmware_->setFd(comThread_->fd());
    firmware_->setArray(text.split(u'\n'));
    comThread_->sendString(QStringLiteral("d 1"));
    // The command goes out with the link thread's next turn: give it that.
    for (int i = 0; i < 50 && comThread_->txCount() > 0; ++i)
        ::usleep(2000);
    ::usleep(10000);
    comThread_->stopThread();
    comThread_->setBaud(230400);
    if (firmware_->startThread(this) != 0)
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
}

void UpdateController::showProgress(const Progress& progress)
{
    progressBarUpdate->show();
    labelUpdate->show();
    progressBarUpdate->setRange(0, 100);
    progressBarUpdate->setValue(std::clamp(progress.percent, 0, 100));
    labelUpdate->setText(progress.msg);
}

void UpdateController::threadHasProgress(Progress progress)
{
    showProgress(progress);
}

void UpdateController::threadUpdateComplete(Progress progress)
{
    showProgress(progress);
    progress_downcount = kProgressHideTicks;
    micro_->stopThread();
    firmware_->stopThread();
    if (comThread_ && comThread_->fd() >= 0) {
        comThread_->setBaud(38400);
        comThread_->startThread(parent());
        // After a good update the unit is asked for its state again, once it
        // has left its update mode (after a second without data). After a
        // failed one it may still be in that mode: nothing more is sent.
        if (progress.msg == QLatin1String("success!"))
            QTimer::singleShot(kQuietBeforeQueries, this, [this] {
                if (comThread_ && comThread_->isRunning())
                    emit linkBack();
            });
    }
}
