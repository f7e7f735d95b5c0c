#include "app/MainWindow.h"

#include "cuewindow/CueDocument.h"
#include "panel/UpdateController.h"
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
    auto cues = [this](void (CueDocument::*command)()) {
        return [this, command] {
            if (CueDocument* document = view_->cueDocument())
                (document->*command)();
        };
    };
    QAction* open = file->addAction(tr("&Open cue sheet..."), this, cues(&CueDocument::menuFileOpen));
    open->setObjectName(QStringLiteral("menuFileOpen"));
    open->setShortcut(QKeySequence::Open);
    QAction* save = file->addAction(tr("&Save cue sheet..."), this, cues(&CueDocument::menuFileSave));
    save->setObjectName(QStringLiteral("menuFileSave"));
    save->setShortcut(QKeySequence::Save);
    file->addSeparator();
    QAction* micro = file->addAction(tr("Update &microcontroller..."), view_->updates(), &UpdateController::menuFileUpdateMicro);
    micro->setObjectName(QStringLiteral("menuFileUpdateMicro"));
    QAction* fpga = file->addAction(tr("Update &FPGA..."), view_->updates(), &UpdateController::menuFileUpdateFirmware);
    fpga->setObjectName(QStringLiteral("menuFileUpdateFirmware"));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setObjectName(QStringLiteral("menuFileQuit"));
    quit->setShortcut(QKeySequence::Quit);

    QMenu* windows = menuBar()->addMenu(tr("&Window"));
    QAction* cueList = windows->addAction(tr("&Cue list"), this, cues(&CueDocument::showWindows));
    cueList->setObjectName(QStringLiteral("menuWindowCueList"));
    cueList->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_L));
}
