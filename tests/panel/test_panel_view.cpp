// The panel window against the emulated unit on a pseudo-terminal, offscreen.
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/UnitLink.h"
#include "panel/rz48View.h"
#include "cuewindow/CueDocument.h"
#include "panel/MainTab.h"
#include "panel/SetupController.h"
#include "support/PanelFixture.h"
#include "widgets/RadioMatrix.h"
#include "widgets/Stepper.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <gtest/gtest.h>

using rz48test::PanelTest;
using rz48test::waitUntil;

namespace {

TEST_F(PanelTest, StartUpQueriesAndControlsFollowTheUnit)
{
    host.unit().setFields('A', {0xd});
    host.unit().setFields('G', {2});
    host.unit().setFields('H', {10, 20, 30, 40, 50});
    host.unit().setFields('J', {25});
    host.unit().setFields('Q', {1});
    host.unit().setFields('X', {0xb});
    host.unit().setFields('Y', {3});
    startWithUnit();

    std::vector<std::string> commands = host.unit().commands();
    ASSERT_GE(commands.size(), 17u);
    const std::vector<std::string> expected {"A", "B", "C", "E", "G", "H", "J", "M 15", "Q",
                                             "U", "X", "Y", "k", "m", "n", "r", "t"};
    EXPECT_EQ(std::vector<std::string>(commands.end() - 17, commands.end()), expected);
    EXPECT_EQ(view->tag(), 21930);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("RZ48 version %1-tty.usbserial-EMU").arg(QStringLiteral(RZ48_VERSION)));
    EXPECT_TRUE(view->timer()->isActive());

    auto* rate = find<RadioMatrix>("rateMatrix");
    EXPECT_EQ(rate->selectedCell(), 1); // 0xd: pulldown, end punch, HDMI
    EXPECT_FALSE(rate->isCellOn(0) || rate->isCellOn(2));
    EXPECT_TRUE(find<RadioMatrix>("priorityMatrix")->isCellOn(0));
    EXPECT_FALSE(find<RadioMatrix>("priorityMatrix")->isCellOn(1));
    EXPECT_TRUE(find<QCheckBox>("checkBoxStreamerEndPunch")->isChecked());
    EXPECT_FALSE(find<QCheckBox>("checkBoxBars")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("checkBoxGrayScale")->isChecked());
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingLeft")->text(), QStringLiteral("30"));
    EXPECT_EQ(find<Stepper>("stepperMaskingTransparency")->value(), 50);
    EXPECT_EQ(find<QLineEdit>("textDelayTrim")->text(), QStringLiteral("0.5"));
    EXPECT_EQ(find<Stepper>("stepperDelayTrim")->value(), 25);
    EXPECT_EQ(find<QComboBox>("comboBoxSdiGenerator")->currentText(), QStringLiteral("GENERATOR_OFF"));
    EXPECT_TRUE(find<QCheckBox>("checkBoxBypass")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("checkBoxPopStreamerAccum")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("checkBoxPopPunch")->isChecked());
    EXPECT_FALSE(find<QCheckBox>("checkBoxPopStreamer")->isChecked());
    EXPECT_TRUE(find<RadioMatrix>("popMatrix")->isCellOn(1));
    EXPECT_EQ(find<QComboBox>("myColorSpaceComboBox")->currentIndex(), 3);
    // Every report is echoed to the console.
    EXPECT_TRUE(find<QPlainTextEdit>("textViewDebugRx")->toPlainText().contains(QStringLiteral("H 10 20 30 40 50\n")));
    // Applying the reports sent nothing back.
    EXPECT_EQ(host.unit().commands().size(), commands.size());
}

TEST_F(PanelTest, EveryControlSendsItsLine)
{
    startWithUnit(); // A 2: auto, SDI priority, no end punch
    auto* rate = find<RadioMatrix>("rateMatrix");
    auto* priority = find<RadioMatrix>("priorityMatrix");
    auto* endPunch = find<QCheckBox>("checkBoxStreamerEndPunch");

    expectSends([&] { endPunch->click(); }, "A 6");
    expectSends([&] { rate->cell(1)->click(); }, "A 5");
    EXPECT_FALSE(rate->isCellOn(2)); // turned off by hand
    expectSends([&] { endPunch->click(); }, "A 1");
    expectSends([&] { rate->cell(2)->click(); }, "A 2");
    expectSends([&] { priority->cell(0)->click(); }, "A a");
    EXPECT_FALSE(priority->isCellOn(1));
    expectSends([&] { rate->cell(0)->click(); }, "A 8");
    expectSends([&] { priority->cell(1)->click(); }, "A 0");

    expectSends([&] { find<QCheckBox>("checkBoxBars")->click(); }, "G 1");
    expectSends([&] { find<QCheckBox>("checkBoxGrayScale")->click(); }, "G 3");

    auto* top = find<QLineEdit>("textBoxMaskingTop");
    expectSends([&] { top->setText(QStringLiteral("12")); QTest::keyClick(top, Qt::Key_Return); }, "H 12 0 0 0 0");
    EXPECT_EQ(find<Stepper>("stepperMaskingTop")->value(), 12);
    auto* right = find<Stepper>("stepperMaskingRight");
    expectSends([&] { right->upButton()->click(); }, "H 12 0 0 1 0");
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingRight")->text(), QStringLiteral("1"));

    auto* trimText = find<QLineEdit>("textDelayTrim");
    expectSends([&] { trimText->setText(QStringLiteral("0.5")); QTest::keyClick(trimText, Qt::Key_Return); }, "J 25");
    expectSends([&] { trimText->setText(QStringLiteral("0.51")); QTest::keyClick(trimText, Qt::Key_Return); }, "J 25");
    EXPECT_EQ(find<Stepper>("stepperDelayTrim")->value(), 25);
    expectSends([&] { find<Stepper>("stepperDelayTrim")->downButton()->click(); }, "J 24");
    EXPECT_EQ(trimText->text(), QStringLiteral("0.48"));

    auto* accum = find<QCheckBox>("checkBoxPopStreamerAccum");
    auto* streamer = find<QCheckBox>("checkBoxPopStreamer");
    expectSends([&] { accum->click(); }, "X 1");
    expectSends([&] { streamer->click(); }, "X 4");
    EXPECT_FALSE(accum->isChecked());
    expectSends([&] { streamer->click(); }, "X 0");
    expectSends([&] { find<RadioMatrix>("popMatrix")->cell(1)->click(); }, "X 8");
    expectSends([&] { find<QCheckBox>("checkBoxPopPunch")->click(); }, "X 10");
    expectSends([&] { find<RadioMatrix>("popMatrix")->cell(0)->click(); }, "X 2");

    auto* generator = find<QComboBox>("comboBoxSdiGenerator");
    expectSends([&] { QTest::keyClick(generator, Qt::Key_Up); }, "M 14");
    expectSends([&] { find<QCheckBox>("checkBoxBypass")->click(); }, "Q 1");
    expectSends([&] { QTest::keyClick(find<QComboBox>("myColorSpaceComboBox"), Qt::Key_Down); }, "Y 1");
    expectSends([&] { find<QPushButton>("buttonGetHdmiTiming")->click(); }, "N 0");
    find<QCheckBox>("checkBoxExtendedTiming")->click(); // sends nothing itself
    expectSends([&] { find<QPushButton>("buttonGetHdmiTiming")->click(); }, "N 1");

    auto* debugTx = find<QLineEdit>("textDebugTx");
    expectSends([&] { debugTx->setText(QStringLiteral("  G 0 \t")); QTest::keyClick(debugTx, Qt::Key_Return); }, "G 0");
    EXPECT_FALSE(find<QCheckBox>("checkBoxBars")->isChecked()); // the report came back

    // "l" gets no report of its own, only the prompt: wait for the unit instead.
    const size_t before = host.unit().commands().size();
    find<QPushButton>("buttonStreamerFields")->click();
    ASSERT_TRUE(host.unit().waitForCommands(before + 1, std::chrono::seconds(3)));
    EXPECT_EQ(host.unit().commands().back(), "l");
}

TEST_F(PanelTest, ReportSetsControlsAndSendsNothing)
{
    startWithUnit();
    const size_t before = host.unit().commands().size();
    const int lines = view->linesProcessed();
    // Masking and trim beyond any picture size: whatever the unit reports
    // goes back unchanged when another control of the group is touched.
    host.inject("Q 1\r\n>M 3\r\n>A 8\r\n>H 2000 -5 1500 1920 300\r\n>J 6000\r\n>");
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= lines + 5; }));
    EXPECT_TRUE(find<QCheckBox>("checkBoxBypass")->isChecked());
    EXPECT_EQ(find<QComboBox>("comboBoxSdiGenerator")->currentIndex(), 3);
    EXPECT_TRUE(find<RadioMatrix>("rateMatrix")->isCellOn(0));
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingBottom")->text(), QStringLiteral("-5"));
    EXPECT_EQ(view->link()->txCount(), 0);
    QTest::qWait(100);
    EXPECT_EQ(host.unit().commands().size(), before);
    expectSends([&] { find<Stepper>("stepperMaskingTop")->upButton()->click(); }, "H 2001 -5 1500 1920 300");
    expectSends([&] { find<Stepper>("stepperDelayTrim")->upButton()->click(); }, "J 6001");
}

TEST_F(PanelTest, GarbledUnitNeverStopsThePanel)
{
    rz48::DiagCapture out;
    startWithUnit();
    host.unit().setGarbage(true);
    view->link()->sendString(QStringLiteral("Q"));
    view->link()->sendString(QStringLiteral("G"));
    host.inject(std::string("\xf0\x01\x02", 3)); // a system-exclusive message that never ends
    host.inject(std::string(300, '\xff') + "\r\n");
    ASSERT_TRUE(waitUntil([&] { return view->link()->txCount() == 0; }));
    QTest::qWait(100);
    host.inject(std::string("\xf7", 1));
    host.unit().setGarbage(false);
    // Each chunk drains at most one system-exclusive message, and the garbage
    // may have held several: the lines behind them come with later answers.
    auto* bypass = find<QCheckBox>("checkBoxBypass");
    for (int attempt = 0; attempt < 6 && !bypass->isChecked(); ++attempt) {
        view->link()->sendString(QStringLiteral("Q 1"));
        waitUntil([&] { return bypass->isChecked(); }, 500);
    }
    EXPECT_TRUE(bypass->isChecked());
    EXPECT_TRUE(view->link()->isRunning());
}

TEST_F(PanelTest, CueTransferProgressAndItsHide)
{
    startWithUnit();
    view->timer()->stop(); // ticks are driven by hand below
    auto* bar = find<QProgressBar>("progressBarUpdate");
    auto* label = find<QLabel>("labelUpdate");
    EXPECT_TRUE(bar->isHidden());

    // A transfer through the link: "h 0", the pairs, then the unit's verdict.
    const int lines = view->linesProcessed();
    view->link()->sendString(QStringLiteral("h 0"));
    view->link()->sendString(QStringLiteral("f 01:00:00:00 01:00:05:00"));
    view->link()->sendString(QStringLiteral("f 01:00:10:00 "));
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= lines + 2; }, 5000));
    EXPECT_FALSE(bar->isHidden());
    EXPECT_EQ(view->tabView()->currentIndex(), 2);
    EXPECT_EQ(label->text(), QStringLiteral("0 items in queue"));
    EXPECT_EQ(view->updates()->progressDowncount(), 50u);
    // Half a second after the last pair the unit reports the result.
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= lines + 3; }, 5000));
    EXPECT_EQ(label->text(), QStringLiteral("success!"));

    for (int tick = 0; tick < 49; ++tick)
        view->timer_service();
    EXPECT_FALSE(bar->isHidden());
    view->timer_service();
    EXPECT_TRUE(bar->isHidden());
    EXPECT_TRUE(label->isHidden());
    EXPECT_EQ(view->updates()->progressDowncount(), 0u);

    view->processRxString(QStringLiteral("h 0"));
    EXPECT_EQ(label->text(), QStringLiteral("success!"));
    EXPECT_EQ(bar->value(), 100);
    view->processRxString(QStringLiteral("h 3"));
    EXPECT_EQ(label->text(), QStringLiteral("3 of 0 items sent, try again"));
}

TEST_F(PanelTest, QueueLengthDrivesTheProgressBar)
{
    startWithUnit();
    view->timer()->stop();
    host.unit().setSilent(true); // the queue drains at one command per 300 ms
    for (int i = 0; i < 6; ++i)
        view->link()->sendString(QStringLiteral("f 01:00:00:00 "));
    ASSERT_TRUE(waitUntil([&] { return view->link()->txCount() <= 5; }));
    const int queued = view->link()->txCount();
    view->processRxString(QStringLiteral("f"));
    auto* bar = find<QProgressBar>("progressBarUpdate");
    EXPECT_EQ(bar->maximum(), queued);
    EXPECT_EQ(bar->value(), queued);
    EXPECT_EQ(find<QLabel>("labelUpdate")->text(), QStringLiteral("%1 items in queue").arg(queued));
}

TEST_F(PanelTest, DispatcherAcceptanceAndScratchValues)
{
    rz48::DiagCapture out;
    view->awakeFromNib(noUnit()); // no unit: nothing is sent anywhere
    auto* rate = find<RadioMatrix>("rateMatrix");
    auto* priority = find<RadioMatrix>("priorityMatrix");
    // Before its report a group shows nothing the unit did not say, and takes no edit.
    auto* masking = find<QLineEdit>("textBoxMaskingTop");
    EXPECT_EQ(masking->text(), QString());
    EXPECT_FALSE(masking->isEnabled());
    EXPECT_EQ(find<QLineEdit>("textDelayTrim")->text(), QString());
    EXPECT_EQ(find<QComboBox>("comboBoxSdiGenerator")->currentIndex(), -1);
    EXPECT_EQ(find<QComboBox>("myColorSpaceComboBox")->currentIndex(), -1);
    EXPECT_FALSE(rate->isEnabled());
    EXPECT_EQ(rate->selectedCell(), -1);
    view->processRxString(QStringLiteral("H 0 1 2 3 4"));
    EXPECT_EQ(masking->text(), QStringLiteral("0"));
    EXPECT_TRUE(masking->isEnabled());
    EXPECT_FALSE(rate->isEnabled()); // its own report has not come

    view->processRxString(QStringLiteral("A 3"));
    EXPECT_EQ(rate->selectedCell(), 2);
    view->processRxString(QStringLiteral("A 8"));
    EXPECT_EQ(rate->selectedCell(), 0);
    EXPECT_TRUE(priority->isCellOn(0));
    EXPECT_FALSE(priority->isCellOn(1));
    // A bare letter reuses the last hexadecimal value read, here the G report's.
    view->processRxString(QStringLiteral("G 2"));
    view->processRxString(QStringLiteral("A"));
    EXPECT_EQ(rate->selectedCell(), 2);
    EXPECT_FALSE(priority->isCellOn(0));

    view->processRxString(QStringLiteral("AB 1"));
    view->processRxString(QStringLiteral("# A 0"));
    EXPECT_EQ(rate->selectedCell(), 2);
    view->processRxString(QStringLiteral("J 25"));
    EXPECT_EQ(find<QLineEdit>("textDelayTrim")->text(), QStringLiteral("0.5"));
    EXPECT_EQ(find<Stepper>("stepperDelayTrim")->value(), 25);
    // A short masking report keeps the last decimal value for the missing edges.
    view->processRxString(QStringLiteral("H 7"));
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingTransparency")->text(), QStringLiteral("7"));

    // "G", "Y" and "h" are hexadecimal: "G 11" is 17 (bars, no grey scale), a
    // bare "Y" takes the last hexadecimal value (3 from "A 3"), not the decimal
    // one (7), and "h 10" says 16 items.
    view->processRxString(QStringLiteral("G 11"));
    EXPECT_TRUE(find<QCheckBox>("checkBoxBars")->isChecked());
    EXPECT_FALSE(find<QCheckBox>("checkBoxGrayScale")->isChecked());
    view->processRxString(QStringLiteral("A 3"));
    view->processRxString(QStringLiteral("J 7"));
    view->processRxString(QStringLiteral("Y"));
    auto* space = find<QComboBox>("myColorSpaceComboBox");
    EXPECT_EQ(space->currentIndex(), 3);
    view->processRxString(QStringLiteral("h 10"));
    EXPECT_EQ(find<QLabel>("labelUpdate")->text(), QStringLiteral("16 of 0 items sent, try again"));
    // Numbers beyond the lists select nothing.
    auto* generator = find<QComboBox>("comboBoxSdiGenerator");
    for (const char* line : {"M 16", "M -1"}) {
        view->processRxString(QStringLiteral("M 3"));
        view->processRxString(QLatin1String(line));
        EXPECT_EQ(generator->currentIndex(), -1) << line;
    }
    view->processRxString(QStringLiteral("Y 6"));
    EXPECT_EQ(space->currentIndex(), -1);

    out.clear();
    view->processRxString(QStringLiteral("z 1"));
    view->processRxString(QStringLiteral("@"));
    view->processRxString(QStringLiteral("u 2"));
    view->processRxString(QStringLiteral("B RZ-48 C190"));
    view->processRxString(QStringLiteral("V"));
    view->processRxString(QStringLiteral("s"));
    EXPECT_EQ(out.text(), "unknown command: z\nunknown command: @\nunknown command: u\n");
}

TEST_F(PanelTest, SettingsImageCapture)
{
    rz48::DiagCapture out;
    view->awakeFromNib(noUnit());
    view->processRxString(QStringLiteral("k fc00 3f RZ-48 micro 3.32.6"));
    EXPECT_EQ(view->updates()->stateAddress(), 0xfc00u);
    EXPECT_EQ(view->updates()->stateSize(), 0x3fu);
    EXPECT_EQ(view->updates()->stateBuffer()[0], 0xFF);
    view->processRxString(QStringLiteral("j fc10 0 1 2 3 4 5 6 7 8 9 a b c d e f"));
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(view->updates()->stateBuffer()[size_t(0x10 + i)], i);
    // A record that runs past the image is cut at its end.
    view->processRxString(QStringLiteral("j fcf8 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20"));
    EXPECT_EQ(view->updates()->stateBuffer()[0xf8], 0x11);
    EXPECT_EQ(view->updates()->stateBuffer()[0xff], 0x18);
    EXPECT_EQ(view->updates()->stateBuffer()[0x00], 0xFF);
    view->processRxString(QStringLiteral("j fd00 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0"));
    view->processRxString(QStringLiteral("j fb00 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0"));
    EXPECT_EQ(view->updates()->stateBuffer()[0x00], 0xFF);
    EXPECT_NE(out.text().find("j fc10 0 1 2 3 4 5 6 7 8 9 a b c d e f\n"), std::string::npos);
    EXPECT_NE(out.text().find("3.32.6 "), std::string::npos);
    EXPECT_TRUE(alerts.messages.isEmpty());
    // A new "k" report blanks the image again.
    view->processRxString(QStringLiteral("k fc00 3f 4.0.0"));
    EXPECT_EQ(view->updates()->stateBuffer()[0x10], 0xFF);
}

TEST_F(PanelTest, VersionAlert)
{
    rz48::DiagCapture out;
    view->awakeFromNib(noUnit());
    view->processRxString(QStringLiteral("k fc00 3f RZ-48 micro 3.32.5"));
    ASSERT_EQ(alerts.messages.size(), 1);
    EXPECT_EQ(alerts.messages[0], QStringLiteral("update micro to 3.32.6 or greater"));
    view->processRxString(QStringLiteral("k fc00 3f 3.32.6"));
    view->processRxString(QStringLiteral("k fc00 3f 4.0.0"));
    view->processRxString(QStringLiteral("k fc00 3f no version here"));
    EXPECT_EQ(alerts.messages.size(), 1);
    view->updates()->checkMicroVersion(QStringLiteral("k 2.9.9"), QStringLiteral("3.32.6 beta"));
    EXPECT_EQ(alerts.messages.size(), 2);
    EXPECT_EQ(alerts.messages[1], QStringLiteral("update micro to 3.32.6 beta or greater"));
}

TEST_F(PanelTest, NoUnitMeansNoTimerAndNothingQueued)
{
    view->awakeFromNib(noUnit());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("RZ48 version %1-RZ48 not found").arg(QStringLiteral(RZ48_VERSION)));
    EXPECT_FALSE(view->timer()->isActive());
    EXPECT_FALSE(view->link()->isRunning());
    find<QCheckBox>("checkBoxBypass")->click();
    EXPECT_EQ(view->link()->txCount(), 0);
}

TEST_F(PanelTest, ChunksAreCutIntoReports)
{
    view->awakeFromNib(noUnit());
    auto chunk = [](const QByteArray& bytes) {
        MsgClass m;
        m.txBytes(bytes.constData(), uint32_t(bytes.size()));
        return m;
    };
    view->link()->threadHasMsg(chunk("G 1\r\n>Q 1\r\n>"));
    EXPECT_TRUE(find<QCheckBox>("checkBoxBars")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("checkBoxBypass")->isChecked());
    view->link()->threadHasMsg(chunk("H 1 2 "));
    EXPECT_EQ(view->linesProcessed(), 2);
    view->link()->threadHasMsg(chunk("3 4 5\r\n>"));
    EXPECT_EQ(view->linesProcessed(), 3);
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingRight")->text(), QStringLiteral("4"));
    EXPECT_EQ(find<QPlainTextEdit>("textViewDebugRx")->toPlainText(), QStringLiteral("G 1\nQ 1\nH 1 2 3 4 5\n"));
    find<QPushButton>("buttonClearDebugRx")->click();
    EXPECT_TRUE(find<QPlainTextEdit>("textViewDebugRx")->toPlainText().isEmpty());
}

TEST_F(PanelTest, FramingSelfTest)
{
    view->awakeFromNib(noUnit());
    rz48::DiagCapture out;
    bool passed = false;
    view->mainTab()->onButtonTest(&passed);
    EXPECT_TRUE(passed);
    EXPECT_EQ(out.text(), "A 1\n\n"
                          "f0 20 56 20 41 42 43 f7 \n42 0d 0a \n"
                          "f0 20 56 20 41 42 43 f7 \n"
                          "B\n");
}

TEST_F(PanelTest, DragsOfFileNamesAreOfferedButNeverDropped)
{
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/cues.txt"))});
    QMimeData text;
    text.setText(QStringLiteral("hello"));
    EXPECT_EQ(rz48View::dragOperationFor(&files, Qt::LinkAction | Qt::CopyAction), Qt::LinkAction);
    EXPECT_EQ(rz48View::dragOperationFor(&files, Qt::CopyAction | Qt::MoveAction), Qt::CopyAction);
    EXPECT_EQ(rz48View::dragOperationFor(&files, Qt::MoveAction), Qt::IgnoreAction);
    EXPECT_EQ(rz48View::dragOperationFor(&text, Qt::CopyAction), Qt::IgnoreAction);

    view->awakeFromNib(noUnit());
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &drop);
    EXPECT_FALSE(drop.isAccepted());
}

TEST_F(PanelTest, ClosingTheWindowStopsTheLink)
{
    startWithUnit();
    rz48::DiagCapture out;
    window->close();
    EXPECT_EQ(view->link(), nullptr);
    EXPECT_EQ(view->msg(), nullptr);
    EXPECT_NE(out.text().find("run() complete\n"), std::string::npos);
}

} // namespace

// Every control a person can use or read, in the panel and the cue window,
// says what it does.
TEST_F(PanelTest, EveryNamedControlHasATooltip)
{
    view->awakeFromNib(noUnit());
    QList<QWidget*> widgets = view->findChildren<QWidget*>();
    widgets << view->cueDocument()->window()->findChildren<QWidget*>();
    QStringList missing;
    int controls = 0;
    for (QWidget* w : widgets) {
        const QString name = w->objectName();
        if (name.isEmpty() || name.startsWith(QLatin1String("qt_")))
            continue;
        if (w->testAttribute(Qt::WA_WState_ExplicitShowHide) && w->isHidden())
            continue; // nobody sees it
        const bool control = w->inherits("QAbstractButton") || w->inherits("QLineEdit") || w->inherits("QComboBox")
            || w->inherits("QAbstractSlider") || w->inherits("QPlainTextEdit") || w->inherits("QAbstractItemView")
            || w->inherits("QProgressBar") || w->inherits("QLabel") || w->inherits("Stepper")
            || w->inherits("RadioMatrix") || w->inherits("PreviewView");
        if (!control)
            continue;
        ++controls;
        if (w->toolTip().isEmpty())
            missing << name;
    }
    EXPECT_GT(controls, 100);
    EXPECT_TRUE(missing.isEmpty()) << missing.join(u' ').toStdString();
}

namespace {

// Unit > Save setup, Compare with unit, Revert to connection setup and Load
// setup, against the emulated unit.
TEST_F(PanelTest, SetupsSavedComparedRevertedAndLoaded)
{
    startWithUnit();
    SetupController* setups = view->setups();
    ASSERT_TRUE(waitUntil([&] { return setups->connectionSetup().lines.size() == 15; }, 5000));
    auto settle = [&](int alertsBefore) { return waitUntil([&] { return alerts.messages.size() > alertsBefore && !setups->busy(); }, 8000); };

    // Save: "k" and the setup letters go out, nothing else; one line per letter.
    const QString path = dir.filePath(QStringLiteral("studio.rz48setup"));
    panels.nextSave = path;
    const size_t before = host.unit().commands().size();
    setups->menuSaveSetup();
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(path) && !setups->busy(); }, 8000));
    const auto all = host.unit().commands();
    EXPECT_EQ(std::vector<std::string>(all.begin() + long(before), all.end()),
              (std::vector<std::string> {"k", "A", "C", "E", "G", "H", "J", "M", "Q", "U", "X", "Y", "m", "n", "r", "t"}));
    QFile saved(path);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QByteArray text = saved.readAll();
    EXPECT_TRUE(text.startsWith("# RZ-48 setup, saved ")) << text.toStdString();
    // Each setting is named in words on the line above it, never on its own line.
    EXPECT_TRUE(text.contains("\n# firmware RZ-48 micro 3.32.6\n# Reference: Reference, Punch at streamer end, Priority\nA 2\n"
                              "# Streamer: Streamer colours, Streamer width, Streamer reserved field, Streamer duration, "
                              "Streamer delay, Streamer top, Streamer bottom, Streamer transparency\nC 0 28 0 64 0 ff ff 0\n"))
        << text.toStdString();

    // A change by hand shows in the comparison with the file.
    expectSends([&] { find<Stepper>("stepperMaskingTop")->upButton()->click(); }, "H 1 0 0 0 0");
    panels.nextOpen = path;
    int shown = int(alerts.messages.size());
    setups->menuCompareSetup();
    ASSERT_TRUE(settle(shown));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("1 setting differs between studio.rz48setup and the unit."));
    EXPECT_EQ(alerts.details.last(), QStringLiteral("Masking top: file 0 lines, unit 1 lines (H: file H 0 0 0 0 0 / unit H 1 0 0 0 0)"));
    EXPECT_EQ(alerts.kinds.last(), rz48::AlertKind::Information);

    // Revert asks first (Cancel the default), then the connection's setup goes back, and comes back as sent.
    shown = int(alerts.messages.size());
    alerts.buttonAnswers = {1};
    setups->menuRevertSetup();
    EXPECT_EQ(alerts.choices, (QStringList {"Revert", "Cancel"}));
    EXPECT_EQ(alerts.defaults.last(), 1);
    QTest::qWait(100);
    EXPECT_EQ(host.unit().fields('H'), (std::vector<int64_t> {1, 0, 0, 0, 0})); // cancelled: nothing sent
    alerts.buttonAnswers = {0};
    setups->menuRevertSetup();
    ASSERT_TRUE(settle(shown));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The unit now has every setting of the setup read at connection."));
    EXPECT_EQ(host.unit().fields('H'), (std::vector<int64_t> {0, 0, 0, 0, 0}));
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingTop")->text(), QStringLiteral("0"));

    // Load: a file with a line that is not a setting is refused and sends
    // nothing; a good one is sent and checked.
    QFile bad(dir.filePath(QStringLiteral("bad.rz48setup")));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("# hand-made\nQ 1\nZ 1\n");
    bad.close();
    panels.nextOpen = bad.fileName();
    const size_t sentBefore = host.unit().commands().size();
    setups->menuLoadSetup();
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("bad.rz48setup is not a setup file: nothing was sent."));
    EXPECT_EQ(alerts.details.last(), QStringLiteral("Line 3: not a setting command (a setup has lines for ACEGHJMQUXYmnrt)"));
    QTest::qWait(100);
    EXPECT_EQ(host.unit().commands().size(), sentBefore);
    QFile good(dir.filePath(QStringLiteral("good.rz48setup")));
    ASSERT_TRUE(good.open(QIODevice::WriteOnly));
    good.write("Q 1\nH 5 6 7 8 9\n");
    good.close();
    panels.nextOpen = good.fileName();
    shown = int(alerts.messages.size());
    setups->menuLoadSetup();
    ASSERT_TRUE(settle(shown));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The unit now has every setting of good.rz48setup."));
    EXPECT_TRUE(find<QCheckBox>("checkBoxBypass")->isChecked());
    EXPECT_EQ(find<QLineEdit>("textBoxMaskingRight")->text(), QStringLiteral("8"));

    // A unit that reports nothing gives no setup file at all.
    host.unit().setSilent(true);
    panels.nextSave = dir.filePath(QStringLiteral("empty.rz48setup"));
    shown = int(alerts.messages.size());
    setups->menuSaveSetup();
    ASSERT_TRUE(settle(shown));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The unit reported no setting: nothing was saved."));
    EXPECT_FALSE(QFile::exists(panels.nextSave));
}

// The window closed while a setup is being read: the capture ends with the
// link, and nothing touches the link after it is gone (the sanitizer build
// sees any use after its deletion).
TEST_F(PanelTest, AWindowClosedDuringASetupCapture)
{
    startWithUnit();
    SetupController* setups = view->setups();
    ASSERT_TRUE(waitUntil([&] { return setups->connectionSetup().lines.size() == 15; }, 5000));
    panels.nextSave = dir.filePath(QStringLiteral("closing.rz48setup"));
    setups->menuSaveSetup();
    ASSERT_TRUE(setups->busy());
    view->windowClosing();
    EXPECT_FALSE(setups->busy());
    QTest::qWait(200); // the capture's timer turns four times, if it still ran
    EXPECT_FALSE(QFile::exists(panels.nextSave));
    EXPECT_TRUE(alerts.messages.isEmpty());
}

} // namespace
