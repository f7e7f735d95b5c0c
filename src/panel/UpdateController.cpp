#include "panel/UpdateController.h"

#include "link/ReportRouter.h"
#include "common/Alerts.h"
#include "link/UnitLink.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr uint32_t kProgressHideTicks = 50;

} // namespace

UpdateController::UpdateController(QObject* parent)
    : QObject(parent)
    , procedure_(new rz48::update::UpdateProcedure(this))
{
    using rz48::update::UpdateProcedure;
    connect(procedure_, &UpdateProcedure::updatingChanged, this, &UpdateController::updatingChanged);
    connect(procedure_, &UpdateProcedure::linkBack, this, &UpdateController::linkBack);
    connect(procedure_, &UpdateProcedure::firmwareReported, this, &UpdateController::firmwareReported);
    connect(procedure_, &UpdateProcedure::progressShown, this, &UpdateController::showProgress);
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

void UpdateController::setUp(rz48::link::UnitLink* link, const LinkOptions& options, std::function<void()> showTab,
                             std::function<void()> makeRoom)
{
    link_ = link;
    procedure_->setLink(link);
    options_ = options;
    showTab_ = std::move(showTab);
    makeRoom_ = std::move(makeRoom);
}

// ---------------------------------------------------------------- reports

void UpdateController::registerReports(ReportRouter& router)
{
    using Fields = ReportRouter::Fields;
    router.on({'f'}, [this](const QString&, Fields&) { onTransferQueued(); });
    router.on({'h'}, [this](const QString&, Fields& f) { onTransferResult(f.hex()); });
    router.on({'j'}, [this](const QString& line, Fields&) { procedure_->settingsRecord(line); });
    router.on({'k'}, [this](const QString& line, Fields& f) {
        const uint32_t address = f.hex();
        procedure_->versionReport(line, address, f.hex());
    });
}

void UpdateController::onTransferQueued()
{
    const int queued = link_ ? link_->txCount() : 0;
    progress_downcount = kProgressHideTicks;
    emit countingDown();
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

bool UpdateController::mayClose()
{
    if (!isUpdating())
        return true;
    const int choice = rz48::askButtons(
        tr("An update is running. Quit anyway?"),
        tr("Quitting now leaves the unit without a working program, and only a new update (or the factory) brings it "
           "back."),
        {tr("Keep updating"), tr("Quit anyway")}, 0, 0);
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
    procedure_->startMicro(bytes, loader, fileWarnings_);
}

void UpdateController::menuFileUpdateFirmware()
{
    if (!mayStart())
        return;
    const QByteArray bytes = askForFile(Kind::Fpga);
    if (bytes.isEmpty())
        return;
    procedure_->startFpga(bytes, fileWarnings_);
}

void UpdateController::showProgress(const Progress& progress)
{
    progress_downcount = 0; // the Update tab keeps an update's last message until the next one
    progressBarUpdate->show();
    labelUpdate->show();
    progressBarUpdate->setRange(0, 100);
    progressBarUpdate->setValue(std::clamp(progress.percent, 0, 100));
    labelUpdate->setText(progress.msg);
    emit progressShown(progress.msg, progress.percent);
}

