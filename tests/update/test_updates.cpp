// Both updates from the File menu, end to end against the emulated unit.
#include "common/Diagnostics.h"
#include "emulator/EmulatedUnit.h"
#include "support/PanelFixture.h"
#include "update/MicroUpdateThread.h"
#include "update/SRecord.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QTest>

#include <random>

using rz48test::PanelTest;
using rz48test::waitUntil;
using Faults = emu::EmulatedUnit::UpdateFaults;

namespace {

QByteArray testLoader()
{
    const std::vector<uint8_t> l = emu::EmulatedUnit::testLoader();
    return QByteArray(reinterpret_cast<const char*>(l.data()), qsizetype(l.size()));
}

class UpdateTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        std::array<uint8_t, emu::EmulatedUnit::kSettingsSize> area {};
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
        // The file is chosen once the requests have gone out and been answered.
        panels.beforeAnswer = [this] {
            waitUntil([&] { return view->comThread()->txCount() == 0 && view->updates()->stateBuffer()[0x3f] == 0x7f; }, 5000);
        };
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
        EXPECT_TRUE(view->comThread()->isRunning());
        EXPECT_EQ(view->comThread()->getBaud(), 38400);
        waitUntil([] { return false; }, 1800); // the queries go out once the unit has left its update mode
        EXPECT_TRUE(waitUntil([&] { return view->comThread()->txCount() == 0; }, 15000));
        waitUntil([] { return false; }, 400); // the last answer comes in
        host.unit().powerCycle();
        auto* bypass = find<QCheckBox>("checkBoxBypass");
        const bool on = !bypass->isChecked();
        expectSends([&] { bypass->click(); }, on ? "Q 1" : "Q 0");
    }

    QLabel* label = nullptr;
};

TEST_F(UpdateTest, MicrocontrollerKeepsTheUnitsSettings)
{
    rz48::DiagCapture out;
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    const size_t before = host.unit().commands().size();
    view->updates()->menuFileUpdateMicro();
    ASSERT_TRUE(finishedWith(QStringLiteral("success!"))) << label->text().toStdString();
    const auto all = host.unit().commands();
    const std::vector<std::string> sent(all.begin() + long(before), all.begin() + long(before) + 7);
    EXPECT_EQ(sent, (std::vector<std::string> {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1", "L"}));
    // The flash holds the file's image, with fc00 to fc3e from the unit (size 3f).
    for (int i = 0; i < 0x3f; ++i)
        expected[size_t(0xFC00 + i)] = uint8_t(0x40 + i);
    EXPECT_TRUE(host.unit().flash() == expected);
    EXPECT_NE(out.text().find("sent 'L' command\nL response bytes: 4 chars: \nRIM>\nsending RIM record\n"), std::string::npos);
    EXPECT_EQ(view->tabView()->currentIndex(), 2);
    // The unit's state is read anew once the link is back: the start-up queries, "t" last.
    EXPECT_TRUE(waitUntil([&] { return host.unit().commands().back() == "t"; }, 15000));
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
        if (faults.dropEchoAt == 5) {
            EXPECT_NE(out.text().find("preload failed at addr 5 of 772, res = 0\n"), std::string::npos);
        }
        expectLinkBack();
    }
}

TEST_F(UpdateTest, StoppedWhileTheLoaderIsSilent)
{
    std::vector<uint8_t> expected;
    panels.nextOpen = s19(expected);
    host.unit().setUpdateFaults(Faults {.loaderSilent = true});
    view->updates()->menuFileUpdateMicro();
    QTest::qWait(400); // no answer to "L": the wait goes on
    EXPECT_TRUE(view->updates()->microUpdateThread()->isRunning());
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

TEST_F(UpdateTest, FpgaLinesRelayedInBatches)
{
    QByteArray mcs;
    QByteArray expected;
    for (int i = 0; i < 30; ++i) {
        const QByteArray line = QByteArray(":10") + QByteArray::number(i).rightJustified(4, '0') + QByteArray(36, 'A');
        ASSERT_EQ(line.size(), 43);
        mcs += line + "\r\n";
        expected += line;
    }
    panels.nextOpen = writeFile("fpga.mcs", mcs);
    panels.beforeAnswer = [this] { waitUntil([&] { return view->comThread()->txCount() == 0; }, 5000); };
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("success!"); }, 30000)) << label->text().toStdString();
    EXPECT_EQ(QByteArray::fromStdString(host.unit().downloadText()), expected);
    EXPECT_EQ(host.unit().downloadBatches(), 2); // 23 lines, then 7 and the empty one after the last LF
    ASSERT_TRUE(waitUntil([&] { return host.unit().mode() == emu::EmulatedUnit::Mode::Normal; }, 3000));
    expectLinkBack();
}

TEST_F(UpdateTest, FpgaFailures)
{
    panels.beforeAnswer = [this] { waitUntil([&] { return view->comThread()->txCount() == 0; }, 5000); };
    panels.nextOpen = writeFile("empty.mcs", QByteArray());
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("success!"); }, 30000));
    ASSERT_TRUE(waitUntil([&] { return host.unit().mode() == emu::EmulatedUnit::Mode::Normal; }, 3000));

    rz48::DiagCapture out;
    host.unit().setUpdateFaults(Faults {.corruptEchoBatch = 1});
    panels.nextOpen = writeFile("one.mcs", ":020000040000FA\r\n");
    label->clear();
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("echo failed, try again"); }, 30000));
    EXPECT_NE(out.text().find("tx len: 16 rx len: 17\n\ntxd:\n:020000040000FA\r\n\nrxd:\nX"), std::string::npos) << out.text();
    ASSERT_TRUE(waitUntil([&] { return host.unit().mode() == emu::EmulatedUnit::Mode::Normal; }, 3000));

    host.unit().setUpdateFaults(Faults {.noReady = true});
    label->clear();
    view->updates()->menuFileUpdateFirmware();
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("flash erase failed, try again"); }, 30000));
    expectLinkBack();
}

} // namespace
