#include "app/MainWindow.h"

#include "cuewindow/CueDocument.h"
#include "common/Alerts.h"
#include "link/UnitLink.h"
#include "panel/MainTab.h"
#include "panel/OutputController.h"
#include "panel/SetupController.h"
#include "panel/UpdateController.h"
#include "panel/rz48View.h"
#include "windows/WindowPlacement.h"

#include <QAction>
#include <QActionGroup>
#include <QIcon>
#include <QCoreApplication>
#include <QKeySequence>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QScrollArea>

static QIcon programIcon()
{
    Q_INIT_RESOURCE(panel); // the icons live in this library
    // The installed theme's icon, else the program's own.
    QIcon own;
    for (int size : {16, 32, 64, 256})
        own.addFile(QStringLiteral(":/icons/org.rz48.Panel-%1.png").arg(size), QSize(size, size));
    return QIcon::fromTheme(QStringLiteral("org.rz48.Panel"), own);
}

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , view_(new rz48View(this))
{
    setObjectName(QStringLiteral("panelWindow"));
    setWindowIcon(programIcon());
    // On a small screen (or at a large scale) the panel scrolls rather than
    // squeezing its controls.
    auto* scroll = new QScrollArea(this);
    scroll->setObjectName(QStringLiteral("panelScroll"));
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(view_);
    setCentralWidget(scroll);
    resize(1280, 820); // the previews readable; smaller screens get what they have
    rz48::placeWindow(this);
}

void MainWindow::addPanelMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(QStringLiteral("menuFile"));
    auto cues = [this](void (CueDocument::*command)()) {
        return [this, command] {
            if (CueDocument* document = view_->cueDocument())
                (document->*command)();
        };
    };
    addSheetCommands(file, [this] { return view_->cueDocument(); });
    file->addSeparator();
    QAction* micro = file->addAction(tr("Update &microcontroller..."), view_->updates(), &UpdateController::menuFileUpdateMicro);
    micro->setObjectName(QStringLiteral("menuFileUpdateMicro"));
    QAction* fpga = file->addAction(tr("Update &FPGA..."), view_->updates(), &UpdateController::menuFileUpdateFirmware);
    fpga->setObjectName(QStringLiteral("menuFileUpdateFirmware"));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setObjectName(QStringLiteral("menuFileQuit"));
    quit->setShortcut(QKeySequence::Quit);

    // One update at a time, and the port left alone while one runs.
    auto* notWhileUpdating = new QActionGroup(this);
    notWhileUpdating->setExclusive(false);
    connect(view_->updates(), &UpdateController::updatingChanged, notWhileUpdating,
            [notWhileUpdating](bool updating) { notWhileUpdating->setEnabled(!updating); });
    notWhileUpdating->addAction(micro);
    notWhileUpdating->addAction(fpga);

    QMenu* windows = menuBar()->addMenu(tr("&Window"));
    QAction* cueList = windows->addAction(tr("&Cue list"), this, cues(&CueDocument::showWindows));
    cueList->setObjectName(QStringLiteral("menuWindowCueList"));
    cueList->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
    QAction* output = windows->addAction(tr("Unit &output"), this, [this] {
        CueDocument* cues = view_->cueDocument();
        view_->outputs()->showWindow(cues ? cues->options().tctype : 1);
    });
    output->setObjectName(QStringLiteral("menuWindowUnitOutput"));
    output->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));

    // The window commands work from every window of the program (and are the
    // cue window's own too, where a platform keeps shortcuts to a window).
    auto everywhere = [this](std::initializer_list<QAction*> actions) {
        for (QAction* action : actions) {
            action->setShortcutContext(Qt::ApplicationShortcut);
            if (CueDocument* document = view_->cueDocument(); document && document->window())
                document->window()->addAction(action);
        }
    };
    everywhere({quit, cueList, output});

    QMenu* unit = menuBar()->addMenu(tr("&Unit"));
    unit->setObjectName(QStringLiteral("menuUnit"));
    QAction* reconnect = unit->addAction(tr("&Reconnect"), this, [this] {
        if (rz48::link::UnitLink* link = view_->link())
            link->reconnect();
    });
    reconnect->setObjectName(QStringLiteral("menuUnitReconnect"));
    reconnect->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    QAction* port = unit->addAction(tr("&Port..."), this, [this] {
        if (rz48::link::UnitLink* link = view_->link())
            link->choosePort(view_->updates()->firmwareVersion());
    });
    port->setObjectName(QStringLiteral("menuUnitPort"));
    everywhere({reconnect});
    notWhileUpdating->addAction(reconnect);
    notWhileUpdating->addAction(port);
    unit->addSeparator();
    SetupController* setups = view_->setups();
    const std::pair<const char*, std::pair<QString, void (SetupController::*)()>> setupCommands[] = {
        {"menuUnitSaveSetup", {tr("&Save setup..."), &SetupController::menuSaveSetup}},
        {"menuUnitLoadSetup", {tr("&Load setup..."), &SetupController::menuLoadSetup}},
        {"menuUnitCompareSetup", {tr("&Compare with unit..."), &SetupController::menuCompareSetup}},
        {"menuUnitRevertSetup", {tr("Re&vert to connection setup"), &SetupController::menuRevertSetup}},
    };
    for (const auto& [name, command] : setupCommands) {
        QAction* action = unit->addAction(command.first, setups, command.second);
        action->setObjectName(QLatin1String(name));
        notWhileUpdating->addAction(action);
    }

    // Where the unit is, at all times.
    auto* status = new QLabel(this);
    status->setObjectName(QStringLiteral("labelConnection"));
    statusBar()->addWidget(status, 1);
    auto showState = [this, status] {
        if (const rz48::link::UnitLink* link = view_->link()) {
            status->setText(link->statusText(view_->updates()->firmwareVersion()));
            status->setToolTip(link->reasons().join(u'\n'));
        }
    };
    if (view_->isSimulated()) {
        auto* simulated = new QLabel(tr("simulated unit"), this);
        simulated->setObjectName(QStringLiteral("labelSimulatedUnit"));
        simulated->setToolTip(tr("The panel talks to its own emulated unit (--simulate), not to an RZ-48."));
        statusBar()->addPermanentWidget(simulated);
    }
    connect(view_->link(), &rz48::link::UnitLink::stateChanged, status, showState);
    connect(view_->updates(), &UpdateController::firmwareReported, status, showState);
    showState();

    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    tools->setObjectName(QStringLiteral("menuTools"));
    QAction* framing = tools->addAction(tr("&Framing test"), this, [this] {
        bool passed = false;
        const QString output = view_->mainTab()->onButtonTest(&passed);
        showSelfTest(tr("Framing test"), passed, output);
    });
    framing->setObjectName(QStringLiteral("menuToolsFramingTest"));
    QAction* packing = tools->addAction(tr("&Packing test"), this, [this] {
        if (CueDocument* document = view_->cueDocument()) {
            bool passed = false;
            const QString output = document->onButtonTest(&passed);
            showSelfTest(tr("Packing test"), passed, output);
        }
    });
    packing->setObjectName(QStringLiteral("menuToolsPackingTest"));

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->setObjectName(QStringLiteral("menuHelp"));
    QAction* keys = help->addAction(tr("&Keyboard shortcuts"), this, [] {
        rz48::showInformation(tr("Keyboard shortcuts"), shortcutsText());
    });
    keys->setObjectName(QStringLiteral("menuHelpShortcuts"));
    QAction* about = help->addAction(tr("&About the RZ-48 panel"), this, [this] {
        rz48::showInformation(tr("RZ-48 panel %1").arg(QCoreApplication::applicationVersion()), aboutText());
    });
    about->setObjectName(QStringLiteral("menuHelpAbout"));
}

void MainWindow::showSelfTest(const QString& name, bool passed, const QString& output)
{
    if (passed)
        rz48::showInformation(tr("%1 passed").arg(name), output);
    else
        rz48::showError(tr("%1 FAILED").arg(name), output);
}

QString MainWindow::aboutText() const
{
    const rz48::link::UnitLink* link = view_->link();
    const QString firmware = view_->updates()->firmwareVersion();
    QString unit;
    if (link && link->hasPort())
        unit = tr("Unit: RZ-48 on %1, firmware %2.").arg(link->portName(), firmware.isEmpty() ? tr("not reported yet") : firmware);
    else
        unit = tr("Unit: none connected.");
    return tr("Control panel for the RZ-48 video overlay unit, version %1.\n%2\n\n"
              "Copyright 2026 RZ-48 panel developers. Released under the MIT licence: free to use, copy, "
              "modify and distribute, without warranty.")
        .arg(QCoreApplication::applicationVersion(), unit);
}

QString MainWindow::shortcutsText()
{
    return tr("In every window (the panel, the cue list, the unit output):\n"
              "Ctrl+N  a new, empty cue list\n"
              "Ctrl+O  open a cue list\n"
              "Ctrl+S  save the cue list; Ctrl+Shift+S  save it as...\n"
              "Ctrl+I / Ctrl+E  import / export cues\n"
              "Ctrl+P  export the cue sheet as PDF\n"
              "Ctrl+L  show the cue list window\n"
              "Ctrl+Shift+O  show the unit's output\n"
              "Ctrl+R  reconnect: close the port and look for the unit on every port\n"
              "Ctrl+Q  quit\n"
              "\n"
              "In the cue list window:\n"
              "Ctrl+Z / Ctrl+Shift+Z  undo / redo a change of the cue list\n"
              "Ctrl+C / Ctrl+V  copy / paste cues\n"
              "Ctrl+D  mark the selected cues done (or back to do)\n"
              "\n"
              "In the unit output window:\n"
              "F11  full screen; Esc  back\n"
              "\n"
              "On a control:\n"
              "Up / Down, mouse wheel  step a value by one (steppers, sliders)\n"
              "Page Up / Page Down  step a slider by a sixteenth of its range\n"
              "Return or Tab  send a typed value");
}
