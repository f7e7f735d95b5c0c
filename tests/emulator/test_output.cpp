// The emulated unit's video output: frames against the output model, the
// transport's arithmetic and the MIDI Time Code reader.
#include "emulator/EmulatedUnit.h"
#include "emulator/MtcDecoder.h"
#include "emulator/OutputRenderer.h"
#include "emulator/Transport.h"
#include "emulator/UnitTimecode.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr QRgb kBlack = 0xFF000000, kWhite = 0xFFFFFFFF, kCyan = 0xFF00FFFF, kRed = 0xFFFF0000;
constexpr int kRow = 700; // below the punch, the timecode window and the text

// A unit with a 40-pixel streamer of 2 s (cyan: streamer 0's code 2), a white
// end bar, punch 0 red at the picture's centre (radius 64) for 5 frames, three
// times a second apart, the punch at a streamer's end, the timecode window
// at (768, 32) in 24 pixels, red on blue, and one cue at 01:00:10:00.
struct Output {
    Output()
    {
        for (const char* line : {"C 1a 28 0 64 0 ff ff 0", "E 5 70 77 87 5 64 3 1", "A 4", "U 0 0 6 104 240 1",
                                 "m 129 96 8 101", "h 0", "f 01:00:10:00 "})
            unit.receive(std::string(line) + "\r\n", rz48::emu::Clock::now());
    }
    QImage at(const char* label, int type = 1, int64_t wallTicks = 0)
    {
        int64_t frame = 0;
        EXPECT_TRUE(rz48::emu::parseLabel(label, type, &frame)) << label;
        return renderer.render(rz48::emu::composeFrame(unit.outputState(), type, frame, wallTicks));
    }
    rz48::emu::EmulatedUnit unit;
    rz48::emu::OutputRenderer renderer;
};

// The first column of the row in that colour, or -1.
int firstColumn(const QImage& image, QRgb color, int row = kRow)
{
    for (int x = 0; x < image.width(); ++x)
        if (image.pixel(x, row) == color)
            return x;
    return -1;
}

TEST(UnitOutput, StreamerWipesToTheEndBarAndEndsOnItsCue)
{
    Output o;
    // 01:00:10:00 at 25 fps; two seconds before it the run starts, 50 frames long.
    const QImage before = o.at("01:00:07:24");
    EXPECT_EQ(firstColumn(before, kCyan), -1);
    EXPECT_EQ(before.pixel(1740, kRow), kBlack) << "no end bar while no streamer runs";

    const QImage start = o.at("01:00:08:00");
    EXPECT_EQ(firstColumn(start, kCyan), 0);
    EXPECT_EQ(start.pixel(39, kRow), kCyan);
    EXPECT_EQ(start.pixel(40, kRow), kBlack);
    EXPECT_EQ(start.pixel(1728, kRow), kWhite);
    EXPECT_EQ(start.pixel(1767, kRow), kWhite);
    EXPECT_EQ(start.pixel(1768, kRow), kBlack);
    EXPECT_EQ(start.pixel(1740, 0), kWhite) << "top 255 is the picture's top";
    EXPECT_EQ(start.pixel(1740, 1079), kWhite);

    // Halfway: (1728 - 40) x 25 / 50 = 844.
    EXPECT_EQ(firstColumn(o.at("01:00:09:00"), kCyan), 844);
    // The last frame of the run: 1688 x 49 / 50 = 1654, one frame's movement (34) from the end bar.
    const QImage last = o.at("01:00:09:24");
    EXPECT_EQ(firstColumn(last, kCyan), 1654);
    EXPECT_EQ(last.pixel(1693, kRow), kCyan);
    EXPECT_EQ(last.pixel(960, 540), kBlack) << "no punch before the cue";

    // On the cue: the streamer and the end bar are gone, the punch flashes.
    const QImage cue = o.at("01:00:10:00");
    EXPECT_EQ(firstColumn(cue, kCyan), -1);
    EXPECT_EQ(cue.pixel(1740, kRow), kBlack);
    EXPECT_EQ(cue.pixel(960, 540), kRed);
    EXPECT_EQ(cue.pixel(960, 540 - 60), kRed);
    EXPECT_EQ(cue.pixel(960, 540 - 70), kBlack) << "radius 8640 / 0x87 = 64";
    // Lit for 5 frames, again a second later, three flashes in all.
    EXPECT_EQ(o.at("01:00:10:04").pixel(960, 540), kRed);
    EXPECT_EQ(o.at("01:00:10:05").pixel(960, 540), kBlack);
    EXPECT_EQ(o.at("01:00:11:00").pixel(960, 540), kRed);
    EXPECT_EQ(o.at("01:00:12:04").pixel(960, 540), kRed);
    EXPECT_EQ(o.at("01:00:13:00").pixel(960, 540), kBlack);

    // A new transfer replaces the list; an "f" line outside a transfer is not a cue.
    rz48::emu::EmulatedUnit fresh;
    fresh.receive("f 01:00:10:00 \r\n", rz48::emu::Clock::now());
    EXPECT_TRUE(fresh.outputState().cueIns.empty());
    o.unit.receive("h 0\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(firstColumn(o.at("01:00:09:00"), kCyan), -1);
}

TEST(UnitOutput, PunchFollowsTheEnablesAndItsReverseFlag)
{
    Output o;
    o.unit.receive("A 0\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(o.at("01:00:10:00").pixel(960, 540), kBlack) << "no punch at a streamer's end without A bit 2";
    o.unit.receive("A 4\r\nE 1005 70 77 87 5 64 3 1\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(o.at("01:00:10:00").pixel(960, 540), kCyan) << "reversed red is cyan";
    o.unit.receive("E 5 70 77 87 5 64 3 0\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(o.at("01:00:10:00").pixel(960, 540), kBlack) << "punch disabled";
}

TEST(UnitOutput, TriggersRunOnTheWallClock)
{
    Output o;
    const auto now = rz48::emu::Clock::now();
    o.unit.receive(std::string("\x90\x7f\x40", 3), now); // streamer 3: code 0, white
    const int64_t t0 = rz48::emu::ticksOfClock(now);
    // A second into a two-second run, whatever the timecode.
    const QImage half = o.at("00:00:00:00", 1, t0 + rz48::emu::kTicksPerSecond);
    EXPECT_EQ(firstColumn(half, kWhite), 844);
    EXPECT_EQ(half.pixel(843, kRow), kBlack);
    EXPECT_EQ(firstColumn(o.at("00:00:00:00", 1, t0 + 2 * rz48::emu::kTicksPerSecond - 1), kWhite), 1687);
    EXPECT_EQ(firstColumn(o.at("00:00:00:00", 1, t0 + 2 * rz48::emu::kTicksPerSecond), kWhite), -1) << "over, end bar and all";

    // A bar wider than the way to the end bar starts left of the picture,
    // its edge rounded down: (1728 - 1920) x 1 / 60000 is -1, not 0.
    EXPECT_EQ(rz48::emu::streamerLeft(1920, 100, 1), -1);
    EXPECT_EQ(rz48::emu::streamerLeft(1920, 100, rz48::emu::kTicksPerSecond), -96);

    // The accumulating streamer leaves its bar drawn where it passed.
    o.unit.receive(std::string("\x90\x77\x40", 3), now);
    const QImage accumulated = o.at("00:00:00:00", 1, t0 + rz48::emu::kTicksPerSecond);
    EXPECT_EQ(firstColumn(accumulated, kCyan), 0);
    EXPECT_EQ(accumulated.pixel(843, kRow), kCyan);
}

TEST(UnitOutput, TimecodeWindowRunsWithTheTransportAndColoursFollowTheSettings)
{
    Output o;
    const QRect box(768, 32, 140, 28);
    const QImage a = o.at("01:00:00:00"), b = o.at("01:00:00:01"), again = o.at("01:00:00:00");
    EXPECT_NE(a.copy(box), b.copy(box));
    EXPECT_EQ(a.copy(box), again.copy(box));
    EXPECT_EQ(a.pixel(768, 32), 0xFF0000FFu) << "pair 101: red (5) on blue (6)";
    EXPECT_EQ(a.pixel(767, 32), kBlack);
    EXPECT_NE(firstColumn(a, kRed, 32 + 14), -1) << "red digits";
    o.unit.receive("m 1 96 8 101\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(o.at("01:00:00:01").copy(box), o.at("01:00:00:00").copy(box)) << "hidden: bit 7 clear";
    o.unit.receive("G 1\r\n", rz48::emu::Clock::now());
    EXPECT_EQ(o.at("01:00:00:00").pixel(10, 10), qRgb(191, 191, 191)) << "colour bars";
    EXPECT_EQ(o.at("01:00:00:00").pixel(1910, 10), qRgb(0, 0, 191));
    // The annunciator's Record colours come from "t" (text 2 cyan on box 5 red: 0x52).
    o.unit.receive("G 0\r\nU 2 0 6 10 20 2\r\n", rz48::emu::Clock::now());
    const QImage record = o.at("01:00:00:00");
    EXPECT_EQ(record.pixel(81, 81), kRed);
    EXPECT_EQ(record.pixel(79, 81), kBlack);
    EXPECT_NE(firstColumn(record, kCyan, 81 + 24), -1);
}

TEST(UnitTimecode, LabelsAndFramesForEveryType)
{
    EXPECT_EQ(rz48::emu::frameOfLabel(1, 0, 0, 0, 0), 86400);
    EXPECT_EQ(rz48::emu::frameOfLabel(1, 0, 0, 0, 1), 90000);
    EXPECT_EQ(rz48::emu::frameOfLabel(1, 0, 0, 0, 3), 108000);
    EXPECT_EQ(rz48::emu::frameOfLabel(1, 0, 0, 0, 2), 107892);
    EXPECT_EQ(rz48::emu::labelOfFrame(86399, 0), "00:59:59:23");
    EXPECT_EQ(rz48::emu::labelOfFrame(89999, 1), "00:59:59:24");
    EXPECT_EQ(rz48::emu::labelOfFrame(107999, 3), "00:59:59:29");
    // Drop-frame: ;00 and ;01 skipped at every minute but the tenth.
    EXPECT_EQ(rz48::emu::labelOfFrame(1799, 2), "00:00:59;29");
    EXPECT_EQ(rz48::emu::labelOfFrame(1800, 2), "00:01:00;02");
    EXPECT_EQ(rz48::emu::labelOfFrame(17981, 2), "00:09:59;29");
    EXPECT_EQ(rz48::emu::labelOfFrame(17982, 2), "00:10:00;00");
    EXPECT_EQ(rz48::emu::labelOfFrame(17984, 2), "00:10:00;02");
    EXPECT_EQ(rz48::emu::labelOfFrame(19782, 2), "00:11:00;02");
    EXPECT_EQ(rz48::emu::labelOfFrame(rz48::emu::framesPerDay(2) - 1, 2), "23:59:59;29");
    EXPECT_EQ(rz48::emu::labelOfFrame(rz48::emu::framesPerDay(1), 1), "00:00:00:00");
    int64_t frame = 0;
    EXPECT_FALSE(rz48::emu::parseLabel("00:01:00;00", 2, &frame));
    EXPECT_TRUE(rz48::emu::parseLabel("00:10:00;01", 2, &frame));
    EXPECT_EQ(frame, 17983);
    EXPECT_FALSE(rz48::emu::parseLabel("00:00:00:25", 1, &frame));
    EXPECT_FALSE(rz48::emu::parseLabel("24:00:00:00", 1, &frame));
    EXPECT_FALSE(rz48::emu::parseLabel("1:00:00:00", 1, &frame));
}

TEST(Transport, FramesComeAtTheirTimesWithoutDrift)
{
    const auto t0 = rz48::emu::Transport::Clock::time_point(1h);
    rz48::emu::Transport t(2);
    t.locate(rz48::emu::frameOfLabel(1, 0, 0, 0, 2), t0);
    EXPECT_EQ(t.frameAt(t0 + 10s), 107892) << "stopped: the frame stays";
    t.play(t0);
    // Ten drop-frame minutes are 17982 frames of 1001/30000 s: 599.9994 s.
    EXPECT_EQ(t.dueOf(17982), t0 + 599999400us);
    EXPECT_EQ(rz48::emu::labelOfFrame(t.frameAt(t0 + 599999400us), 2), "01:10:00;00");
    EXPECT_EQ(rz48::emu::labelOfFrame(t.frameAt(t0 + 599999400us - 1ns), 2), "01:09:59;29");
    EXPECT_EQ(t.indexAt(t0 + 33366666ns), 1) << "due at 1001/30 ms, rounded down to the nanosecond";
    EXPECT_EQ(t.indexAt(t0 + 33366665ns), 0);
    for (int type : {0, 1, 3}) {
        rz48::emu::Transport other(type);
        other.play(t0);
        const int rate = rz48::emu::frameRateOf(type).nominal;
        EXPECT_EQ(other.frameAt(t0 + 600s), 600 * rate) << type;
        EXPECT_EQ(other.frameAt(t0 + 600s - 1ns), 600 * rate - 1) << type;
    }
    t.stop(t0 + 2s);
    EXPECT_EQ(t.frameAt(t0 + 5s), 107892 + 59) << "2 s at 29.97 is 59.94 frames";
}

TEST(Transport, LoopsAndTypeChanges)
{
    const auto t0 = rz48::emu::Transport::Clock::time_point(1h);
    rz48::emu::Transport t(1);
    t.locate(90, t0);
    t.setLoop(100, 110, true);
    t.play(t0);
    EXPECT_EQ(t.frameOfIndex(9), 99);
    EXPECT_EQ(t.frameOfIndex(19), 109);
    EXPECT_EQ(t.frameOfIndex(20), 100);
    EXPECT_EQ(t.frameOfIndex(45), 105);
    t.setLoop(100, 110, false);
    EXPECT_EQ(t.frameOfIndex(45), 135);
    t.stop(t0);
    t.locate(rz48::emu::frameOfLabel(1, 1, 0, 24, 1), t0);
    t.setType(2, t0);
    EXPECT_EQ(rz48::emu::labelOfFrame(t.frameAt(t0), 2), "01:01:00;24");
    t.setType(3, t0);
    t.locate(rz48::emu::frameOfLabel(1, 0, 0, 29, 3), t0);
    t.setType(1, t0);
    EXPECT_EQ(rz48::emu::labelOfFrame(t.frameAt(t0), 1), "01:00:00:24") << "a frame field beyond the rate: its last frame";
}

std::vector<uint8_t> quarterFrames(int h, int m, int s, int f, int type, bool backwards)
{
    const int pieces[8] = {f & 15, f >> 4, s & 15, s >> 4, m & 15, m >> 4, h & 15, (h >> 4) | type << 1};
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 8; ++i) {
        const int n = backwards ? 7 - i : i;
        bytes.push_back(0xF1);
        bytes.push_back(uint8_t(n << 4 | pieces[n]));
    }
    return bytes;
}

TEST(MtcDecoder, QuarterFramesBothWaysFullFramesAndDropouts)
{
    const auto t0 = rz48::emu::MtcDecoder::Clock::time_point(1h);
    rz48::emu::MtcDecoder d;
    std::vector<uint8_t> forward = quarterFrames(1, 2, 3, 4, 1, false);
    forward.insert(forward.begin() + 5, 0xF8); // a clock byte between pieces
    EXPECT_FALSE(d.feed(forward.data(), 7, t0)) << "not a whole set yet";
    EXPECT_TRUE(d.feed(forward.data() + 7, forward.size() - 7, t0));
    ASSERT_TRUE(d.position());
    EXPECT_EQ(d.position()->frame, 93081) << "01:02:03:04 at 25 fps is 3723 x 25 + 4 = 93079, and two frames on";
    EXPECT_EQ(d.position()->type, 1);
    EXPECT_EQ(d.position()->direction, 1);

    EXPECT_FALSE(d.checkDropout(t0 + 100ms));
    EXPECT_TRUE(d.checkDropout(t0 + 200ms));
    EXPECT_EQ(d.position()->direction, 0);
    EXPECT_FALSE(d.checkDropout(t0 + 300ms));

    const std::vector<uint8_t> backward = quarterFrames(10, 0, 0, 10, 2, true);
    EXPECT_TRUE(d.feed(backward.data(), backward.size(), t0 + 1s));
    EXPECT_EQ(d.position()->frame, 1078928) << "10:00:00;10 is 36000 x 30 + 10 - 2 x 540 = 1078930, two frames back";
    EXPECT_EQ(d.position()->type, 2);
    EXPECT_EQ(d.position()->direction, -1);

    // A piece out of order starts the count again.
    std::vector<uint8_t> broken = quarterFrames(1, 0, 0, 0, 3, false);
    std::swap(broken[5], broken[7]);
    rz48::emu::MtcDecoder fresh;
    EXPECT_FALSE(fresh.feed(broken.data(), broken.size(), t0));
    EXPECT_FALSE(fresh.position());

    const uint8_t full[] = {0xF0, 0x7F, 0x7F, 0x01, 0x01, 0x61, 0x02, 0x03, 0x04, 0xF7};
    EXPECT_TRUE(fresh.feed(full, sizeof full, t0));
    EXPECT_EQ(fresh.position()->frame, 111694) << "3723 x 30 + 4";
    EXPECT_EQ(fresh.position()->type, 3);
    EXPECT_EQ(fresh.position()->direction, 0);
    const uint8_t badFull[] = {0xF0, 0x7F, 0x7F, 0x01, 0x01, 0x21, 0x02, 0x03, 0x19, 0xF7}; // frame 25 at 25 fps
    EXPECT_FALSE(fresh.feed(badFull, sizeof badFull, t0));
}

} // namespace

namespace {

// rz48-emu render: a setup and a cue sheet from files, one frame as a PNG.
TEST(RenderCommand, DrawsTheFrameOfASetupAndASheetAtATimecode)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    auto write = [&](const char* name, const QByteArray& text) {
        QFile file(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    };
    const QString setup = write("unit.rz48setup", "# saved\nA 4\nC 1a 28 0 64 0 ff ff 0\nE 5 70 77 87 5 64 3 1\nU 0 0 6 104 240 1\n"
                                                  "m 129 96 8 112\n");
    // 29.97 drop-frame: the cue at 00:01:00;02 is frame 1800, 1800 x 1001 ticks;
    // the two-second run starts 60000 ticks before it.
    const QString sheet = write("cues.txt", ";duplicate\t0\n;tctype\t2\nA1\t00:01:00;02\t00:01:05;00\tHello\tnote\n");
    auto render = [&](const QString& setupFile, const char* at, QString* errors = nullptr) {
        QProcess emu;
        emu.start(QStringLiteral(RZ48_EMU_PATH), {QStringLiteral("render"), QStringLiteral("--setup"), setupFile, QStringLiteral("--cues"),
                                                   sheet, QStringLiteral("--at"), QLatin1String(at), QStringLiteral("-o"), dir.filePath(QStringLiteral("f.png"))});
        EXPECT_TRUE(emu.waitForFinished(30000));
        if (errors)
            *errors = QString::fromLocal8Bit(emu.readAllStandardError());
        return emu.exitCode();
    };
    ASSERT_EQ(render(setup, "00:00:58;20"), 0);
    // Frame 1760 is 19960 ticks into the run: (1728 - 40) x 19960 / 60000 = 561.
    const QImage frame(dir.filePath(QStringLiteral("f.png")));
    ASSERT_EQ(frame.size(), QSize(1920, 1080));
    EXPECT_EQ(firstColumn(frame, kCyan), 561);
    EXPECT_EQ(frame.pixel(960, 540), kBlack);
    ASSERT_EQ(render(setup, "00:01:00;02"), 0);
    EXPECT_EQ(QImage(dir.filePath(QStringLiteral("f.png"))).pixel(960, 540), kRed);

    QString errors;
    EXPECT_EQ(render(setup, "00:01:00;00", &errors), 2) << "a dropped label";
    EXPECT_TRUE(errors.contains(QLatin1String("not a timecode"))) << errors.toStdString();
    EXPECT_EQ(render(write("bad.rz48setup", "# x\nhello\n"), "00:00:59;20", &errors), 1);
    EXPECT_TRUE(errors.contains(QLatin1String("bad.rz48setup:2: not a setting command"))) << errors.toStdString();
}

} // namespace
