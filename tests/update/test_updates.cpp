// Both updates from the File menu, end to end against the emulated unit.
#include "common/Diagnostics.h"
#include "emulator/EmulatedUnit.h"
#include "support/PanelFixture.h"
#include "panel/SetupController.h"
#include "update/MicroUpdateThread.h"
#include "update/SRecord.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTest>

#include <random>

using rz48test::PanelTest;
using rz48test::waitUntil;
using Faults = rz48::emu::EmulatedUnit::UpdateFaults;

namespace {

// What reading the unit's setup sends (before every update): "k", then each setup letter.
const std::vector<std::string> kSetupQueries {"k", "A", "C", "E", "G", "H", "J", "M", "Q", "U", "X", "Y", "m", "n", "r", "t"};

std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

QByteArray testLoader()
{
    const std::vector<uint8_t> l = rz48::emu::EmulatedUnit::testLoader();
    return QByteArray(reinterpret_cast<const char*>(l.data()), qsizetype(l.size()));
}

class UpdateTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        std::array<uint8_t, rz48::emu::EmulatedUnit::kSettingsSize> area {};
        for (size_t i = 0; i < area.size(); ++i)
            area[i] = uint8_t(0x40 + i);
        host.unit().setSettingsArea(area);
        std::string error;
        ASSERT_TRUE(host.start(dir.path().toStdString(), "tty.usbserial-EMU", &error)) << error;
        LinkOptions options = noUnit();
        options.simulated = true;
        options.simulatedLoader = testLoader();
        view->awakeFromNib(options);
        ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 10000));
        label = view->findChild<QLabel*>(QStringLiteral("labelUpdate"));
        QObject::connect(view->updates(), &UpdateController::progressShown, view,
                         [this](const QString& message, int percent) { progress << QStringLiteral("%1|%2").arg(message).arg(percent); });
    }

    // The unit's commands since `before`.
    std::vector<std::string> sentSince(size_t before)
    {
        const auto all = host.unit().commands();
        return {all.begin() + long(std::min(before, all.size())), all.end()};
    }

    QString writeFile(const char* name, const QByteArray& bytes)
    {
        QFile f(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return f.fileName();
    }

    QString s19(std::vector<uint8_t>& expected)
    {
        std::mt19937 rng(5);
        QByteArray text = "S0030000FC\n";
        expected.assign(65536, 0xFF);
        auto add = [&](uint32_t address, int length) {
            std::vector<uint8_t> data(static_cast<size_t>(length));
            for (uint8_t& b : data)
                b = uint8_t(rng() % 255);
            SRecord r;
            r.encode(data.data(), 1, address, uint32_t(length));
            text += r.sRec().toLatin1() + "\r\n";
            std::copy(data.begin(), data.end(), expected.begin() + address);
        };
        const uint8_t low[16] = {1, 2, 3};
        SRecord below; // line 2: loaded, never sent
        below.encode(low, 1, 0x7000, 16);
        text += below.sRec().toLatin1() + "\n";
        for (uint32_t a = 0x8000; a < 0x8400; a += 32)
            add(a, 32);
        add(0xFC30, 16); // partly under the settings block
        add(0xFFF0, 16);
        text += "S9030000FC\n";
        return writeFile("program.s19", text);
    }

    bool finishedWith(const QString& message, int ms = 30000)
    {
        return waitUntil([&] { return label->text() == message && !view->updates()->microUpdateThread()->isRunning(); }, ms);
    }

    // The link runs again at 38400, the unit is asked for its state again
    // (the start-up queries), and a command round-trips.
    void expectLinkBack()
    {
        EXPECT_TRUE(view->link()->isRunning());
        EXPECT_EQ(view->link()->getBaud(), 38400);
        waitUntil([] { return false; }, 1800); // the queries go out once the unit has left its update mode
        EXPECT_TRUE(waitUntil([&] { return view->link()->txCount() == 0; }, 15000));
        waitUntil([] { return false; }, 400); // the last answer comes in
        host.unit().powerCycle();
        auto* bypass = find<QCheckBox>("checkBoxBypass");
        const bool on = !bypass->isChecked();
        expectSends([&] { bypass->click(); }, on ? "Q 1" : "Q 0");
    }

    QLabel* label = nullptr;
    QStringList progress; // "message|percent", in order
};

TEST_F(UpdateTest, MicrocontrollerKeepsTheUnitsSettings)
{
    rz48::DiagCapture out;
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    const size_t before = host.unit().commands().size();
    view->updates()->menuFileUpdateMicro();
    EXPECT_TRUE(view->updates()->isUpdating());
    // The setup commands wait for the update's end: no empty setup is saved.
    panels.nextSave = dir.filePath(QStringLiteral("during.rz48setup"));
    view->setups()->menuSaveSetup();
    view->setups()->menuCompareSetup();
    EXPECT_EQ(alerts.messages, QStringList(2, QStringLiteral("An update is running: the unit's setup can be saved, loaded or compared once it has ended.")));
    EXPECT_FALSE(QFile::exists(panels.nextSave));
    ASSERT_TRUE(finishedWith(QStringLiteral("success!"))) << label->text().toStdString();
    // The unit's setup is read and saved first; then the settings block.
    std::vector<std::string> sent = sentSince(before);
    sent.resize(kSetupQueries.size() + 7);
    EXPECT_EQ(sent, (kSetupQueries + std::vector<std::string> {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1", "L"}));
    const QStringList saved = QDir(SetupController::updateSetupDirectory()).entryList({QStringLiteral("before-update-*.rz48setup")});
    ASSERT_EQ(saved.size(), 1);
    QFile setup(QDir(SetupController::updateSetupDirectory()).filePath(saved.first()));
    ASSERT_TRUE(setup.open(QIODevice::ReadOnly));
    const QByteArray setupText = setup.readAll();
    EXPECT_TRUE(setupText.contains("\nC 0 28 0 64 0 ff ff 0\n# Punch: ")) << setupText.toStdString();
    EXPECT_TRUE(setupText.contains("\nE 0 70 77 87 5 64 3 1\n")) << setupText.toStdString();
    // 69 records and the terminator: 64 from 0x8000, fc00 to fc30 with the unit's settings, fff0.
    for (const char* step : {"loading S Record file...|0", "initializing update, stand by...|0", "micro preload 0 percent|0",
                             "micro preload 50 percent|50", "micro preload 99 percent|99", "micro download 50 percent|50",
                             "micro download 98 percent|98", "success!|0"})
        EXPECT_TRUE(progress.contains(QLatin1String(step))) << step;
    EXPECT_FALSE(progress.contains(QStringLiteral("micro download 100 percent|100")));
    // The flash holds the file's image, with fc00 to fc3e from the unit (size 3f).
    for (int i = 0; i < 0x3f; ++i)
        expected[size_t(0xFC00 + i)] = uint8_t(0x40 + i);
    EXPECT_TRUE(host.unit().flash() == expected);
    EXPECT_NE(out.text().find("sent 'L' command\nL response bytes: 4 chars: \nRIM>\nsending RIM record\n"), std::string::npos);
    EXPECT_EQ(view->tabView()->currentIndex(), 2);
    // The unit's state is read anew once the link is back: the start-up
    // queries, "t" last; the end alert names the version it reports.
    EXPECT_TRUE(waitUntil([&] { return host.unit().commands().back() == "t"; }, 15000));
    ASSERT_TRUE(waitUntil([&] { return !alerts.messages.isEmpty(); }, 5000));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The microcontroller update is complete."));
    EXPECT_EQ(alerts.kinds.last(), rz48::AlertKind::Information);
    EXPECT_TRUE(alerts.details.last().contains(QStringLiteral("written back with the program")));
    EXPECT_TRUE(alerts.details.last().startsWith(QStringLiteral("The unit reports firmware 3.32.6.")));
    EXPECT_TRUE(alerts.details.last().contains(QStringLiteral("records fc00, fc10, fc20, fc30, 63 bytes"))) << alerts.details.last().toStdString();
    EXPECT_TRUE(alerts.details.last().contains(QStringLiteral("The unit's setup before the update is saved in %1.").arg(setup.fileName())));
    EXPECT_TRUE(alerts.details.last().endsWith(QStringLiteral("Line 2: S1 data at 0x7000 to 0x700F lies below 0x8000 and is not sent")));
    // The Update tab keeps the last message.
    for (int tick = 0; tick < 60; ++tick)
        view->updates()->timer_service();
    EXPECT_FALSE(label->isHidden());
    EXPECT_FALSE(view->updates()->isUpdating());
    expectLinkBack();
}

TEST_F(UpdateTest, MicrocontrollerFailuresSayWhatHappened)
{
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    const std::pair<Faults, const char*> cases[] = {
        {Faults {.loaderShortAnswer = true}, "preload failed to start"},
        {Faults {.dropEchoAt = 5}, "preload failed"},
        {Faults {.noEraseAck = true}, "FLASH erase failed, FLASH corrupted!"},
        {Faults {.nakRecord = 1}, "update failed, FLASH corrupted!"},
    };
    for (const auto& [faults, message] : cases) {
        rz48::DiagCapture out;
        host.unit().setUpdateFaults(faults);
        label->clear();
        view->updates()->menuFileUpdateMicro();
        ASSERT_TRUE(finishedWith(QLatin1String(message))) << message << " / " << label->text().toStdString();
        ASSERT_FALSE(alerts.messages.isEmpty());
        EXPECT_EQ(alerts.messages.last(), QStringLiteral("The microcontroller update failed: %1").arg(QLatin1String(message)));
        // Before the erase the program was not touched; after it, it is incomplete.
        EXPECT_EQ(alerts.details.last().contains(QStringLiteral("not touched")), !QByteArray(message).contains("FLASH"));
        // No program was written, so no settings were written back with it.
        EXPECT_FALSE(alerts.details.last().contains(QStringLiteral("written back"))) << alerts.details.last().toStdString();
        EXPECT_EQ(alerts.kinds.last(), rz48::AlertKind::Error);
        if (faults.dropEchoAt == 5) {
            EXPECT_NE(out.text().find("preload failed at addr 5 of 772, res = 0\n"), std::string::npos);
        }
        expectLinkBack();
    }
}

TEST_F(UpdateTest, OneUpdateAtATimeAndNoQuitWithoutAsking)
{
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    host.unit().setUpdateFaults(Faults {.loaderSilent = true});
    view->updates()->menuFileUpdateMicro();
    ASSERT_TRUE(waitUntil([&] { return view->updates()->microUpdateThread()->isRunning(); }, 5000));
    QTest::qWait(300); // no answer to "L": the wait goes on

    // Neither update starts while one runs, and the port keeps its speed.
    const size_t before = host.unit().commands().size();
    panels.nextOpen = writeFile("fpga.mcs", ":00000001FF\n");
    view->updates()->menuFileUpdateFirmware();
    view->updates()->menuFileUpdateMicro();
    ASSERT_EQ(alerts.messages.size(), 2);
    EXPECT_EQ(alerts.messages[0], QStringLiteral("An update is already running."));
    EXPECT_EQ(alerts.messages[1], QStringLiteral("An update is already running."));
    EXPECT_EQ(host.portSpeed(), 38400);

    // Closing asks; declining (or dismissing the question) stops nothing.
    for (int answer : {-1, 0}) {
        alerts.choice = answer;
        EXPECT_FALSE(view->mayClose());
        EXPECT_EQ(alerts.questions.last(), QStringLiteral("An update is running. Quit anyway?"));
        EXPECT_EQ(alerts.choices, (QStringList {QStringLiteral("Keep updating"), QStringLiteral("Quit anyway")}));
        EXPECT_EQ(alerts.defaults.last(), 0); // the safe one
    }
    EXPECT_EQ(alerts.questions.size(), 2);
    QTest::qWait(100);
    EXPECT_TRUE(view->updates()->microUpdateThread()->isRunning());
    EXPECT_EQ(host.unit().commands().size(), before);
    alerts.choice = 1;
    EXPECT_TRUE(view->mayClose());
    view->updates()->microUpdateThread()->stopThread();
    ASSERT_TRUE(finishedWith(QStringLiteral("operation aborted, cycle power and try again")));
    expectLinkBack();
}

TEST_F(UpdateTest, NoUpdateWithoutARealLoader)
{
    // A panel on a real port: the test loader is refused, and so is a missing
    // or wrong-sized image, before anything is sent.
    window->close();
    window = std::make_unique<QMainWindow>();
    view = new rz48View;
    window->setCentralWidget(view);
    LinkOptions options = noUnit();
    options.loaderPath = writeFile("test-loader.bin", testLoader());
    view->awakeFromNib(options);
    ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 10000));
    const size_t before = host.unit().commands().size();
    view->updates()->menuFileUpdateMicro();
    ASSERT_EQ(alerts.messages.size(), 1);
    EXPECT_TRUE(alerts.messages[0].contains(QStringLiteral("test loader")));
    for (const QByteArray& image : {QByteArray(771, 'x'), QByteArray()}) {
        options.loaderPath = image.isEmpty() ? dir.filePath(QStringLiteral("missing.bin")) : writeFile("short.bin", image);
        window->close();
        window = std::make_unique<QMainWindow>();
        view = new rz48View;
        window->setCentralWidget(view);
        view->awakeFromNib(options);
        ASSERT_TRUE(waitUntil([&] { return view->linesProcessed() >= 17; }, 10000));
        const size_t start = host.unit().commands().size();
        view->updates()->menuFileUpdateMicro();
        EXPECT_TRUE(alerts.messages.last().contains(QStringLiteral("loader image")));
        QTest::qWait(50);
        EXPECT_EQ(host.unit().commands().size(), start);
    }
    EXPECT_GT(before, 0u);
}

TEST_F(UpdateTest, BadFilesAreRefusedBeforeAnythingIsSent)
{
    const struct {
        const char* name;
        QByteArray text;
        const char* why;
    } files[] = {
        {"empty.s19", "", "Line 1: no S-records: the file is empty or not a microcontroller program"},
        {"notes.s19", "hello\n", "Line 1: not an S-record (a record begins with \"S\")"},
        {"s2-only.s19", "S0030000FC\nS206008000010276\nS9030000FC\n",
         "Line 4: no S1 record with data in 0x8000 to 0xFFFF, the part of the program that is sent"},
        {"low.s19", "S1047FF0AAE2\r\nS9030000FC\r\n", "Line 3: no S1 record with data in 0x8000 to 0xFFFF, the part of the program that is sent"},
        {"checksum.s19", "S0030000FC\nS1058000010278\nS9030000FC\n", "Line 2: bad checksum 0x78 (the record's bytes give 0x77)"},
        {"short.s19", "S0030000FC\nS10580000102\nS9030000FC\n", "Line 2: shorter than its count says (5 bytes after the count, 4 present)"},
        {"overlap.s19", "S1058000010277\n\nS1058001030472\nS9030000FC\n", "Line 3: writes 0x8001 to 0x8002 again (line 1 wrote there)"},
        {"long.mcs", ":" + QByteArray(1100, '0') + "\n:00000001FF\n", "Line 1: 1101 characters; a line may have at most 1021 (lines end with LF or CR LF)"},
        {"cr-only.mcs", ":020000040000FA\r:00000001FF\r", "Line 1: a CR inside the line at column 16 (lines must end with LF)"},
        {"cut.mcs", ":020000040000FA\n:0400000001020304F2\n", "Line 3: no end-of-file record (:00000001FF): the file is cut short"},
    };
    const size_t before = host.unit().commands().size();
    for (const auto& file : files) {
        panels.nextOpen = writeFile(file.name, file.text);
        if (QByteArray(file.name).endsWith(".s19"))
            view->updates()->menuFileUpdateMicro();
        else
            view->updates()->menuFileUpdateFirmware();
        ASSERT_FALSE(alerts.messages.isEmpty()) << file.name;
        EXPECT_EQ(alerts.messages.last(), QStringLiteral("%1 was refused: nothing was sent to the unit.").arg(QLatin1String(file.name)));
        EXPECT_EQ(alerts.details.last(), QLatin1String(file.why)) << file.name;
        EXPECT_FALSE(view->updates()->isUpdating());
    }
    // A cancelled file prompt sends nothing either.
    panels.nextOpen.clear();
    view->updates()->menuFileUpdateMicro();
    view->updates()->menuFileUpdateFirmware();
    QTest::qWait(150);
    EXPECT_EQ(sentSince(before), std::vector<std::string> {});
    EXPECT_EQ(alerts.messages.size(), std::size(files));
}

TEST_F(UpdateTest, MicrocontrollerAsksWhenASettingsRecordIsMissing)
{
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    host.unit().setUpdateFaults(Faults {.silentSettingsAt = 0xFC20});
    // Cancelled: nothing is erased, and nothing more is sent.
    alerts.choice = 0;
    const size_t before = host.unit().commands().size();
    view->updates()->menuFileUpdateMicro();
    ASSERT_TRUE(waitUntil([&] { return !view->updates()->isUpdating(); }, 5000));
    ASSERT_EQ(alerts.questions.size(), 1);
    EXPECT_TRUE(alerts.questions[0].contains(QStringLiteral("no answer for fc20)"))) << alerts.questions[0].toStdString();
    EXPECT_EQ(alerts.choices.value(1), QStringLiteral("Update without keeping the settings"));
    EXPECT_EQ(label->text(), QStringLiteral("update cancelled: nothing was erased"));
    QTest::qWait(100);
    EXPECT_EQ(sentSince(before), (kSetupQueries + std::vector<std::string> {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1"}));

    // Going on: the program is written without the unit's settings, and the end alert says so.
    alerts.choice = 1;
    view->updates()->menuFileUpdateMicro();
    ASSERT_TRUE(finishedWith(QStringLiteral("success!"))) << label->text().toStdString();
    EXPECT_TRUE(host.unit().flash() == expected); // fc00 to fc2f as the file has them (blank)
    ASSERT_TRUE(waitUntil([&] { return !alerts.messages.isEmpty(); }, 15000));
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The microcontroller update is complete."));
    EXPECT_TRUE(alerts.details.last().contains(QStringLiteral("settings were not kept (no answer for fc20)")));
}

TEST_F(UpdateTest, FpgaLinesRelayedInBatches)
{
    // Thirty data records of 16 bytes (0x00 to 0x0F, 0x78 in all), 43
    // characters each, at 0x0000, 0x0010, ...
    QByteArray mcs;
    QByteArray expected;
    for (int i = 0; i < 30; ++i) {
        const int address = i * 16;
        const int sum = 0x10 + (address >> 8) + (address & 0xFF) + 0x78;
        const QByteArray line = ":10" + QByteArray::number(address, 16).toUpper().rightJustified(4, '0') + "00"
            + "000102030405060708090A0B0C0D0E0F" + QByteArray::number((0x100 - sum) & 0xFF, 16).toUpper().rightJustified(2, '0');
        ASSERT_EQ(line.size(), 43);
        mcs += line + "\r\n";
        expected += line;
    }
    mcs += ":00000001FF\r\n";
    expected += ":00000001FF";
    panels.nextOpen = writeFile("fpga.mcs", mcs);
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("success!"); }, 30000)) << label->text().toStdString();
    // Only at 230400 bit/s does the unit take the download.
    EXPECT_EQ(QByteArray::fromStdString(host.unit().downloadText()), expected);
    EXPECT_EQ(host.unit().downloadBatches(), 2); // 23 lines, then 7, the end record and the empty one after the last LF
    EXPECT_EQ(sentSince(0).back(), "d 1");
    // 23 of 32 lines after the first batch.
    for (const char* step : {"erasing flash|0", "firmware update: 71.9 percent|71", "firmware update: 100.0 percent|100", "success!|0"})
        EXPECT_TRUE(progress.contains(QLatin1String(step))) << step;
    ASSERT_TRUE(waitUntil([&] { return host.unit().mode() == rz48::emu::EmulatedUnit::Mode::Normal; }, 3000));
    expectLinkBack();
}

TEST_F(UpdateTest, FpgaFailures)
{
    rz48::DiagCapture out;
    host.unit().setUpdateFaults(Faults {.corruptEchoBatch = 0});
    panels.nextOpen = writeFile("one.mcs", ":020000040000FA\r\n:00000001FF\r\n");
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("echo failed, try again"); }, 30000));
    EXPECT_NE(out.text().find("tx len: 27 rx len: 28\n\ntxd:\n:020000040000FA:00000001FF\r\n\nrxd:\nX"), std::string::npos) << out.text();
    ASSERT_FALSE(alerts.messages.isEmpty());
    EXPECT_EQ(alerts.messages.last(), QStringLiteral("The FPGA update failed: echo failed, try again"));
    ASSERT_TRUE(waitUntil([&] { return host.unit().mode() == rz48::emu::EmulatedUnit::Mode::Normal; }, 3000));

    host.unit().setUpdateFaults(Faults {.noReady = true});
    label->clear();
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("flash erase failed, try again"); }, 30000));
    expectLinkBack();
}

} // namespace
