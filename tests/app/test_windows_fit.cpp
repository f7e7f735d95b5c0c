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

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>

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
    // At 1x the panel makes room and the cue window stands beside it (a tenth
    // of the panel covered would be the most allowed).
    const QRect covered = cues->frameGeometry().intersected(window.frameGeometry());
    if (scale == 1) {
        EXPECT_TRUE(covered.isEmpty()) << "the cue window covers " << covered.width() << "x" << covered.height() << " of the panel";
    }

    // The window commands work from every window.
    for (const char* name : {"menuFileQuit", "menuWindowUnitOutput", "menuWindowCueList", "menuUnitReconnect"}) {
        auto* action = window.findChild<QAction*>(QLatin1String(name));
        ASSERT_NE(action, nullptr) << name;
        EXPECT_EQ(action->shortcutContext(), Qt::ApplicationShortcut) << name;
    }
    EXPECT_EQ(cues->findChild<QAction*>(QStringLiteral("menuFileSaveAs"))->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    output->hide();
    cues->activateWindow();
    if (QTest::qWaitForWindowActive(cues, 1000)) {
        QTest::keyClick(cues, Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_TRUE(rz48test::waitUntil([&] { return output->isVisible(); }, 1000)) << "Ctrl+Shift+O from the cue window";
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

// Alerts carry the icon of their kind and the program's one title; an alert
// still open is not stacked again. A question has named buttons, the safe
// one the default.
TEST(Alerts, IconsTitleButtonsAndNoStacking)
{
    QWidget parent;
    parent.show();
    MessageBoxAlerts alerts(&parent);
    alerts.showAlert(QStringLiteral("install USB driver"), QString(), rz48::AlertKind::Warning);
    alerts.showAlert(QStringLiteral("install USB driver"), QString(), rz48::AlertKind::Warning);
    EXPECT_EQ(parent.findChildren<QMessageBox*>().size(), 1);
    alerts.showAlert(QStringLiteral("Framing test passed"), QString(), rz48::AlertKind::Information);
    alerts.showAlert(QStringLiteral("cannot save x"), QString(), rz48::AlertKind::Error);
    const QList<QMessageBox*> boxes = parent.findChildren<QMessageBox*>();
    ASSERT_EQ(boxes.size(), 3);
    QList<QMessageBox::Icon> icons;
    for (QMessageBox* box : boxes) {
        icons << box->icon();
        EXPECT_EQ(box->windowTitle(), QStringLiteral("RZ-48 panel"));
    }
    std::sort(icons.begin(), icons.end());
    EXPECT_EQ(icons, (QList<QMessageBox::Icon> {QMessageBox::Information, QMessageBox::Warning, QMessageBox::Critical}));

    QStringList shown;
    QString defaultText;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        for (QAbstractButton* b : box->buttons())
            shown << b->text();
        defaultText = box->defaultButton() ? box->defaultButton()->text() : QString();
        box->defaultButton()->click();
    });
    const int answer = alerts.askButtons(QStringLiteral("An update is running. Quit anyway?"), QString(),
                                         {QStringLiteral("Keep updating"), QStringLiteral("Quit anyway")}, 0, 0);
    EXPECT_EQ(answer, 0);
    std::sort(shown.begin(), shown.end());
    EXPECT_EQ(shown, (QStringList {QStringLiteral("Keep updating"), QStringLiteral("Quit anyway")}));
    EXPECT_EQ(defaultText, QStringLiteral("Keep updating"));
}

} // namespace
