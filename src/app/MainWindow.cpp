#include "app/MainWindow.h"

#include "cuelist/CueDocument.h"
#include "panel/rz48View.h"

#include <QAction>
#include <QKeySequence>
#include <QMenuBar>

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , view_(new rz48View(this))
{
    setObjectName(QStringLiteral("panelWindow"));
    setCentralWidget(view_);
    resize(900, 760);
}

void MainWindow::addPanelMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(QStringLiteral("menuFile"));
    QAction* open = file->addAction(tr("&Open cue sheet..."), view_, &rz48View::menuFileOpen);
    open->setObjectName(QStringLiteral("menuFileOpen"));
    open->setShortcut(QKeySequence::Open);
    QAction* save = file->addAction(tr("&Save cue sheet..."), view_, &rz48View::menuFileSave);
    save->setObjectName(QStringLiteral("menuFileSave"));
    save->setShortcut(QKeySequence::Save);
    file->addSeparator();
    QAction* micro = file->addAction(tr("Update &microcontroller..."), view_, &rz48View::menuFileUpdateMicro);
    micro->setObjectName(QStringLiteral("menuFileUpdateMicro"));
    QAction* fpga = file->addAction(tr("Update &FPGA..."), view_, &rz48View::menuFileUpdateFirmware);
    fpga->setObjectName(QStringLiteral("menuFileUpdateFirmware"));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setObjectName(QStringLiteral("menuFileQuit"));
    quit->setShortcut(QKeySequence::Quit);

    QMenu* windows = menuBar()->addMenu(tr("&Window"));
    QAction* cues = windows->addAction(tr("&Cue list"), this, [this] {
        if (CueDocument* document = view_->cueDocument())
            document->showWindows();
    });
    cues->setObjectName(QStringLiteral("menuWindowCueList"));
    cues->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
}
