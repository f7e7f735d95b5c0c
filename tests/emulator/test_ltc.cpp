// Linear timecode written and read back at every timecode type, through WAV
// files and rz48-emu ltc; WAV files the reader must refuse.
#include "emulator/Ltc.h"
#include "emulator/UnitTimecode.h"
#include "emulator/Wav.h"

#include <QFile>

#include <algorithm>
#include <random>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using rz48::emu::LtcReading;

std::string labelOf(const LtcReading& r)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", r.hours, r.minutes, r.seconds, r.frames);
    return text;
}

// Three seconds from a start a little before a minute: every frame read
// back in order, labelled as the type counts (drop-frame skips ;00 and ;01),
// each within one frame of where it was written.
TEST(Ltc, WrittenAndReadBackFrameByFrameAtEveryType)
{
    const std::tuple<int, const char*, double, const char*> cases[] = {
        {0, "10:00:58:20", 24.0, "10:00:59:00"},
        {1, "10:00:58:20", 25.0, "10:00:59:00"},
        {2, "10:00:58;20", 30000.0 / 1001.0, "10:01:00:02"},
        {3, "10:00:58:20", 30.0, "10:00:59:00"},
    };
    for (const auto& [type, start, fps, probe] : cases) {
        int64_t first = 0;
        ASSERT_TRUE(rz48::emu::parseLabel(start, type, &first)) << start;
        rz48::emu::Audio audio;
        std::string why;
        ASSERT_TRUE(rz48::emu::parseWav(rz48::emu::wavOf(rz48::emu::writeLtc(first, 3.0, type, 48000), 48000), audio, &why)) << why;
        EXPECT_EQ(audio.sampleRate, 48000);
        EXPECT_NEAR(double(audio.samples.size()), 3.0 * 48000, 48000 / fps + 1) << type;
        const std::vector<LtcReading> read = rz48::emu::readLtc(audio);
        ASSERT_GE(read.size(), size_t(3 * fps) - 2) << type;
        EXPECT_EQ(labelOf(read.front()), std::string(start).replace(8, 1, ":")) << type;
        bool sawProbe = false;
        for (size_t i = 0; i < read.size(); ++i) {
            EXPECT_EQ(read[i].dropFrame, type == 2) << type;
            EXPECT_FALSE(read[i].reverse);
            int64_t frame = 0;
            ASSERT_TRUE(rz48::emu::frameOfFields(read[i].hours, read[i].minutes, read[i].seconds, read[i].frames, type, &frame))
                << type << " " << labelOf(read[i]);
            EXPECT_EQ(frame, first + int64_t(i)) << type << " " << labelOf(read[i]);
            EXPECT_NEAR(read[i].at, double(i) / fps, 1.0 / fps) << type << " " << labelOf(read[i]);
            sawProbe = sawProbe || labelOf(read[i]) == probe;
        }
        EXPECT_TRUE(sawProbe) << type << ": " << probe;
    }
}

// Played backwards, and 30 dB down in noise: every frame is still read, backwards
// flagged and in falling order.
TEST(Ltc, ReadBackwardsAndQuiet)
{
    int64_t first = 0;
    ASSERT_TRUE(rz48::emu::parseLabel("00:59:59:00", 1, &first));
    rz48::emu::Audio audio;
    audio.sampleRate = 48000;
    audio.samples = rz48::emu::writeLtc(first, 2.0, 1, 48000);
    std::mt19937 noise(20);
    std::uniform_int_distribution<int> hiss(-300, 300);
    for (int16_t& s : audio.samples)
        s = int16_t(s / 32 + hiss(noise)); // 30 dB down, with noise
    const size_t forwards = rz48::emu::readLtc(audio).size();
    EXPECT_GE(forwards, 48u);
    std::reverse(audio.samples.begin(), audio.samples.end());
    const std::vector<LtcReading> read = rz48::emu::readLtc(audio);
    ASSERT_GE(read.size(), 48u);
    for (size_t i = 1; i < read.size(); ++i) {
        EXPECT_TRUE(read[i].reverse);
        int64_t a = 0, b = 0;
        ASSERT_TRUE(rz48::emu::frameOfFields(read[i - 1].hours, read[i - 1].minutes, read[i - 1].seconds, read[i - 1].frames, 1, &a));
        ASSERT_TRUE(rz48::emu::frameOfFields(read[i].hours, read[i].minutes, read[i].seconds, read[i].frames, 1, &b));
        EXPECT_EQ(b, a - 1) << labelOf(read[i]);
    }
    EXPECT_EQ(labelOf(read.front()), "01:00:00:24");
}

// LTC as a sound card brings it, 20 ms at a time: the position follows it
// at its own rate (from the length of a frame; drop-frame from its flag),
// backwards is said, and silence is a stop.
TEST(LtcStream, FollowsTheSourceAndHearsItStop)
{
    for (int type : {0, 1, 2, 3}) {
        int64_t first = 0;
        ASSERT_TRUE(rz48::emu::frameOfFields(1, 0, 0, 0, type, &first));
        std::vector<int16_t> samples = rz48::emu::writeLtc(first, 2.0, type, 48000);
        rz48::emu::LtcStream stream(48000);
        auto now = rz48::emu::LtcStream::Clock::now();
        int changes = 0;
        for (size_t at = 0; at < samples.size(); at += 960, now += std::chrono::milliseconds(20))
            changes += stream.feed(samples.data() + at, std::min<size_t>(960, samples.size() - at), now) ? 1 : 0;
        ASSERT_TRUE(stream.position()) << type;
        EXPECT_EQ(stream.position()->type, type);
        EXPECT_EQ(stream.position()->direction, 1);
        EXPECT_GE(stream.position()->frame, first + 40) << type;
        EXPECT_LT(stream.position()->frame, first + 62) << type;
        EXPECT_GE(changes, 40) << type;
        // Backwards, from where it was.
        std::reverse(samples.begin(), samples.end());
        for (size_t at = 0; at < samples.size() / 2; at += 960, now += std::chrono::milliseconds(20))
            stream.feed(samples.data() + at, 960, now);
        EXPECT_EQ(stream.position()->direction, -1) << type;
        // Silence: stopped once, where it was.
        const std::vector<int16_t> silence(960, 0);
        const int64_t stoppedAt = stream.position()->frame;
        bool stopped = false;
        for (int i = 0; i < 20; ++i, now += std::chrono::milliseconds(20)) {
            stream.feed(silence.data(), silence.size(), now);
            stopped = stream.checkDropout(now) || stopped;
        }
        EXPECT_TRUE(stopped) << type;
        EXPECT_EQ(stream.position()->direction, 0);
        EXPECT_EQ(stream.position()->frame, stoppedAt);
        EXPECT_FALSE(stream.checkDropout(now)) << "said once";
    }
}

// Frame by frame as the transport goes, a jump included: read back as sent.
TEST(LtcWriter, FrameByFrameWithAJump)
{
    rz48::emu::LtcWriter writer(48000);
    rz48::emu::Audio audio;
    audio.sampleRate = 48000;
    std::vector<int64_t> sent;
    int64_t frame = 0;
    ASSERT_TRUE(rz48::emu::frameOfFields(0, 0, 59, 25, 2, &frame));
    for (int i = 0; i < 30; ++i, ++frame) {
        if (i == 15)
            frame += 100; // a locate while playing
        sent.push_back(frame);
        const std::vector<int16_t> samples = writer.frame(frame, 2);
        EXPECT_NEAR(double(samples.size()), 48000 * 1.001 / 30, 1.0);
        audio.samples.insert(audio.samples.end(), samples.begin(), samples.end());
    }
    const std::vector<LtcReading> read = rz48::emu::readLtc(audio);
    ASSERT_GE(read.size(), sent.size() - 1);
    for (size_t i = 0; i < read.size(); ++i) {
        int64_t at = 0;
        ASSERT_TRUE(rz48::emu::frameOfFields(read[i].hours, read[i].minutes, read[i].seconds, read[i].frames, 2, &at));
        EXPECT_EQ(at, sent[i]) << labelOf(read[i]);
        EXPECT_TRUE(read[i].dropFrame);
    }
}

TEST(Wav, WhatIsNotAWavFileIsRefusedWithWhy)
{
    rz48::emu::Audio audio;
    std::string why;
    const QByteArray good = rz48::emu::wavOf({0, 1000, -1000, 32767}, 48000);
    ASSERT_TRUE(rz48::emu::parseWav(good, audio, &why));
    EXPECT_EQ(audio.samples, (std::vector<int16_t> {0, 1000, -1000, 32767}));
    // Cut inside the samples: what is there is kept.
    ASSERT_TRUE(rz48::emu::parseWav(good.left(good.size() - 3), audio, &why));
    EXPECT_EQ(audio.samples.size(), 2u);
    const std::pair<QByteArray, const char*> refused[] = {
        {QByteArray("hello"), "not a WAV file"},
        {good.left(30), "its format chunk is cut short"},
        {good.left(36), "it has no samples"},
        {QByteArray(good).replace(20, 2, QByteArray("\x02\x00", 2)), "neither 8-, 16-, 24- or 32-bit PCM"},
        {QByteArray(good).replace(22, 2, QByteArray("\x00\x00", 2)), "it says 0 channels"},
    };
    for (const auto& [bytes, reason] : refused) {
        why.clear();
        EXPECT_FALSE(rz48::emu::parseWav(bytes, audio, &why)) << reason;
        EXPECT_NE(why.find(reason), std::string::npos) << why;
    }
}

TEST(Ltc, CommandLineWritesAndReads)
{
    QTemporaryDir dir;
    auto run = [](const QStringList& args, QString* out, QString* err) {
        QProcess emu;
        emu.start(QStringLiteral(RZ48_EMU_PATH), args);
        EXPECT_TRUE(emu.waitForFinished(60000));
        *out = QString::fromLocal8Bit(emu.readAllStandardOutput());
        *err = QString::fromLocal8Bit(emu.readAllStandardError());
        return emu.exitCode();
    };
    QString out, err;
    const QString wav = dir.filePath(QStringLiteral("ltc.wav"));
    ASSERT_EQ(run({"ltc", "write", "--start", "01:00:00:00", "--seconds", "2", "--tctype", "1", "-o", wav}, &out, &err), 0)
        << err.toStdString();
    ASSERT_EQ(run({"ltc", "read", wav}, &out, &err), 0) << err.toStdString();
    const QStringList lines = out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_GE(lines.size(), 48);
    EXPECT_EQ(lines.first(), QStringLiteral("01:00:00:00 at 0.000 s"));
    EXPECT_EQ(lines[26], QStringLiteral("01:00:01:01 at 1.040 s"));
    // Refused: a start the type lacks, seconds that are not, a file that holds no LTC, a place that cannot be written.
    EXPECT_EQ(run({"ltc", "write", "--start", "01:01:00;00", "--seconds", "1", "--tctype", "2", "-o", wav}, &out, &err), 2);
    EXPECT_TRUE(err.contains(QLatin1String("not a timecode of type 2"))) << err.toStdString();
    EXPECT_EQ(run({"ltc", "write", "--start", "01:00:00:00", "--seconds", "1,5", "--tctype", "1", "-o", wav}, &out, &err), 2);
    QFile silence(dir.filePath(QStringLiteral("silence.wav")));
    ASSERT_TRUE(silence.open(QIODevice::WriteOnly));
    silence.write(rz48::emu::wavOf(std::vector<int16_t>(48000, 0), 48000));
    silence.close();
    EXPECT_EQ(run({"ltc", "read", silence.fileName()}, &out, &err), 1);
    EXPECT_TRUE(err.contains(QLatin1String("no linear timecode found"))) << err.toStdString();
    EXPECT_EQ(run({"ltc", "write", "--start", "01:00:00:00", "--seconds", "1", "--tctype", "1", "-o",
                   dir.filePath(QStringLiteral("missing/ltc.wav"))},
                  &out, &err),
              1);
    EXPECT_TRUE(err.contains(QLatin1String("cannot write"))) << err.toStdString();
}

} // namespace
