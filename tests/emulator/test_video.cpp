// Video under the unit's output: clips made with ffmpeg whose every frame
// says its number in its colour (red: the number modulo 32, times 8; green:
// the number over 32, times 8), drawn at timecodes by rz48-emu render --video.
#include "emulator/UnitTimecode.h"
#include "emulator/VideoFile.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class VideoTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
        if (ffmpeg.isEmpty())
            GTEST_SKIP() << "ffmpeg is not installed (scripts/setup installs it)";
        ASSERT_TRUE(dir.isValid());
        QFile setup(dir.filePath(QStringLiteral("unit.rz48setup")));
        ASSERT_TRUE(setup.open(QIODevice::WriteOnly));
        setup.write("A 2\n");
    }
    // A clip of `seconds` at `rate` ("25", "30000/1001"), `size`, with a timecode tag.
    QString clip(const char* name, const char* rate, const char* size, const char* timecode, int seconds = 4)
    {
        const QString path = dir.filePath(QLatin1String(name));
        QProcess make;
        make.start(ffmpeg, {"-v", "error", "-y", "-f", "lavfi", "-i",
                            QStringLiteral("color=c=black:s=%1:r=%2:d=%3,geq=r='mod(N\\,32)*8':g='mod(floor(N/32)\\,32)*8':"
                                           "b='floor(N/1024)*32+16'")
                                .arg(QLatin1String(size), QLatin1String(rate)).arg(seconds),
                            "-timecode", QLatin1String(timecode), "-c:v", "libx264", "-g", "12", "-pix_fmt", "yuv420p", path});
        EXPECT_TRUE(make.waitForFinished(60000));
        EXPECT_EQ(make.exitCode(), 0) << make.readAllStandardError().toStdString();
        return path;
    }
    // The output at `at` over the video; the exit status.
    int render(const QString& video, int type, const char* at, QImage* frame, const QStringList& more = {})
    {
        QProcess emu;
        const QString out = dir.filePath(QStringLiteral("frame.png"));
        QFile::remove(out);
        QStringList args {"render", "--setup", dir.filePath(QStringLiteral("unit.rz48setup")), "--tctype", QString::number(type),
                          "--at", QLatin1String(at), "-o", out};
        if (!video.isEmpty())
            args << "--video" << video;
        emu.start(QStringLiteral(RZ48_EMU_PATH), args + more);
        EXPECT_TRUE(emu.waitForFinished(60000));
        errors = QString::fromLocal8Bit(emu.readAllStandardError());
        *frame = QImage(out);
        return emu.exitCode();
    }
    // The frame number a picture's middle says (red, green and blue digits), or -1 for black.
    static int numberOf(const QImage& frame)
    {
        const QRgb c = frame.pixel(960, 540);
        if (qRed(c) < 3 && qGreen(c) < 3 && qBlue(c) < 3)
            return -1;
        return (qBlue(c) - 16 + 12) / 32 * 1024 + (qGreen(c) + 3) / 8 * 32 + (qRed(c) + 3) / 8;
    }

    QString ffmpeg, errors;
    QTemporaryDir dir;
};

// The file's own start (its timecode tag) at 25 frames a second, a clip with
// a keyframe every 12 frames: each timecode shows its own frame, never a
// neighbour; before the start and after the end, black.
TEST_F(VideoTest, EachTimecodeShowsItsOwnFrame)
{
    const QString video = clip("tagged.mp4", "25", "320x180", "01:00:00:00");
    QImage frame;
    const std::pair<const char*, int> cases[] = {
        {"00:59:59:24", -1}, {"01:00:00:00", 0}, {"01:00:00:01", 1}, {"01:00:00:13", 13}, {"01:00:01:07", 32},
        {"01:00:00:23", 23}, {"01:00:03:24", 99}, {"01:00:04:00", -1},
    };
    for (const auto& [at, number] : cases) {
        ASSERT_EQ(render(video, 1, at, &frame), 0) << at << ": " << errors.toStdString();
        EXPECT_EQ(numberOf(frame), number) << at;
    }
    // A start given by hand moves the whole video.
    ASSERT_EQ(render(video, 1, "02:00:00:05", &frame, {"--video-start", "02:00:00:00"}), 0);
    EXPECT_EQ(numberOf(frame), 5);
    EXPECT_EQ(render(video, 1, "02:00:00:05", &frame, {"--video-start", "02:00:00"}), 2);
}

// 29.97 drop-frame across a minute: 00:01:00;02 follows 00:00:59;29. A 4:3
// clip is pillarboxed. A video at another rate says so.
// Two minutes at 29.97 drop-frame from 00:59:50;00: timecodes sampled across
// it, on both sides of the minutes whose first labels are dropped, each
// show their own frame; the overlay draws the same over the video as over
// black.
TEST_F(VideoTest, TwoMinutesAtDropFrame)
{
    const QString video = clip("two-minutes.mp4", "30000/1001", "160x90", "00:59:50;00", 120);
    QImage frame, black;
    int64_t first = 0;
    ASSERT_TRUE(rz48::emu::parseLabel("00:59:50;00", 2, &first));
    for (const char* at : {"00:59:50;00", "00:59:59;29", "01:00:00;00", "01:00:00;01", "01:00:30;15", "01:00:59;29",
                           "01:01:00;02", "01:01:00;03", "01:01:30;00", "01:01:45;00"}) {
        ASSERT_EQ(render(video, 2, at, &frame), 0) << at << ": " << errors.toStdString();
        int64_t wanted = 0;
        ASSERT_TRUE(rz48::emu::parseLabel(at, 2, &wanted));
        EXPECT_EQ(numberOf(frame), int(wanted - first)) << at;
    }
    // The timecode window (on in the setup at 96, 8) is the same pixels with the video and without.
    QFile setup(dir.filePath(QStringLiteral("unit.rz48setup")));
    ASSERT_TRUE(setup.open(QIODevice::WriteOnly | QIODevice::Truncate));
    setup.write("A 2\nm 129 96 8 112\n");
    setup.close();
    ASSERT_EQ(render(video, 2, "01:00:30;15", &frame), 0) << errors.toStdString();
    ASSERT_EQ(render(QString(), 2, "01:00:30;15", &black), 0) << errors.toStdString();
    int compared = 0;
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 1920; ++x)
            if (black.pixel(x, y) != 0xFF000000) {
                ASSERT_EQ(frame.pixel(x, y), black.pixel(x, y)) << x << "," << y;
                ++compared;
            }
    EXPECT_GT(compared, 1000);
}

TEST_F(VideoTest, DropFramePillarboxAndAnotherRate)
{
    const QString video = clip("df.mp4", "30000/1001", "320x240", "00:00:59;28", 2);
    QImage frame;
    ASSERT_EQ(render(video, 2, "00:01:00;02", &frame), 0) << errors.toStdString();
    EXPECT_EQ(numberOf(frame), 2);
    EXPECT_EQ(frame.pixel(100, 540), 0xFF000000) << "the side of a 4:3 picture";
    EXPECT_TRUE(errors.isEmpty()) << errors.toStdString();
    // The same video against a 25 frame list: taken label for label, and said.
    ASSERT_EQ(render(video, 1, "00:00:59:24", &frame, {"--video-start", "00:00:59:20"}), 0);
    EXPECT_EQ(numberOf(frame), 4);
    EXPECT_TRUE(errors.contains(QLatin1String("label for label"))) << errors.toStdString();
    // A file that is not a video.
    EXPECT_EQ(render(dir.filePath(QStringLiteral("unit.rz48setup")), 1, "00:00:00:00", &frame), 1);
    EXPECT_TRUE(errors.contains(QLatin1String("cannot open the video"))) << errors.toStdString();
}

// Played frame after frame (each decoded on from the last), then sought back:
// every frame is its own.
TEST_F(VideoTest, FrameAfterFrameThenBack)
{
    rz48::emu::VideoFile video;
    std::string why;
    ASSERT_TRUE(video.open(clip("steps.mp4", "25", "320x180", "00:00:00:00", 2).toStdString(), &why)) << why;
    EXPECT_EQ(video.frameCount(), 50);
    EXPECT_DOUBLE_EQ(video.fps(), 25.0);
    EXPECT_EQ(video.timecodeTag(), "00:00:00:00");
    QImage picture;
    for (int64_t index : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 30, 31, 32, 7, 8, 49, 50}) {
        ASSERT_TRUE(video.frameAt(index, picture, &why)) << index << ": " << why;
        EXPECT_EQ(numberOf(picture), index < 50 ? index : -1) << index;
    }
}

TEST(VideoRates, LabelForLabel)
{
    EXPECT_TRUE(rz48::emu::ratesMatch(24000.0 / 1001.0, 0));
    EXPECT_TRUE(rz48::emu::ratesMatch(25.0, 1));
    EXPECT_TRUE(rz48::emu::ratesMatch(30000.0 / 1001.0, 2));
    EXPECT_TRUE(rz48::emu::ratesMatch(30000.0 / 1001.0, 3));
    EXPECT_FALSE(rz48::emu::ratesMatch(25.0, 3));
    EXPECT_FALSE(rz48::emu::ratesMatch(24.0, 1));
    EXPECT_EQ(rz48::emu::videoIndexAt(107999, 108000), -1);
    EXPECT_EQ(rz48::emu::videoIndexAt(108025, 108000), 25);
}

} // namespace
