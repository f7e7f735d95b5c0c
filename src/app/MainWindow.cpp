#include "app/MainWindow.h"

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
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(QStringLiteral("menuFile"));
    QAction* quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setObjectName(QStringLiteral("menuFileQuit"));
    quit->setShortcut(QKeySequence::Quit);
    resize(900, 760);
}
