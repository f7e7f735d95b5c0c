#include "panel/rz48View.h"

#include "codecs/ProtocolTables.h"
#include "cuewindow/CueDocument.h"
#include "link/UnitLink.h"
#include "pages/AnnunciatorView.h"
#include "pages/MonitorView.h"
#include "pages/PunchView.h"
#include "panel/MainTab.h"
#include "panel/OutputController.h"
#include "panel/Tooltips.h"
#include "link/ReportRouter.h"
#include "panel/SetupController.h"
#include "panel/UpdateController.h"
#include "windows/WindowClose.h"
#include "windows/WindowPlacement.h"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMimeData>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kUpdateTab = 2;
// The timer ticks every 100 ms while the Update tab counts down to hiding
// its progress, and once a second while nothing counts.
constexpr int kServiceMs = 100;
constexpr int kIdleServiceMs = 1000;

QString shortVersion()
{
    const QString v = QCoreApplication::applicationVersion();
    return v.isEmpty() ? QStringLiteral(RZ48_VERSION) : v;
}

} // namespace

rz48View::rz48View(QWidget* parent)
    : QWidget(parent)
    , router_(std::make_unique<ReportRouter>())
{
    setObjectName(QStringLiteral("rz48View"));
    setFocusPolicy(Qt::StrongFocus); // accepts first responder
    buildWindow();
    registerReports();
    rz48::applyTooltips(this);
    aTimer = new QTimer(this);
    aTimer->setInterval(kIdleServiceMs);
    connect(aTimer, &QTimer::timeout, this, &rz48View::timer_service);
    connect(updates_, &UpdateController::countingDown, aTimer, [this] {
        if (aTimer->isActive() && aTimer->interval() != kServiceMs)
            aTimer->start(kServiceMs);
    });
}

rz48View::~rz48View() = default;

const MsgClass* rz48View::msg() const
{
    return link_ ? &link_->received() : nullptr;
}

void rz48View::buildWindow()
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    // While no unit is connected, the window says so above every control.
    banner_ = new QLabel(this);
    banner_->setObjectName(QStringLiteral("bannerNotConnected"));
    banner_->setWordWrap(true);
    banner_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    banner_->setStyleSheet(QStringLiteral("QLabel { background: #fff0c0; color: #402000; border: 1px solid #c08000; padding: 6px; }"));
    banner_->hide();
    layout->addWidget(banner_);
    tabViewRz48 = new QTabWidget(this);
    tabViewRz48->setObjectName(QStringLiteral("tabViewRz48"));
    layout->addWidget(tabViewRz48);

    auto page = [](const char* name, CuePage* preview) {
        auto* w = new QWidget;
        w->setObjectName(QLatin1String(name));
        auto* layout = new QHBoxLayout(w);
        // The preview takes all the width the controls leave it.
        layout->addWidget(preview, 1, Qt::AlignTop);
        layout->addWidget(preview->controls(), 0);
        return w;
    };
    mainTab_ = new MainTab;
    monitorView_ = new MonitorView;
    updates_ = new UpdateController(this);
    setups_ = new SetupController(this);
    outputs_ = new OutputController(this);
    link_ = std::make_unique<rz48::link::UnitLink>();
    connect(link_.get(), &rz48::link::UnitLink::stateChanged, this, &rz48View::showConnection);
    connect(link_.get(), &rz48::link::UnitLink::connected, this, &rz48View::onConnected);
    connect(link_.get(), &rz48::link::UnitLink::reportLine, this, [this](const QString& line) {
        processRxString(line);
        ++linesProcessed_;
        mainTab_->appendConsole(line);
    });
    connect(updates_, &UpdateController::linkBack, this, &rz48View::sendStartupQueries);
    punchView_ = new PunchView;
    annunciatorView_ = new AnnunciatorView;
    tabViewRz48->addTab(mainTab_, tr("Video"));
    tabViewRz48->addTab(page("streamerPage", monitorView_), tr("Streamer"));
    tabViewRz48->addTab(updates_->makeTab(), tr("Update"));
    tabViewRz48->addTab(page("punchPage", punchView_), tr("Punch"));
    tabViewRz48->addTab(page("overlayPage", annunciatorView_), tr("Overlay"));
}

// Each letter reaches its owner; "B", "V" and "s" are answers the panel reads nothing from.
void rz48View::registerReports()
{
    ReportRouter& r = *router_;
    r.on({'B', 'V', 's'}, nullptr);
    mainTab_->registerReports(r);
    updates_->registerReports(r);
    for (CuePage* page : std::initializer_list<CuePage*> {monitorView_, punchView_, annunciatorView_})
        page->registerReports(r);
    // The cue document follows the streamer duration (its offset).
    connect(monitorView_, &MonitorView::durationReported, this, [this](double seconds) {
        if (cueDocument_)
            cueDocument_->setOffset(-seconds);
    });
}

// ---------------------------------------------------------------- start-up

void rz48View::awakeFromNib(const LinkOptions& options)
{
    if (started_)
        return;
    started_ = true;
    simulated_ = options.simulatedUnit != nullptr;
    sinceStart_.start();
    monitorView_->awakeFromNib();
    punchView_->awakeFromNib();
    annunciatorView_->awakeFromNib();

    if (QWidget* w = window()) {
        w->raise();
        w->activateWindow();
    }
    tag_ = 21930;
    setAcceptDrops(true);
    mainTab_->awakeFromNib();
    onWindowClose(this, [this] { windowClosing(); });

    cueDocument_ = std::make_unique<CueDocument>();
    cueDocument_->makeWindowControllers();
    cueDocument_->offerRecovery();
    connect(cueDocument_.get(), &CueDocument::transferStopped, updates_, &UpdateController::transferStoppedEarly);
    connect(cueDocument_.get(), &CueDocument::timecodeTypeChanged, outputs_, &OutputController::followTimecodeType);
    // The video under the output goes with the cue list, both ways.
    connect(cueDocument_.get(), &CueDocument::videoChanged, outputs_, &OutputController::followVideo);
    connect(outputs_, &OutputController::videoChosen, cueDocument_.get(), &CueDocument::setVideo);
    if (cueDocument_->window())
        rz48::applyTooltips(cueDocument_->window());
    if (cueDocument_->window()) // beside the panel, on its screen, or where the operator left it
        rz48::placeWindow(cueDocument_->window(), window());
    cueDocument_->showWindows();
    link_->setSearch({options.searchDirectory, options.explicitPort, options.driverCheck});
    updates_->setUp(
        link_.get(), options,
        [this] { tabViewRz48->setCurrentIndex(kUpdateTab); },
        [this] {
            if (cueDocument_ && cueDocument_->window())
                cueDocument_->window()->showMinimized();
        });

    // The pages keep the one link; what they send while it is down goes nowhere.
    for (CuePage* page : std::initializer_list<CuePage*> {monitorView_, punchView_, annunciatorView_})
        page->setLink(link_.get());
    cueDocument_->setLink(link_.get());
    mainTab_->setLink(link_.get());
    setups_->setUp(link_.get());
    setups_->setFirmware([this] { return updates_->unitVersion().description; });
    setups_->setUpdateCheck([this] { return updates_->isUpdating(); });
    outputs_->setUp(link_.get(), options.simulatedUnit);
    connect(updates_, &UpdateController::updatingChanged, outputs_, &OutputController::setUpdating);
    // The unit's setup is saved before any update sends its first command.
    updates_->setBeforeUpdate([this](std::function<void(const QString&, const QString&)> then) { setups_->saveBeforeUpdate(std::move(then)); });
    if (!link_->start())
        showConnection(); // the title says the unit was not found
}

void rz48View::onConnected()
{
    aTimer->start();
    sendStartupQueries();
    setups_->connected();
    outputs_->connected();
    showConnection();
}

void rz48View::sendStartupQueries()
{
    for (const char* query : rz48::kStartupQueries)
        link_->sendString(QString::fromLatin1(query));
}

void rz48View::showConnection()
{
    if (!link_)
        return;
    const bool connected = link_->isConnected();
    // A unit that does not answer is shown like one that is gone.
    const bool answering = link_->state() == rz48::link::UnitLink::State::Connected;
    banner_->setVisible(!answering);
    if (!answering) {
        QString text = (connected ? tr("Not answering: changes may not reach the unit.")
                                  : tr("Not connected: changes are not sent to a unit."))
            + u'\n' + link_->statusText();
        for (const QString& reason : link_->reasons())
            text += u'\n' + reason;
        banner_->setText(text);
    }
    QString title = QStringLiteral("RZ48 version ") + shortVersion() + u'-';
    if (!link_->portName().isEmpty())
        title += connected ? link_->portName() : QStringLiteral("RZ48 not found");
    if (QWidget* w = window())
        w->setWindowTitle(title);
}

// ---------------------------------------------------------------- receiving

void rz48View::processRxString(const QString& line)
{
    setups_->record(line); // the unit's own words, before any control reads them
    outputs_->record(line);
    router_->route(line);
}

void rz48View::timer_service()
{
    updates_->timer_service();
    if (updates_->progressDowncount() == 0 && aTimer->interval() != kIdleServiceMs)
        aTimer->setInterval(kIdleServiceMs);
}

bool rz48View::startupSettled() const
{
    if (!link_ || !link_->isRunning())
        return started_;
    if (sinceStart_.isValid() && sinceStart_.elapsed() > 15000)
        return true;
    return link_->txCount() == 0 && linesProcessed_ > 0 && link_->quietFor() > 500;
}

// ---------------------------------------------------------------- closing

void rz48View::windowClosing()
{
    // An update in progress ends first ("operation aborted, ..."), then the link.
    updates_->stop();
    if (link_)
        link_->stop();
    // The pages and controllers lose their link before it goes.
    setups_->setUp(nullptr);
    for (CuePage* page : std::initializer_list<CuePage*> {monitorView_, punchView_, annunciatorView_})
        page->setLink(nullptr);
    mainTab_->setLink(nullptr);
    if (cueDocument_) {
        cueDocument_->releaseItems();
        cueDocument_->close();
        cueDocument_.reset();
    }
    link_.reset();
}

bool rz48View::mayClose()
{
    // A running update first: stopping it is the graver loss.
    return updates_->mayClose() && (!cueDocument_ || cueDocument_->mayClose());
}

// ---------------------------------------------------------------- drag and drop

Qt::DropAction rz48View::dragOperationFor(const QMimeData* data, Qt::DropActions allowed)
{
    if (!data || !data->hasUrls())
        return Qt::IgnoreAction;
    const QList<QUrl> urls = data->urls();
    if (urls.isEmpty() || !std::all_of(urls.begin(), urls.end(), [](const QUrl& u) { return u.isLocalFile(); }))
        return Qt::IgnoreAction;
    if (allowed & Qt::LinkAction)
        return Qt::LinkAction;
    if (allowed & Qt::CopyAction)
        return Qt::CopyAction;
    return Qt::IgnoreAction;
}

void rz48View::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event); // an enter is the first move
}

void rz48View::dragMoveEvent(QDragMoveEvent* event)
{
    const Qt::DropAction action = dragOperationFor(event->mimeData(), event->possibleActions());
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
}

void rz48View::dropEvent(QDropEvent* event)
{
    event->ignore(); // files dropped on the panel are refused
}
