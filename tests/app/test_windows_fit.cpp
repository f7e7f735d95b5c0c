// The panel, the cue window and the unit output window on a 1920 x 1080 screen at the scale the
// environment sets (QT_SCALE_FACTOR; one process per scale): each window lies
// inside the screen's available area, and no visible control is smaller than
// it needs (the panel scrolls instead).
#include "app/MainWindow.h"
#include "app/MessageBoxAlerts.h"
#include "cuewindow/CueDocument.h"
#include "output/UnitOutputWindow.h"
#include "panel/OutputController.h"
#include "panel/rz48View.h"
#include "support/TestSupport.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>
#include <QTabWidget>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Visible controls below their minimum size, by name and size.
QStringList squeezed(QWidget* window)
{
    QStringList found;
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!w->isVisible() || w->inherits("QScrollBar") || w->inherits("QHeaderView")) // a view's own parts
            continue;
        const QSize needed = w->minimumSizeHint();
        if (needed.isValid() && (w->width() < needed.width() || w->height() < needed.height()))
            found << QStringLiteral("%1 (%2) %3x%4 < %5x%6")
                         .arg(w->objectName(), QLatin1String(w->metaObject()->className()))
                         .arg(w->width()).arg(w->height()).arg(needed.width()).arg(needed.height());
    }
    return found;
}

TEST(WindowsFit, InsideTheScreenWithNoControlSqueezed)
{
    QScreen* screen = QGuiApplication::primaryScreen();
    ASSERT_NE(screen, nullptr);
    const qreal scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
    // The configured screen, in the logical pixels of this scale.
    EXPECT_NEAR(screen->geometry().width() * scale, 1920, 2);
    const QRect area = screen->availableGeometry();

    QTemporaryDir dir;
    LinkOptions options;
    options.searchDirectory = dir.path(); // no unit: the controls show their defaults
    options.driverCheck = [] { return true; };
    MainWindow window;
    window.show();
    window.view()->awakeFromNib(options);
    window.addPanelMenus();
    EXPECT_FALSE(window.windowIcon().pixmap(32).isNull()); // the program's icon, not a generic one
    QWidget* cues = window.view()->cueDocument()->window();
    ASSERT_NE(cues, nullptr);
    window.view()->outputs()->showWindow(1);
    QWidget* output = window.view()->outputs()->window();
    ASSERT_NE(output, nullptr);
    rz48test::waitUntil([&] { return window.isVisible() && cues->isVisible() && output->isVisible(); }, 2000);

    for (QWidget* w : {static_cast<QWidget*>(&window), cues, output}) {
        EXPECT_TRUE(area.contains(w->frameGeometry())) << w->objectName().toStdString() << " at "
                                                       << w->frameGeometry().x() << "," << w->frameGeometry().y() << " "
                                                       << w->frameGeometry().width() << "x" << w->frameGeometry().height();
    }
    QTabWidget* tabs = window.view()->tabView();
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        rz48test::waitUntil([] { return false; }, 100); // let the layout settle
        const QStringList found = squeezed(&window);
        EXPECT_TRUE(found.isEmpty()) << "tab " << i << ": " << found.join(QStringLiteral("; ")).toStdString();
    }
    const QStringList found = squeezed(cues) + squeezed(output);
    EXPECT_TRUE(found.isEmpty()) << "cue or output window: " << found.join(QStringLiteral("; ")).toStdString();
}

// An alert that is still open is not stacked again; another one is shown.
TEST(Alerts, TheSameAlertIsNotStacked)
{
    QWidget parent;
    parent.show();
    MessageBoxAlerts alerts(&parent);
    alerts.showAlert(QStringLiteral("install USB driver"), QString());
    alerts.showAlert(QStringLiteral("install USB driver"), QString());
    EXPECT_EQ(parent.findChildren<QMessageBox*>().size(), 1);
    alerts.showAlert(QStringLiteral("update micro to 3.32.6 or greater"), QString());
    EXPECT_EQ(parent.findChildren<QMessageBox*>().size(), 2);
}

} // namespace
