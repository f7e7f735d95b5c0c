// The panel against a misbehaving unit: silent from the start, hanging up
// mid-session and coming back, appearing after the panel started, sending a
// storm of random bytes, or a system-exclusive message that never ends.
#include "common/Diagnostics.h"
#include "codecs/ProtocolTables.h"
#include "link/MsgClass.h"
#include "link/UnitLink.h"
#include "support/PanelFixture.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
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

using State = rz48::link::UnitLink::State;

// The last `n` commands the unit received.
std::vector<std::string> lastCommands(const rz48::emu::PtyHost& host, size_t n)
{
    const auto all = const_cast<rz48::emu::PtyHost&>(host).unit().commands();
    return all.size() < n ? all : std::vector<std::string>(all.end() - long(n), all.end());
}

const std::vector<std::string> kStartup(rz48::kStartupQueries.begin(), rz48::kStartupQueries.end());

TEST_F(PanelTest, UnitLostMidSessionAndFoundAgain)
{
    startWithUnit();
    auto* banner = find<QLabel>("bannerNotConnected");
    EXPECT_TRUE(banner->isHidden());
    host.setAnswerDelay(std::chrono::milliseconds(5000)); // what is sent now stays queued
    for (int i = 0; i < 5; ++i)
        view->link()->sendString(QStringLiteral("Q"));
    host.hangUp();
    ASSERT_TRUE(waitUntil([&] { return view->link()->state() == State::Lost; }, 5000));
    EXPECT_EQ(view->link()->txCount(), 0); // dropped, not written into the void
    EXPECT_GE(view->link()->droppedCommands(), 1);
    EXPECT_FALSE(view->link()->isRunning());
    EXPECT_FALSE(banner->isHidden());
    EXPECT_TRUE(banner->text().contains(QStringLiteral("Not connected: changes are not sent to a unit.")));
    EXPECT_TRUE(banner->text().contains(QStringLiteral("Lost: ") + QString::fromStdString(host.linkPath())));
    view->processRxString(QStringLiteral("Q 1")); // the window still works
    EXPECT_TRUE(find<QCheckBox>("checkBoxBypass")->isChecked());

    // Power-cycled with bypass off, back under the same name: found again,
    // asked for its state in the start-up order, and the controls follow.
    host.stop();
    host.setAnswerDelay(std::chrono::milliseconds(0));
    host.unit().setFields('Q', {0});
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    ASSERT_TRUE(waitUntil([&] { return view->link()->state() == State::Connected; }, 5000));
    ASSERT_TRUE(waitUntil([&] { return lastCommands(host, 1) == std::vector<std::string> {"t"}; }, 15000));
    EXPECT_EQ(lastCommands(host, kStartup.size()), kStartup);
    ASSERT_TRUE(waitUntil([&] { return !find<QCheckBox>("checkBoxBypass")->isChecked(); }, 3000));
    EXPECT_TRUE(banner->isHidden());
    window->close();
    EXPECT_EQ(view->link(), nullptr);
}

TEST_F(PanelTest, PanelStartedBeforeTheUnit)
{
    view->awakeFromNib(noUnit());
    EXPECT_EQ(view->link()->state(), State::NotFound);
    auto* banner = find<QLabel>("bannerNotConnected");
    EXPECT_FALSE(banner->isHidden());
    EXPECT_TRUE(banner->text().contains(QStringLiteral("no USB serial adapter found")));
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 15000));
    EXPECT_EQ(view->link()->state(), State::Connected);
    EXPECT_TRUE(banner->isHidden());
}

TEST_F(PanelTest, ExplicitPortThatAppearsLater)
{
    LinkOptions options = noUnit();
    options.explicitPort = dir.filePath(QStringLiteral("later"));
    view->awakeFromNib(options);
    EXPECT_EQ(view->link()->state(), State::NotFound);
    rz48::emu::PtyHost other; // a unit under another name is not the one asked for
    std::string error;
    ASSERT_TRUE(other.start(dir.path().toStdString(), "tty.usbserial-OTHER", &error)) << error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "later", &error)) << error;
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 15000));
    EXPECT_EQ(other.unit().probeCount(), 0);
    EXPECT_EQ(view->link()->portPath(), options.explicitPort);
}

TEST_F(PanelTest, ChoosingBetweenTwoUnits)
{
    startWithUnit();
    rz48::emu::PtyHost second;
    std::string error;
    ASSERT_TRUE(second.start(dir.path().toStdString(), "tty.usbserial-SECOND", &error)) << error;
    const QString first = view->link()->portPath();
    alerts.choice = 1;
    view->link()->choosePort(view->updates()->firmwareVersion());
    // The unit in use first and kept by default; Esc cancels.
    EXPECT_EQ(alerts.choices, (QStringList {"Keep tty.usbserial-EMU", "Use tty.usbserial-SECOND", "Cancel"}));
    EXPECT_EQ(alerts.defaults, QList<int> {0});
    EXPECT_EQ(alerts.escapes, QList<int> {2});
    EXPECT_EQ(alerts.questionDetails.value(0),
              first + ", firmware 3.32.6 (in use)\n" + QString::fromStdString(second.linkPath()) + ", firmware 3.32.6");
    EXPECT_EQ(view->link()->portPath(), QString::fromStdString(second.linkPath()));
    ASSERT_TRUE(waitUntil([&] { return lastCommands(second, 1) == std::vector<std::string> {"t"}; }, 15000));
    EXPECT_EQ(lastCommands(second, kStartup.size()), kStartup);
    EXPECT_EQ(view->link()->state(), State::Connected);
}

TEST_F(PanelTest, PortThatNeverAnswersIsProbedOnce)
{
    host.unit().setSilent(true);
    std::string error;
    ASSERT_TRUE(host.start(dir.path().toStdString(), "ttyUSB5", &error)) << error;
    rz48::DiagCapture out;
    view->awakeFromNib(noUnit());
    EXPECT_EQ(view->link()->state(), State::NotFound);
    const int probes = host.unit().probeCount();
    EXPECT_GT(probes, 0);
    QTest::qWait(3500); // three retries
    EXPECT_EQ(host.unit().probeCount(), probes);
    const std::string line = "ttyUSB5: opened; no answer to the probe";
    const std::string text = out.text();
    EXPECT_EQ(text.find(line), text.rfind(line)) << text; // said once
    view->link()->reconnect(); // asked for: probed again
    EXPECT_TRUE(waitUntil([&] { return host.unit().probeCount() > probes; }, 5000));
}

TEST_F(PanelTest, NotAnsweringShowsTheBannerAndReconnectProbesAgain)
{
    startWithUnit();
    auto* banner = find<QLabel>("bannerNotConnected");
    EXPECT_TRUE(banner->isHidden());
    host.unit().setSilent(true);
    for (int i = 0; i < 6; ++i)
        view->link()->sendString(QStringLiteral("A"));
    ASSERT_TRUE(waitUntil([&] { return view->link()->state() == State::NotAnswering; }, 15000));
    EXPECT_FALSE(banner->isHidden());
    EXPECT_TRUE(banner->text().startsWith(QStringLiteral("Not answering: changes may not reach the unit.\n"))) << banner->text().toStdString();

    // Reconnect lets the port go and probes it again, saying so first.
    host.unit().setSilent(false);
    const QString port = view->link()->portPath();
    const int probes = host.unit().probeCount();
    view->link()->reconnect();
    EXPECT_EQ(view->link()->statusText(), "Reconnecting: closed " + port + ", probing every port...");
    ASSERT_TRUE(waitUntil([&] { return lastCommands(host, 1) == std::vector<std::string> {"t"} && host.unit().probeCount() > probes; }, 15000));
    EXPECT_EQ(view->link()->state(), State::Connected);
    EXPECT_TRUE(banner->isHidden());
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
        if (view->link()->bytesAvailable() == 0 && timer.elapsed() > 1500)
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
