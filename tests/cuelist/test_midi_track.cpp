#include "common/Diagnostics.h"
#include "cuelist/MidiTrack.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>

namespace {

CueItem cue(const QString& in, const QString& text)
{
    CueItem c;
    c.cueIn = in;
    c.cueText = text;
    return c;
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

TEST(MidiTrack, SevenBitPacking)
{
    QByteArray all(256, 0);
    for (int i = 0; i < 256; ++i)
        all[i] = char(i);
    const QByteArray packed = MidiTrack::encode78(all);
    EXPECT_EQ(packed.size(), 293);
    EXPECT_EQ(MidiTrack::decode78(packed), all);
    EXPECT_EQ(MidiTrack::encode78(hex("80818283848586")), hex("000102030405067f"));
    EXPECT_EQ(MidiTrack::encode78(hex("41")), hex("4100"));
    EXPECT_TRUE(MidiTrack::encode78({}).isEmpty());
    EXPECT_TRUE(MidiTrack::decode78({}).isEmpty());
    for (char c : packed)
        EXPECT_EQ(c & 0x80, 0);
}

TEST(MidiTrack, VariableLengthQuantities)
{
    auto vlq = [](uint32_t v) {
        QByteArray b;
        MidiTrack::writeVarLenValue(b, v);
        return b;
    };
    EXPECT_EQ(vlq(0), hex("00"));
    EXPECT_EQ(vlq(127), hex("7f"));
    EXPECT_EQ(vlq(128), hex("8100"));
    EXPECT_EQ(vlq(800), hex("8620"));
    EXPECT_EQ(vlq(19200), hex("819600"));
    EXPECT_EQ(vlq(0x0FFFFFFF), hex("ffffff7f"));
    EXPECT_EQ(vlq(0x10000000), hex("80808000")); // four groups at most: the low 28 bits
    QByteArray meta;
    MidiTrack::writeMetaDataString(meta, 0, 3, QStringLiteral("Cue track"));
    EXPECT_EQ(meta, hex("00ff0309") + "Cue track");
}

TEST(MidiTrack, ExportLayout)
{
    rz48::DiagCapture out;
    MidiTrack track;
    const QByteArray file = track.onExportMidi({cue(QStringLiteral("10:00:01:00"), QStringLiteral("H\u00e9\u20ac")),
                                                cue(QStringLiteral("10000200"), QString())},
                                               QStringLiteral("10:00:00:00"), 1, 0.0, true, false, false);
    EXPECT_EQ(out.text(), "MIDI offset: 00:00:00:00\n");
    EXPECT_EQ(file.left(14), hex("4d5468640000000600010001" "2580"));
    EXPECT_EQ(file.mid(14, 4), QByteArray("MTrk"));
    const uint32_t length = (uint32_t(uint8_t(file[18])) << 24) | (uint32_t(uint8_t(file[19])) << 16)
        | (uint32_t(uint8_t(file[20])) << 8) | uint8_t(file[21]);
    EXPECT_EQ(length, uint32_t(file.size() - 22));
    EXPECT_EQ(file.mid(22, 9), hex("00ff5405" "2000000000")); // type 1 in the rate bits
    EXPECT_EQ(file.mid(31, 7), hex("00ff510307a120"));
    EXPECT_TRUE(file.endsWith(hex("00ff2f00")));
    // Track name (3), instrument (4) and the start as a lyric (5).
    EXPECT_TRUE(file.contains(hex("00ff0309") + "Cue track" + hex("00ff0405") + "RZ-48"));
    EXPECT_TRUE(file.contains(hex("00ff050b") + "10:00:00:00"));
    // First cue one second after the start: 25 x 768 = 19200 ticks, then its SysEx.
    const qsizetype lyric = file.indexOf("10:00:00:00");
    ASSERT_GT(lyric, 0);
    const QByteArray firstCue = file.mid(lyric + 11, 6);
    EXPECT_EQ(firstCue, hex("819600907740"));
    // The text in Latin-1, "?" for what it cannot hold: "s H", e9, "?".
    const QByteArray packed = MidiTrack::encode78("s H\xe9?");
    EXPECT_TRUE(file.contains(hex("00f0") + char(packed.size() + 3) + hex("2001") + packed + hex("f7") + hex("8620907700")));
    // The second cue has no text: two note events only, 1 s after the first ended.
    QByteArray second;
    MidiTrack::writeVarLenValue(second, 25 * 768 - 800);
    EXPECT_TRUE(file.contains(hex("8620907700") + second + hex("907740" "8620907700" "00ff2f00")));
}

TEST(MidiTrack, OffsetPulldownCutAndNegativeDelta)
{
    rz48::DiagCapture out;
    MidiTrack track;
    const QString longText(300, u'x');
    const QByteArray file = track.onExportMidi({cue(QStringLiteral("01:00:00:00"), longText), cue(QStringLiteral("00:59:59:00"), QString())},
                                               QStringLiteral("bad"), 3, -2.0, true, true, false);
    EXPECT_EQ(out.text(), "MIDI offset: 23:59:58:00\n");
    EXPECT_EQ(file.mid(22, 9), hex("00ff5405" "773b3a0000")); // 23 | 3 << 5
    EXPECT_TRUE(file.contains(hex("07a314")));
    EXPECT_TRUE(file.contains("00:00:00:00")); // an invalid start is replaced
    // "s " and the first 215 characters of the text: 217 in all.
    const QByteArray packed = MidiTrack::encode78("s " + QByteArray(215, 'x'));
    EXPECT_TRUE(file.contains(packed + hex("f7")));
    EXPECT_FALSE(file.contains(MidiTrack::encode78("s " + QByteArray(216, 'x')) + hex("f7")));
    // A cue earlier than the end of the previous note: the delta wraps.
    QByteArray negative;
    MidiTrack::writeVarLenValue(negative, uint32_t(-(30 * 640 + 800)));
    EXPECT_TRUE(file.contains(negative + hex("907740")));

    // Drop-frame: rate bits 2 over an offset of 0, and a cue a minute and two frames after the
    // start is 1800 frames later (1802 at 30 fps): 1152000 ticks, c6 a8 00.
    const QByteArray drop = track.onExportMidi({cue(QStringLiteral("01:01:00:02"), QString())}, QStringLiteral("01:00:00:00"), 2,
                                               0.0, true, false, false);
    EXPECT_EQ(drop.mid(22, 9), hex("00ff5405" "4000000000")); // no offset
    EXPECT_TRUE(drop.contains(hex("c6a800907740")));
}

TEST(MidiTrack, ImportListing)
{
    MidiTrack track;
    QByteArray file;
    {
        rz48::DiagCapture quiet;
        file = track.onExportMidi({cue(QStringLiteral("01:00:00:00"), QStringLiteral("Hello"))}, QStringLiteral("01:00:00:00"),
                                  1, 0.5, true, false, false);
    }
    rz48::DiagCapture out;
    track.importListing(file);
    const std::string text = out.text();
    EXPECT_EQ(text.rfind("\n0000: 4d 54 68 64 00 00 00 06 \t00 01 00 01 25 80 4d 54 \t\tMThd....\t....%.MT\n0010: ", 0), 0u)
        << text.substr(0, 120);
    EXPECT_NE(text.find("chunk ID: MThd size: 6\nformat: 1 tracks: 1 timeDivision: 9600\n"), std::string::npos);
    EXPECT_NE(text.find("meta event, delta: 0 type: 84\nsmpte offset: 00:00:00:12:50 fps: 1\n"), std::string::npos);
    EXPECT_NE(text.find("microseconds per quarter note: 500000 beats per minute: 120\n"), std::string::npos);
    EXPECT_NE(text.find("meta event, delta: 0 type: 4 string: RZ-48\n"), std::string::npos);
    EXPECT_NE(text.find("delta: 0 note on: 119 64\nsystem exclusive, size: 11 mfg: 20\n\n73 20 48 65 6c 6c 6f \nmidi rx: s Hello\n"),
              std::string::npos);
    EXPECT_NE(text.find("delta: 800 note on: 119 0\nmeta event, delta: 0 type: 47\n"), std::string::npos);
    EXPECT_EQ(track.timeDivision, 9600);
}

TEST(MidiTrack, ImportNeverReadsOutsideTheFile)
{
    rz48::DiagCapture out;
    MidiTrack track;
    QByteArray file;
    {
        rz48::DiagCapture quiet;
        file = track.onExportMidi({cue(QStringLiteral("01:00:00:00"), QStringLiteral("Hello"))}, {}, 3, 0, true, false, false);
    }
    rz48::DiagCapture listing;
    for (qsizetype cut = 0; cut < file.size(); ++cut)
        track.importListing(file.left(cut));
    QByteArray lying = file;
    lying[21] = char(0x7f); // a track length far past the end
    track.importListing(lying);
    track.importListing(hex("4d54726b0fffffff00f0ffffff7f"));
    std::mt19937 rng(7);
    for (int round = 0; round < 300; ++round) {
        QByteArray noise = file;
        for (int k = 0; k < 6; ++k)
            noise[qsizetype(rng() % noise.size())] = char(rng());
        track.importListing(noise);
    }
    // Every call returned: that is the whole claim here. A read outside the
    // buffer fails this test only in the sanitizer tree (scripts/test).
    EXPECT_NE(listing.text().find("chunk ID: MThd"), std::string::npos);
}

// The exported files are read by an independent reader, midicsv: the file
// parses and its note-on times are the cues' In times in ticks.
TEST(MidiTrack, IndependentReaderAgrees)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("cues.mid"));
    MidiTrack track;
    QByteArray file;
    {
        rz48::DiagCapture quiet;
        file = track.onExportMidi({cue(QStringLiteral("10:00:02:00"), QStringLiteral("one")),
                                   cue(QStringLiteral("10:00:05:10"), QStringLiteral("two")),
                                   cue(QStringLiteral("10:01:00:00"), QString())},
                                  QStringLiteral("10:00:00:00"), 0, 0, true, false, false);
    }
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(file);
    f.close();
    QProcess midicsv;
    midicsv.start(QStringLiteral("midicsv"), {path});
    ASSERT_TRUE(midicsv.waitForFinished(10000)) << "midicsv is installed by scripts/setup";
    ASSERT_EQ(midicsv.exitCode(), 0) << midicsv.readAllStandardError().toStdString();
    QList<qint64> noteOns;
    for (const QByteArray& line : midicsv.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> fields = line.split(',');
        if (fields.size() >= 6 && fields[2].trimmed() == "Note_on_c" && fields[5].trimmed() != "0")
            noteOns << fields[1].trimmed().toLongLong();
    }
    // Ticks from the start: 24 fps, 800 ticks a frame.
    const qint64 tpf = 800;
    EXPECT_EQ(noteOns, (QList<qint64> {2 * 24 * tpf, (5 * 24 + 10) * tpf, 60 * 24 * tpf}));
}

} // namespace
