// The link against the emulated unit on real pseudo-terminals.
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "emulator/PtyHost.h"
#include "link/ComThread.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <mutex>

#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace std::chrono_literals;
using rz48test::ChunkRecorder;
using rz48test::waitUntil;

namespace {

class RecordingAlerts : public rz48::AlertSink {
public:
    void showAlert(const QString& message, const QString& informative, rz48::AlertKind) override
    {
        messages << message;
        EXPECT_TRUE(informative.isEmpty());
    }
    QStringList messages;
};

class LinkTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        rz48::setAlertSink(&alerts);
        link.setSearchDirectory(dir.path());
        link.setDriverCheck([] { return true; });
    }
    void TearDown() override
    {
        link.stopThread();
        rz48::setAlertSink(nullptr);
    }

    rz48::emu::PtyHost& addUnit(const std::string& name)
    {
        hosts.push_back(std::make_unique<rz48::emu::PtyHost>());
        std::string error;
        EXPECT_TRUE(hosts.back()->start(dir.path().toStdString(), name, &error)) << error;
        return *hosts.back();
    }
    std::string path(const char* name) const { return (dir.path() + u'/' + QLatin1String(name)).toStdString(); }

    // Opens the one emulated unit and starts the thread.
    rz48::emu::PtyHost& connect()
    {
        rz48::emu::PtyHost& unit = addUnit("tty.usbserial-EMU");
        EXPECT_EQ(link.openUsbSerial(), 0);
        link.startThread(&recorder);
        return unit;
    }

    QTemporaryDir dir;
    RecordingAlerts alerts;
    std::vector<std::unique_ptr<rz48::emu::PtyHost>> hosts;
    ChunkRecorder recorder; // outlives the link's thread
    ComThread link;
};

size_t countOf(const std::vector<std::string>& v, const std::string& s)
{
    return size_t(std::count(v.begin(), v.end(), s));
}

TEST_F(LinkTest, FindsTheUnitAmongSeveralEntries)
{
    rz48::DiagCapture out;
    ASSERT_EQ(::symlink("/nonexistent/ttyUSB9", path("tty.usbserial-A0").c_str()), 0);
    rz48::emu::PtyHost& silent = addUnit("tty.usbserial-B1");
    silent.unit().setSilent(true);
    rz48::emu::PtyHost& late = addUnit("tty.usbserial-C2");
    late.unit().setProbeAnswerOn(3);
    rz48::emu::PtyHost& unrelated = addUnit("ttyS0");

    ASSERT_EQ(link.openUsbSerial(), 0);
    EXPECT_EQ(link.com(), QStringLiteral("tty.usbserial-C2"));
    EXPECT_GT(link.fd(), 0);
    EXPECT_EQ(late.unit().probeCount(), 3);
    EXPECT_EQ(unrelated.unit().probeCount(), 0);
    const int silentProbes = silent.unit().probeCount(); // 0 when found after the unit
    EXPECT_TRUE(silentProbes == 0 || silentProbes == 3) << silentProbes;
    EXPECT_NE(out.text().find("found RZ-48 on port " + path("tty.usbserial-C2") + "\n"), std::string::npos);
    // When the search reached the entry that cannot be opened, it said so and why.
    if (out.text().find("failed to open") != std::string::npos) {
        EXPECT_NE(out.text().find("failed to open " + path("tty.usbserial-A0") + "\n" + path("tty.usbserial-A0")
                                  + ": no such device"),
                  std::string::npos);
    }
    EXPECT_TRUE(alerts.messages.isEmpty());
}

TEST_F(LinkTest, NoUnitAnswersMeansNotFound)
{
    rz48::DiagCapture out;
    ASSERT_EQ(::symlink("/nonexistent/ttyUSB9", path("tty.usbserial-A0").c_str()), 0);
    rz48::emu::PtyHost& silent = addUnit("tty.usbserial-B1");
    silent.unit().setSilent(true);
    rz48::emu::PtyHost& twoTries = addUnit("ttyUSB3");
    twoTries.unit().setProbeAnswerOn(4); // would answer the fourth probe: too late

    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_EQ(link.com(), QStringLiteral("RZ48 not found"));
    EXPECT_EQ(link.fd(), -1);
    EXPECT_EQ(silent.unit().probeCount(), 3);
    EXPECT_EQ(twoTries.unit().probeCount(), 3);
    EXPECT_NE(out.text().find("failed to open " + path("tty.usbserial-A0") + "\n" + path("tty.usbserial-A0")
                               + ": no such device"),
              std::string::npos);
    EXPECT_TRUE(alerts.messages.isEmpty()); // the driver is there

    twoTries.unit().setSilent(true);
    ComThread noDriver;
    noDriver.setSearchDirectory(dir.path());
    noDriver.setDriverCheck([] { return false; });
    EXPECT_EQ(noDriver.openUsbSerial(), -1);
    ASSERT_EQ(alerts.messages.size(), 1);
    EXPECT_TRUE(alerts.messages[0].startsWith(QStringLiteral("install USB driver found at ")));
}

TEST_F(LinkTest, MissingDirectoryLeavesComAsItWas)
{
    link.setSearchDirectory(dir.path() + QStringLiteral("/gone"));
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_TRUE(link.com().isEmpty());
}

TEST_F(LinkTest, ExplicitPortSkipsTheSearch)
{
    rz48::emu::PtyHost& unit = addUnit("any-name");
    link.setSearchDirectory(QStringLiteral("/nonexistent"));
    link.setExplicitPort(QString::fromStdString(unit.linkPath()));
    ASSERT_EQ(link.openUsbSerial(), 0);
    EXPECT_EQ(link.com(), QStringLiteral("any-name"));
}

TEST_F(LinkTest, OrdinaryFileIsNeverProbed)
{
    rz48::DiagCapture out;
    const std::string file = path("tty.usbserial-file");
    ::close(::open(file.c_str(), O_CREAT | O_WRONLY, 0600));
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_NE(out.text().find(file + ": not a serial port"), std::string::npos);
    QFile f(QString::fromStdString(file));
    EXPECT_EQ(f.size(), 0);
}

// Root opens anything, so these attempts run in a helper process (this
// program again) that drops to an unprivileged user first.
int runAsNobody(const char* variable, const std::string& value, QString* output)
{
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QLatin1String(variable), QString::fromStdString(value));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(), {});
    if (!child.waitForFinished(20000))
        return -1;
    *output = QString::fromLocal8Bit(child.readAllStandardOutput() + child.readAllStandardError());
    return child.exitCode();
}

TEST_F(LinkTest, RefusedPermissionIsExplained)
{
    const std::string file = path("tty.usbserial-locked");
    ::close(::open(file.c_str(), O_CREAT | O_WRONLY, 0000));
    QString output;
    EXPECT_EQ(runAsNobody("RZ48_TEST_OPEN_AS_NOBODY", file, &output), 0) << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("failed to open %1\n").arg(QString::fromStdString(file))));
    EXPECT_TRUE(output.contains(QStringLiteral("permission denied")));
    EXPECT_TRUE(output.contains(QStringLiteral("dialout")));
}

TEST_F(LinkTest, PortIsExclusiveOnlyWhileHeld)
{
    // A second panel of the same user is refused the port while the first
    // has it, and gets it once the first has closed it (1: not exclusive,
    // 2: still exclusive after the close).
    QString output;
    EXPECT_EQ(runAsNobody("RZ48_TEST_REOPEN_AS_NOBODY", "1", &output), 0) << output.toStdString();
}

TEST_F(LinkTest, SendsBeforeStartThreadAreDropped)
{
    rz48::emu::PtyHost& unit = addUnit("tty.usbserial-EMU");
    ASSERT_EQ(link.openUsbSerial(), 0);
    link.sendString(QStringLiteral("A"));
    link.sendMidiTrigger(1);
    EXPECT_EQ(link.txCount(), 0);
    link.startThread(&recorder);
    link.sendString(QStringLiteral("Q"));
    ASSERT_TRUE(waitUntil([&] { return !unit.unit().commands().empty() && unit.unit().commands().back() == "Q"; }));
    // The probe, then the first command sent after the thread started.
    const auto commands = unit.unit().commands();
    EXPECT_EQ(commands.front(), "B");
    EXPECT_EQ(countOf(commands, "A"), 0u);
    EXPECT_EQ(commands.back(), "Q");
    EXPECT_TRUE(unit.unit().triggers().empty());
}

TEST_F(LinkTest, TalkingUnitGetsCommandsInOrderOneAnswerAtATime)
{
    rz48::emu::PtyHost& unit = connect();
    unit.setPacing(38400);
    const QStringList sent {"A", "C", "E", "G", "H", "J", "M 15", "Q", "U", "X", "Y", "k", "m", "n", "r", "t"};
    for (const QString& c : sent)
        link.sendString(c);
    const size_t probes = unit.unit().commands().size();
    ASSERT_TRUE(unit.unit().waitForCommands(probes + size_t(sent.size()), 10s));
    ASSERT_TRUE(waitUntil([&] { return recorder.allBytes().count("\r\n>") >= sent.size(); }, 5000));
    const auto commands = unit.unit().commands();
    for (int i = 0; i < sent.size(); ++i)
        EXPECT_EQ(commands[probes + size_t(i)], sent[i].toStdString());
    // Each answer arrives before the next command's: the reports come in command order.
    const QList<QByteArray> reports = recorder.allBytes().split('>');
    for (int i = 0; i < sent.size(); ++i)
        EXPECT_EQ(reports[i].at(0), sent[i].toLatin1().at(0)) << i;
    EXPECT_TRUE(recorder.allOnMainThread);
    EXPECT_EQ(link.txCount(), 0);
}

TEST_F(LinkTest, SilentUnitDelaysEachCommandBy300ms)
{
    rz48::emu::PtyHost& unit = connect();
    unit.unit().setSilent(true);
    const size_t probes = unit.unit().commands().size();
    QElapsedTimer timer;
    timer.start();
    link.sendString(QStringLiteral("A"));
    link.sendString(QStringLiteral("C"));
    link.sendString(QStringLiteral("E"));
    EXPECT_GE(link.txCount(), 2);
    ASSERT_TRUE(unit.unit().waitForCommands(probes + 3, 5s));
    // Two full answer waits of 30 x 10 ms lie between the first and the
    // third, and no more than that (generously: the machines are shared).
    EXPECT_GE(timer.elapsed(), 600);
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_EQ(unit.unit().commands().back(), "E");
}

TEST_F(LinkTest, LateAnswerHoldsTheNextCommandBack)
{
    rz48::emu::PtyHost& unit = connect();
    unit.setAnswerDelay(150ms);
    const size_t probes = unit.unit().commands().size();
    QElapsedTimer timer;
    timer.start();
    link.sendString(QStringLiteral("A"));
    link.sendString(QStringLiteral("C"));
    ASSERT_TRUE(unit.unit().waitForCommands(probes + 2, 5s));
    // "C" goes out only once the answer to "A" has begun to arrive.
    EXPECT_GE(timer.elapsed(), 150);
    ASSERT_TRUE(waitUntil([&] { return recorder.allBytes().count("\r\n>") >= 2; }));
    EXPECT_TRUE(recorder.allBytes().startsWith("A 2\r\n>C "));

    // An answer that begins later than 300 ms is not waited for: "E" goes
    // out while the answer to "C" is still to come.
    unit.setAnswerDelay(1200ms);
    const qsizetype received = recorder.allBytes().size();
    link.sendString(QStringLiteral("C"));
    link.sendString(QStringLiteral("E"));
    ASSERT_TRUE(waitUntil([&] { return unit.unit().commands().size() >= probes + 4; }, 5000)); // with the event loop running
    EXPECT_EQ(unit.unit().commands().back(), "E");
    EXPECT_EQ(recorder.allBytes().size(), received);
}

TEST_F(LinkTest, ChunksArriveInReadOrderAndAreNumbered)
{
    rz48::emu::PtyHost& unit = connect();
    QByteArray expected;
    for (int i = 0; i < 200; ++i)
        expected += "# line " + QByteArray::number(i) + " of the unit's long answer\r\n";
    unit.inject(expected.toStdString());
    ASSERT_TRUE(waitUntil([&] { return recorder.allBytes().size() >= expected.size(); }, 10000));
    EXPECT_EQ(recorder.allBytes(), expected);
    for (size_t i = 0; i < recorder.chunks.size(); ++i) {
        EXPECT_EQ(recorder.chunks[i].text(), QString::number(i + 1));
        EXPECT_LE(recorder.chunks[i].buffer().size(), 255);
    }
    EXPECT_GE(recorder.chunks.size(), size_t(expected.size() / 255));
    // A long answer is read in chunks of 255 bytes.
    EXPECT_TRUE(std::any_of(recorder.chunks.begin(), recorder.chunks.end(), [](const auto& c) { return c.buffer().size() == 255; }));
}

// Everything the unit received, as the host logs it ("rx: " and the bytes, escaped).
struct ReceivedLog {
    void attach(rz48::emu::PtyHost& host)
    {
        host.setLog([this](const std::string& line) {
            std::lock_guard lock(mutex);
            text += line + "\n";
        });
    }
    std::string get()
    {
        std::lock_guard lock(mutex);
        return text;
    }
    std::mutex mutex;
    std::string text;
};

TEST_F(LinkTest, TriggerNoteKeepsTheLow8Bits)
{
    ReceivedLog log;
    log.attach(addUnit("tty.usbserial-EMU"));
    ASSERT_EQ(link.openUsbSerial(), 0);
    link.startThread(&recorder);
    link.sendMidiTrigger(300);
    link.sendMidiTrigger(124);
    rz48::emu::PtyHost& unit = *hosts.back();
    ASSERT_TRUE(unit.unit().waitForTriggers(2, 3s));
    EXPECT_EQ(unit.unit().triggers(), (std::vector<uint8_t> {0x2C, 124}));
    // Note on, the note, velocity 0x40 ("@").
    const std::string received = log.get();
    EXPECT_NE(received.find("\\x90,@"), std::string::npos) << received;
    EXPECT_NE(received.find("\\x90|@"), std::string::npos) << received;
}

TEST_F(LinkTest, ProbeIsBCrLfAndTheAnswerMustNameC190)
{
    ReceivedLog log;
    rz48::emu::PtyHost& other = addUnit("tty.usbserial-OTHER");
    other.unit().setProbeAnswer("B RZ-48 C19 another model");
    log.attach(other);
    EXPECT_EQ(link.openUsbSerial(), -1);
    EXPECT_EQ(log.get().rfind("rx: B\\r\\n\n", 0), 0u) << log.get();
    EXPECT_EQ(other.unit().probeCount(), 3);
}

TEST_F(LinkTest, StopThreadTwiceIsHarmless)
{
    rz48::DiagCapture out;
    connect();
    link.stopThread();
    link.stopThread();
    EXPECT_EQ(out.text().find("run() complete"), out.text().rfind("run() complete"));
    EXPECT_NE(out.text().find("run() complete\n"), std::string::npos);
    EXPECT_FALSE(link.isRunning());
    link.sendString(QStringLiteral("A")); // stopped: dropped
    EXPECT_EQ(link.txCount(), 0);
}

// The unit goes away mid-session: the link notices within about a second,
// tells its parent once, and drops (and counts) what was still queued.
TEST_F(LinkTest, HangUpIsNoticedAndTheQueueDropped)
{
    rz48::emu::PtyHost& unit = connect();
    unit.setAnswerDelay(5000ms); // the queue stays full: every command waits out its 300 ms
    for (int i = 0; i < 20; ++i)
        link.sendString(QStringLiteral("A"));
    unit.inject(std::string(600, 'z'));
    unit.hangUp();
    ASSERT_TRUE(waitUntil([&] { return unit.hungUp(); }, 3000));
    ASSERT_TRUE(waitUntil([&] { return recorder.losses > 0; }, 3000));
    EXPECT_TRUE(link.lost());
    EXPECT_GT(link.droppedCommands(), 5);
    EXPECT_EQ(link.txCount(), 0);
    EXPECT_EQ(link.bytesAvailable(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(recorder.losses, 1);
    link.stopThread(); // after a loss, a stop ends nothing twice
    EXPECT_FALSE(link.isRunning());
}

TEST_F(LinkTest, TheQueueIsBounded)
{
    rz48::emu::PtyHost& unit = connect();
    unit.setAnswerDelay(5000ms);
    rz48::DiagCapture out;
    for (int i = 0; i < ComThread::kMaxQueued + 5; ++i)
        link.sendString(QStringLiteral("A"));
    EXPECT_LE(link.txCount(), ComThread::kMaxQueued);
    EXPECT_NE(out.text().find("transmit queue full (10000 messages): a command was refused\n"), std::string::npos);
    link.stopThread();
}

TEST_F(LinkTest, PollingNeedsAnOpenPortAndBaudFollowsTheSettings)
{
    ComThread closed;
    EXPECT_EQ(closed.sendStringPolling(QStringLiteral("B\r\n")), QString());
    EXPECT_EQ(closed.bytesAvailable(), 0);

    addUnit("tty.usbserial-EMU");
    ASSERT_EQ(link.openUsbSerial(), 0);
    EXPECT_EQ(link.getBaud(), 38400);
    EXPECT_TRUE(link.sendStringPolling(QStringLiteral("k\r\n")).startsWith(QStringLiteral("k fc00 3f")));
    link.setBaud(230400);
    EXPECT_EQ(link.getBaud(), 230400);
    link.setBaud(38400);
    EXPECT_EQ(link.getBaud(), 38400);
}

} // namespace
