// The panel against a misbehaving unit: silent from the start, hanging up
// mid-session, sending a storm of random bytes, or a system-exclusive
// message that never ends.
#include "common/Diagnostics.h"
#include "link/MsgClass.h"
#include "support/PanelFixture.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>

#include <random>

using rz48test::PanelTest;
using rz48test::waitUntil;

namespace {

TEST_F(PanelTest, SilentUnitStillGetsEveryQueryAndThePanelStaysResponsive)
{
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    const size_t probes = 1;
    view->awakeFromNib(noUnit());
    // Silent once it has been found: every start-up query then waits its 300 ms
    // (the first may still have been answered).
    host.unit().setSilent(true);
    QElapsedTimer timer;
    timer.start();
    int ticks = 0;
    qint64 longestGap = 0, last = 0;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        ++ticks;
        longestGap = std::max(longestGap, timer.elapsed() - last);
        last = timer.elapsed();
    });
    tick.start(20);
    ASSERT_TRUE(waitUntil([&] { return host.unit().commands().size() >= probes + 17; }, 15000));
    EXPECT_GE(timer.elapsed(), 15 * 300 - 100); // each query after the previous one's wait
    EXPECT_EQ(host.unit().commands().back(), "t");
    EXPECT_GT(ticks, 100);
    EXPECT_LT(longestGap, 1000); // the window never froze
}

TEST_F(PanelTest, HangUpMidSession)
{
    startWithUnit();
    host.hangUp();
    ASSERT_TRUE(waitUntil([&] { return host.hungUp(); }));
    for (int i = 0; i < 5; ++i)
        view->comThread()->sendString(QStringLiteral("Q"));
    ASSERT_TRUE(waitUntil([&] { return view->comThread()->txCount() == 0; }, 5000)); // written into the void
    EXPECT_TRUE(view->comThread()->isRunning());
    view->processRxString(QStringLiteral("Q 1")); // the window still works
    window->close();
    EXPECT_EQ(view->comThread(), nullptr);
}

TEST_F(PanelTest, StormOfRandomBytesStaysBounded)
{
    startWithUnit();
    rz48::DiagCapture out;
    std::mt19937 rng(256);
    std::string storm(256 * 1024, '\0');
    for (char& c : storm)
        c = char(rng());
    host.inject(storm);
    auto* console = find<QPlainTextEdit>("textViewDebugRx");
    qsizetype largest = 0;
    QElapsedTimer timer;
    timer.start();
    // The link reads the storm in chunks; the receive buffer and the console
    // stay within their limits all along.
    while (timer.elapsed() < 20000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        if (view->msg())
            largest = std::max(largest, view->msg()->buffer().size());
        if (view->comThread()->bytesAvailable() == 0 && timer.elapsed() > 1500)
            break;
    }
    EXPECT_LE(largest, 16 * 1024 + 255);
    EXPECT_LE(console->document()->blockCount(), 5001);
    // And the unit is understood again once it talks sense: a message the
    // storm left unfinished is dropped when enough follows it.
    std::string sense;
    for (int i = 0; i < 60; ++i)
        sense += "# status line\r\n>";
    host.inject(sense + "Q 1\r\n>");
    ASSERT_TRUE(waitUntil([&] { return find<QCheckBox>("checkBoxBypass")->isChecked(); }, 5000));
}

TEST_F(PanelTest, UnterminatedSysExHoldsLinesBackButNotForever)
{
    startWithUnit();
    rz48::DiagCapture out;
    host.inject(std::string("\xf0\x01\x02", 3));
    host.inject("Q 1\r\n>");
    QTest::qWait(300);
    EXPECT_FALSE(find<QCheckBox>("checkBoxBypass")->isChecked()); // held behind the message
    // The message never ends: once enough has piled up behind it, it is
    // dropped with the line it ran into, and later lines are read again.
    host.inject(std::string(600, 'x') + "\r\n>");
    ASSERT_TRUE(waitUntil([&] { return out.text().find("incomplete system-exclusive message dropped") != std::string::npos; }, 5000));
    host.inject("Q 1\r\n>");
    ASSERT_TRUE(waitUntil([&] { return find<QCheckBox>("checkBoxBypass")->isChecked(); }, 5000));
}

} // namespace
