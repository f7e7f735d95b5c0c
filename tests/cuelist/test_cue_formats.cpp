#include "common/Diagnostics.h"
#include "common/TimecodeLabel.h"
#include "cuelist/CueFormats.h"
#include "cuelist/MidiTrack.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

using namespace rz48::formats;

namespace {

Imported run(const QByteArray& bytes, int tctype = -1, const QString& format = {}, const QString& zeroAt = {})
{
    ImportOptions options;
    options.tctype = tctype;
    options.format = format;
    options.zeroAt = zeroAt;
    return importCues(bytes, options);
}

// id, in, out, character, text, notes, reason, status of a cue.
QStringList row(const CueItem& c)
{
    return {c.cueId, c.cueIn, c.cueOut, c.character, c.cueText, c.cueNotes, c.reason, rz48::statusName(c.status)};
}

QStringList lines(const Imported& imported)
{
    QStringList list;
    for (const Problem& p : imported.problems)
        list << QString::number(p.line);
    return list;
}

CueItem cue(const QString& in, const QString& text, const QString& character = {}, const QString& out = {})
{
    CueItem c = blankCue();
    c.cueIn = in;
    c.cueOut = out;
    c.cueText = text;
    c.character = character;
    return c;
}

const char kSession23976[] =
    "SESSION NAME:\tReel 2 ADR\n"
    "SAMPLE RATE:\t48000.000000\n"
    "BIT DEPTH:\t24-bit\n"
    "SESSION START TIMECODE:\t00:59:58:00\n"
    "TIMECODE FORMAT:\t23.976 Frame\n"
    "\n"
    "O N L I N E  F I L E S  I N  S E S S I O N\n"
    "Filename                 \tLocation\n"
    "anna_01.wav              \tMacintosh HD:ADR:\n"
    "\n"
    "T R A C K  L I S T I N G\n"
    "TRACK NAME:\tANNA\n"
    "COMMENTS:\t\n"
    "USER DELAY:\t0 Samples\n"
    "CHANNEL \tEVENT   \tCLIP NAME                              \tSTART TIME    \tEND TIME      \tDURATION      \tSTATE\n"
    "1       \t1       \t\"Where were you?\" [ADD] {Take=2} $PRI=1 \t01:00:10:00   \t01:00:12:12   \t00:00:02:12   \tUnmuted\n"
    "1       \t2       \tLater                                  \t01:00:20:05   \t1:02.000      \t00:00:02:00   \tMuted\n"
    "\n"
    "TRACK NAME:\tBEN\n"
    "CHANNEL \tEVENT \tCLIP NAME \tSTART TIME \tEND TIME \tDURATION \tTIMESTAMP \tSTATE\n"
    "1 \t1 \tNo way. \t01:00:30:23 \t01:00:31:00 \t00:00:00:01 \t \tUnmuted\n"
    "\n"
    "M A R K E R S  L I S T I N G\n"
    "#   \tLOCATION     \tTIME REFERENCE    \tUNITS    \tNAME          \tTRACK NAME \tTRACK TYPE \tCOMMENTS\n"
    "1   \t01:00:00:00  \t96096             \tSamples  \tReel start    \tMarkers    \tRuler      \tfirst frame\n"
    "3   \t31|1|000     \t2882880           \tSamples  \tBar [FX]      \tBEN        \tTrack      \t\n"
    "2   \t0:30.000     \tnone              \tSamples  \tBroken        \tMarkers    \tRuler      \t\n";

const char kSessionDrop[] =
    "SESSION NAME:\tSpot\r\n"
    "SAMPLE RATE:\t48000.000000\r\n"
    "SESSION START TIMECODE:\t00:50:00;00\r\n"
    "TIMECODE FORMAT:\t29.97 Drop Frame\r\n"
    "\r\n"
    "M A R K E R S  L I S T I N G\r\n"
    "#\tLOCATION\tTIME REFERENCE\tUNITS\tNAME\tCOMMENTS\r\n"
    "1\t00:59:30;15\t1\tSamples\tHello\tnote\r\n"
    "2\t1:00.060\t2882880\tSamples\tBy samples\t\r\n";

const char kEdl[] = "TITLE: Reel 1   \r\n"
                    "FCM: DROP FRAME\r\n"
                    "\r\n"
                    "001  AX       V     C        00:00:00:00 00:00:05:00 01:00:00;00 01:00:05;00   \r\n"
                    "* FROM CLIP NAME:  Caf\xe9 scene   \r\n"
                    "* COMMENT: check sync\r\n"
                    "* LOC: 01:00:02;10 RED    ANNA: Not now\r\n"
                    "002  BL       V     C        00:00:00:00 00:00:00:01 01:00:10;00 01:00:10;01\r\n"
                    " |C:ResolveColorBlue |M:Door slam |D:1\r\n"
                    "003  AX       V     C        00:00:00:00 00:00:00:01 01:00:20;00 01:00:20;01 \r\n"
                    "room tone |C:ResolveColorGreen |M:BEN: Hey |D:30\r\n"
                    "004  AX  V  C  00:00:00:00 00:00:00:01 01:00:61;00 01:00:30;01\r\n"
                    "garbage\r\n";

const char kCsv[] = "\xEF\xBB\xBF"
                    "Cue,Start,End,Role,Dialogue,Comment,Reason,Status\r\n"
                    "A1,01:00:01:00,01:00:02:00,ANNA,\"Hello, \"\"you\"\"\",,,done\r\n"
                    "A2,01:00:03.480,,BEN,\"Two\r\nlines\",note,ADD,\r\n"
                    "A3,nope,,,,,,\r\n"
                    "A4,01:00:04:00,01:00:05:00,,x,,,maybe\r\n";

const char kSrt[] = "1\r\n"
                    "00:00:01,500 --> 00:00:03,020 X1:100 X2:600 Y1:50 Y2:100\r\n"
                    "<i>Hello</i> <font color=\"#ff0000\">there</font>\r\n"
                    "second line\r\n"
                    "\r\n"
                    "2\r\n"
                    "00:00:04,019 --> 00:00:05,000\r\n"
                    "{\\an8}<b>Top</b>\r\n"
                    "\r\n"
                    "3\r\n"
                    "00:00:06 --> 00:00:07,000\r\n"
                    "Bad\r\n";

const char kVtt[] = "WEBVTT - reel 1\n"
                    "\n"
                    "NOTE a note\n"
                    "00:09.000 --> 00:10.000 in a note\n"
                    "\n"
                    "intro\n"
                    "00:01.000 --> 00:02.000 align:start position:10%\n"
                    "<v Anna>Hi &amp; bye</v>\n"
                    "\n"
                    "01:00:03.000 --> 01:00:04.500\n"
                    "<c.loud>Loud</c>\n";

// Format 1, 480 ticks a quarter note. Track 1: SMPTE offset 01:00:00:00 at
// 30 fps, 120 beats a minute, 60 from tick 960 (one second). Track 2: a
// marker at tick 480 (0.5 s), a cue point at 1440 (2 s), a lyric beside it.
const QByteArray kMidiMarkers = QByteArray::fromHex("4d546864000000060001000201e0"
                                                    "4d54726b0000001c"
                                                    "00ff54056100000000" "00ff510307a120" "8740ff51030f4240" "00ff2f00"
                                                    "4d54726b00000025"
                                                    "8360ff0605496e74726f"
                                                    "8740ff070b414e4e413a2048656c6c6f"
                                                    "00ff05036c6121" "00ff2f00");

TEST(TimecodeLabels, DropFrameBothWays)
{
    EXPECT_EQ(rz48::frameOfLabel(1, 0, 0, 0, 2), 107892);
    EXPECT_EQ(rz48::frameOfLabel(0, 10, 0, 0, 2), 17982);
    EXPECT_EQ(rz48::frameOfLabel(0, 1, 0, 2, 2), 1800);
    EXPECT_EQ(rz48::frameOfLabel(0, 1, 0, 0, 2), 1800); // a skipped label is its minute's first
    EXPECT_EQ(rz48::labelOfFrame(1799, 2), QStringLiteral("00:00:59;29"));
    EXPECT_EQ(rz48::labelOfFrame(1800, 2), QStringLiteral("00:01:00;02"));
    EXPECT_EQ(rz48::labelOfFrame(17982, 2), QStringLiteral("00:10:00;00"));
    EXPECT_EQ(rz48::labelOfFrame(2589407, 2), QStringLiteral("23:59:59;29"));
    EXPECT_EQ(rz48::labelOfFrame(2589408, 2), QStringLiteral("00:00:00;00"));
    EXPECT_EQ(rz48::labelOfFrame(-1, 3), QStringLiteral("23:59:59:29"));
    EXPECT_EQ(rz48::labelOfFrame(90000, 1), QStringLiteral("01:00:00:00"));
    EXPECT_EQ(rz48::labelOfFrame(5, 7), QString());
    // Every label of the first hour that exists, in order, counts on by one, and comes back.
    const int64_t hour[4] = {86400, 90000, 107892, 108000};
    for (int type = 0; type < 4; ++type) {
        int64_t expected = 0;
        for (int m = 0; m < 60; ++m)
            for (int s = 0; s < 60; ++s)
                for (int f = 0; f < 30; ++f) {
                    if (!rz48::labelExists(0, m, s, f, type))
                        continue;
                    ASSERT_EQ(rz48::frameOfLabel(0, m, s, f, type), expected) << type << ' ' << m << ' ' << s << ' ' << f;
                    ASSERT_EQ(rz48::labelOfFrame(expected, type),
                              QString::asprintf("00:%02d:%02d%c%02d", m, s, type == 2 ? ';' : ':', f));
                    ++expected;
                }
        EXPECT_EQ(expected, hour[type]);
        EXPECT_EQ(rz48::framesPerDay(type), hour[type] * 24);
    }
}

TEST(TimecodeLabels, LabelText)
{
    EXPECT_EQ(rz48::frameOfLabelText(u" 01:00:00;02 ", 2), 107894);
    EXPECT_EQ(rz48::frameOfLabelText(u"01;00;00;02", 2), 107894);
    EXPECT_EQ(rz48::frameOfLabelText(u"1:00:00.10", 1), 90010);
    EXPECT_FALSE(rz48::frameOfLabelText(u"00:00:00:25", 1).has_value());
    EXPECT_FALSE(rz48::frameOfLabelText(u"24:00:00:00", 3).has_value());
    EXPECT_FALSE(rz48::frameOfLabelText(u"00:60:00:00", 3).has_value());
    EXPECT_FALSE(rz48::frameOfLabelText(u"00:00:00/00", 3).has_value());
    EXPECT_FALSE(rz48::frameOfLabelText(u"00:00:00:0", 3).has_value());
    EXPECT_FALSE(rz48::frameOfLabelText(u"00:00:00:00", 4).has_value());
}

TEST(CueFormats, DetectsEachFormat)
{
    EXPECT_EQ(detectFormat(kSession23976, {}), QStringLiteral("protools"));
    EXPECT_EQ(detectFormat(kMidiMarkers, {}), QStringLiteral("midi"));
    EXPECT_EQ(detectFormat(kEdl, {}), QStringLiteral("edl"));
    EXPECT_EQ(detectFormat("001  AX V C 00:00:00:00 00:00:01:00 01:00:00:00 01:00:01:00\n", {}), QStringLiteral("edl"));
    EXPECT_EQ(detectFormat(kVtt, {}), QStringLiteral("vtt"));
    EXPECT_EQ(detectFormat(kSrt, {}), QStringLiteral("srt"));
    EXPECT_EQ(detectFormat(kCsv, {}), QStringLiteral("csv"));
    EXPECT_EQ(detectFormat("a\tb\n", QStringLiteral("/tmp/list.TSV")), QStringLiteral("csv"));
    EXPECT_EQ(detectFormat("editor\t01:00:05:00\tV1\tRed\tFix the cut\t1\n", {}), QStringLiteral("csv"));
    // What the caller reads itself: the cue sheet, any text with times.
    EXPECT_EQ(detectFormat(";duplicate\t0\n;tctype\t3\nA\t01:00:00:00\t\tHi\t\n", {}), QString());
    EXPECT_EQ(detectFormat("Call at 01:00:00:00, dialogue, id\n", {}), QString());
    EXPECT_EQ(detectFormat(QByteArray(), {}), QString());
    const Imported unknown = run(kCsv, -1, QStringLiteral("xml"));
    EXPECT_TRUE(unknown.cues.isEmpty());
    EXPECT_EQ(lines(unknown), QStringList{QStringLiteral("0")});
}

TEST(CueFormats, SessionTextAt23976WithBothTableFormsAndClips)
{
    const Imported a = run(kSession23976, 3);
    EXPECT_EQ(a.format, QStringLiteral("protools"));
    EXPECT_EQ(a.tctype, 0);
    ASSERT_EQ(a.cues.size(), 5);
    EXPECT_EQ(row(a.cues[0]), (QStringList{"", "01:00:10:00", "01:00:12:12", "ANNA", "Where were you?", "{Take=2} $PRI=1", "ADD", "todo"}));
    EXPECT_EQ(row(a.cues[1]), (QStringList{"", "01:00:20:05", "", "ANNA", "Later", "", "", "todo"}));
    EXPECT_EQ(row(a.cues[2]), (QStringList{"", "01:00:30:23", "01:00:31:00", "BEN", "No way.", "", "", "todo"}));
    EXPECT_EQ(row(a.cues[3]), (QStringList{"1", "01:00:00:00", "", "", "Reel start", "first frame", "", "todo"}));
    // 2882880 samples at 48 kHz are 60.06 s: 1440 frames at 23.976 after 00:59:58:00.
    EXPECT_EQ(row(a.cues[4]), (QStringList{"3", "01:00:58:00", "", "BEN", "Bar", "", "FX", "todo"}));
    EXPECT_EQ(lines(a), (QStringList{"17", "27"})); // the min:sec end, the unreadable marker
    EXPECT_TRUE(a.header.contains(QStringLiteral("SESSION NAME: Reel 2 ADR")));

    const Imported b = run(kSessionDrop, 1);
    EXPECT_EQ(b.tctype, 2);
    ASSERT_EQ(b.cues.size(), 2);
    EXPECT_EQ(row(b.cues[0]), (QStringList{"1", "00:59:30;15", "", "", "Hello", "note", "", "todo"}));
    // 60.06 s at 29.97 are 1800 frames after 00:50:00;00 (at 30 they would end on ;04).
    EXPECT_EQ(b.cues[1].cueIn, QStringLiteral("00:51:00;02"));
    EXPECT_TRUE(b.problems.isEmpty());
}

TEST(CueFormats, EdlEventsLocatorsAndMarkers)
{
    const Imported e = run(kEdl, 3);
    EXPECT_EQ(e.format, QStringLiteral("edl"));
    EXPECT_EQ(e.tctype, 2);
    ASSERT_EQ(e.cues.size(), 4);
    EXPECT_EQ(row(e.cues[0]), (QStringList{"001", "01:00:00;00", "01:00:05;00", "", QStringLiteral("Caf\u00e9 scene"), "check sync", "", "todo"}));
    EXPECT_EQ(row(e.cues[1]), (QStringList{"", "01:00:02;10", "", "ANNA", "Not now", "", "", "todo"}));
    EXPECT_EQ(row(e.cues[2]), (QStringList{"002", "01:00:10;00", "", "", "Door slam", "", "", "todo"}));
    EXPECT_EQ(row(e.cues[3]), (QStringList{"003", "01:00:20;00", "01:00:21;00", "BEN", "Hey", "room tone", "", "todo"}));
    EXPECT_EQ(lines(e), (QStringList{"12", "13"}));
    EXPECT_EQ(e.header, QStringList{QStringLiteral("TITLE: Reel 1")});
    // The drop flag only counts for a 30-based list.
    EXPECT_EQ(run(kEdl, 1).tctype, -1);
}

TEST(CueFormats, CsvQuotingEncodingsAndMarkerLists)
{
    const Imported c = run(kCsv, 1);
    EXPECT_EQ(c.mapping, (QStringList{"id", "in", "out", "character", "text", "notes", "reason", "status"}));
    ASSERT_EQ(c.cues.size(), 3);
    EXPECT_EQ(row(c.cues[0]), (QStringList{"A1", "01:00:01:00", "01:00:02:00", "ANNA", "Hello, \"you\"", "", "", "done"}));
    // Milliseconds to the nearest frame (0.480 s is 12 frames at 25); a line break is "\n".
    EXPECT_EQ(row(c.cues[1]), (QStringList{"A2", "01:00:03:12", "", "BEN", "Two\\nlines", "note", "ADD", "todo"}));
    EXPECT_EQ(c.cues[2].cueId, QStringLiteral("A4"));
    EXPECT_EQ(lines(c), (QStringList{"5", "6"})); // no In; a status that is none

    const Imported semi = run("ID;TC;Line\n7;10:00:00:00;Gr\xfc\xdf Gott, Anna\n");
    ASSERT_EQ(semi.cues.size(), 1);
    EXPECT_EQ(semi.cues[0].cueText, QStringLiteral("Gr\u00fc\u00df Gott, Anna"));

    const QString editor = QStringLiteral("Marker Name\tDescription\tIn\tOut\tDuration\tMarker Type\r\n"
                                          "Door\tslam it\t01;00;10;00\t01;00;10;00\t00;00;00;01\tComment\r\n"
                                          "Walla\t\t01;00;12;00\t01;00;14;00\t00;00;02;00\tComment\r\n");
    const QByteArray utf16 = QByteArray("\xFF\xFE") + QByteArray(QStringEncoder(QStringEncoder::Utf16LE)(editor));
    EXPECT_EQ(detectFormat(utf16, {}), QStringLiteral("csv"));
    const Imported m = run(utf16, 3);
    EXPECT_EQ(m.tctype, 2);
    ASSERT_EQ(m.cues.size(), 2);
    EXPECT_EQ(row(m.cues[0]), (QStringList{"", "01:00:10;00", "", "", "Door", "slam it", "", "todo"}));
    EXPECT_EQ(m.cues[1].cueOut, QStringLiteral("01:00:14;00"));
    const QByteArray utf16be = QByteArray("\xFE\xFF") + QByteArray(QStringEncoder(QStringEncoder::Utf16BE)(editor));
    EXPECT_EQ(run(utf16be, 3).cues.size(), 2);

    const Imported h = run("editor\t01:00:05:00\tV1\tRed\tFix the cut\t1\r\neditor\t01:00:07:12\tV1\tGreen\tBreath\t1\r\n", 1);
    EXPECT_EQ(h.mapping.mid(0, 5), (QStringList{"skip", "in", "skip", "skip", "text"}));
    ASSERT_EQ(h.cues.size(), 2);
    EXPECT_EQ(row(h.cues[1]), (QStringList{"", "01:00:07:12", "", "", "Breath", "", "", "todo"}));

    ImportOptions forced;
    forced.columns = QStringList{"text", "in", "skip"};
    forced.fileName = QStringLiteral("x.csv");
    const Imported f = importCues("Hi there,00:00:01:00,zzz\n\"Open,00:00:02:00\n", forced);
    ASSERT_EQ(f.cues.size(), 1);
    EXPECT_EQ(f.cues[0].cueText, QStringLiteral("Hi there"));
    EXPECT_EQ(lines(f), (QStringList{"2", "2"})); // the quote never closed; that row has no In
}

TEST(CueFormats, SubRipAndWebVtt)
{
    const Imported s = run(kSrt, 1, {}, QStringLiteral("01:00:00:00"));
    EXPECT_EQ(s.format, QStringLiteral("srt"));
    ASSERT_EQ(s.cues.size(), 2);
    // 1.5 s are 37.5 frames at 25, rounded to 38; 3.02 s to 76.
    EXPECT_EQ(row(s.cues[0]), (QStringList{"1", "01:00:01:13", "01:00:03:01", "", "Hello there\\nsecond line", "", "", "todo"}));
    EXPECT_EQ(row(s.cues[1]), (QStringList{"2", "01:00:04:00", "01:00:05:00", "", "Top", "", "", "todo"}));
    EXPECT_EQ(lines(s), QStringList{QStringLiteral("11")});
    // At drop-frame the real rate: 60.06 s are 1800 frames.
    EXPECT_EQ(run("1\n00:01:00,060 --> 00:01:01,000\nx\n", 2).cues.value(0).cueIn, QStringLiteral("00:01:00;02"));

    const Imported v = run(kVtt, 0);
    EXPECT_EQ(v.format, QStringLiteral("vtt"));
    ASSERT_EQ(v.cues.size(), 2);
    EXPECT_EQ(row(v.cues[0]), (QStringList{"intro", "00:00:01:00", "00:00:02:00", "Anna", "Hi & bye", "", "", "todo"}));
    EXPECT_EQ(row(v.cues[1]), (QStringList{"", "01:00:03:00", "01:00:04:12", "", "Loud", "", "", "todo"}));
    EXPECT_TRUE(v.problems.isEmpty());
}

TEST(CueFormats, MidiMarkersThroughTheTempoMap)
{
    const Imported m = run(kMidiMarkers, 1);
    EXPECT_EQ(m.tctype, 3);
    ASSERT_EQ(m.cues.size(), 2);
    EXPECT_EQ(row(m.cues[0]), (QStringList{"", "01:00:00:15", "", "", "Intro", "", "", "todo"}));
    EXPECT_EQ(row(m.cues[1]), (QStringList{"", "01:00:02:00", "", "ANNA", "Hello", "", "", "todo"}));
    EXPECT_TRUE(m.problems.isEmpty());
    // Lyrics only, SMPTE division of 25 frames and 40 ticks: tick 1000 is one second.
    const Imported lyric = run(QByteArray::fromHex("4d5468640000000600000001e728" "4d54726b0000000b" "8768ff05026c61" "00ff2f00"));
    EXPECT_EQ(lyric.tctype, 1);
    ASSERT_EQ(lyric.cues.size(), 1);
    EXPECT_EQ(lyric.cues[0].cueIn, QStringLiteral("00:00:01:00"));
    // Cut inside the second track: its marker is read, the cut named by track.
    const Imported cut = run(kMidiMarkers.left(kMidiMarkers.size() - 20), 1);
    EXPECT_EQ(cut.cues.size(), 1);
    ASSERT_FALSE(cut.problems.isEmpty());
    EXPECT_EQ(cut.problems[0].line, 2);
}

TEST(CueFormats, ThePanelsOwnCueTrackReadsBack)
{
    rz48::DiagCapture quiet;
    MidiTrack track;
    CueItem first = cue(QStringLiteral("10000100"), QStringLiteral("Hello"));
    const QByteArray file = track.onExportMidi({first, cue(QStringLiteral("10:00:03:15"), QStringLiteral("ANNA: Hi"))},
                                               QStringLiteral("10:00:00:00"), 1, 0.0, true, false, false);
    const Imported m = run(file, 3);
    EXPECT_EQ(m.tctype, 1);
    ASSERT_EQ(m.cues.size(), 2);
    EXPECT_EQ(row(m.cues[0]), (QStringList{"", "10:00:01:00", "", "", "Hello", "", "", "todo"}));
    EXPECT_EQ(row(m.cues[1]), (QStringList{"", "10:00:03:15", "", "ANNA", "Hi", "", "", "todo"}));
    // Drop-frame with pull-down: ticks per frame, not the slower tempo, give the time.
    const QByteArray pulled = track.onExportMidi({cue(QStringLiteral("01:01:00:02"), QString())},
                                                 QStringLiteral("01:00:00:00"), 2, 0.0, true, true, false);
    const Imported p = run(pulled);
    ASSERT_EQ(p.cues.size(), 1);
    EXPECT_EQ(p.cues[0].cueIn, QStringLiteral("01:01:00;02"));
    EXPECT_EQ(p.cues[0].cueText, QString());
}

TEST(CueFormats, WritersWriteWhatTheyPromise)
{
    CueItem c = cue(QStringLiteral("01000000"), QStringLiteral("Say \"no\", then go"), QStringLiteral("Anna"), QStringLiteral("01:00:02:00"));
    c.cueId = QStringLiteral("7");
    c.status = CueStatus::Omit;
    EXPECT_EQ(writeCsv({c}, 2), QByteArray("id,in,out,character,text,notes,reason,status\r\n"
                                           "7,01:00:00;00,01:00:02;00,Anna,\"Say \"\"no\"\", then go\",,,omit\r\n"));
    EXPECT_EQ(writeEdlLocators({c, cue(QString(), QStringLiteral("no time"))}, 1, QStringLiteral("Reel\n1")),
              QByteArray("TITLE: Reel\\n1\r\nFCM: NON-DROP FRAME\r\n"
                         "\r\n001  AX       V     C        01:00:00:00 01:00:02:00 01:00:00:00 01:00:02:00\r\n"
                         "* LOC: 01:00:00:00 YELLOW ANNA: Say \"no\", then go\r\n"));
    const QByteArray midi = writeMidiMarkers({c}, 1, QStringLiteral("00:59:59:00"));
    EXPECT_EQ(midi.left(14), QByteArray::fromHex("4d546864000000060000000103c0"));
    EXPECT_TRUE(midi.contains(QByteArray::fromHex("00ff5405203b3b0000"))); // 00:59:59:00 at 25 (rate bits 1)
    EXPECT_TRUE(midi.contains(QByteArray::fromHex("8f00ff0617") + "ANNA: Say \"no\", then go")); // 1920 ticks later
}

TEST(CueFormats, RoundTripsKeepTimesTextsAndCharacters)
{
    QList<CueItem> cues = {cue(QStringLiteral("01:00:00;02"), QStringLiteral("First, \"quoted\""), QStringLiteral("ANNA"),
                               QStringLiteral("01:00:03;00")),
                           cue(QStringLiteral("00:59:59;29"), QStringLiteral("Before\\nthe hour"), QString()),
                           cue(QStringLiteral("01:10:00;00"), QStringLiteral("Caf\u00e9 \u2014 last"), QStringLiteral("BEN O'HARA"))};
    cues[0].cueNotes = QStringLiteral("loud");
    cues[0].reason = QStringLiteral("ADD");
    cues[0].status = CueStatus::Done;
    cues[1].cueId = QStringLiteral("X-2");
    const QList<int> inOrder = {1, 0, 2}; // the EDL and MIDI writers put cues in time order
    for (const QByteArray& bytes : {writeEdlLocators(cues, 2, QStringLiteral("T")), writeMidiMarkers(cues, 2, QStringLiteral("00:59:00:00"))}) {
        const Imported back = run(bytes, 3);
        EXPECT_EQ(back.tctype, 2);
        ASSERT_EQ(back.cues.size(), 3);
        for (int i = 0; i < 3; ++i) {
            const CueItem& want = cues[inOrder[i]];
            EXPECT_EQ(back.cues[i].cueIn, want.cueIn) << back.format.toStdString();
            EXPECT_EQ(back.cues[i].cueText, want.cueText) << back.format.toStdString();
            EXPECT_EQ(back.cues[i].character, want.character) << back.format.toStdString();
        }
        EXPECT_TRUE(back.problems.isEmpty());
    }
    EXPECT_EQ(run(writeEdlLocators(cues, 2, {}), 3).cues[1].cueOut, QStringLiteral("01:00:03;00"));
    const Imported csv = run(writeCsv(cues, 2), 3);
    EXPECT_EQ(csv.format, QStringLiteral("csv"));
    ASSERT_EQ(csv.cues.size(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(row(csv.cues[i]), row(cues[i]));
    EXPECT_TRUE(csv.problems.isEmpty());
}

TEST(CueFormats, DamagedInputNeverGivesACueWithoutATime)
{
    const QByteArray fixtures[] = {kSession23976, kSessionDrop, kEdl, kCsv, kSrt, kVtt, kMidiMarkers};
    for (const QByteArray& whole : fixtures)
        for (qsizetype cutAt = 0; cutAt <= whole.size(); cutAt += 7) {
            QByteArray bytes = whole.left(cutAt);
            if (cutAt % 2)
                bytes.append('\x80');
            for (const QString& name : readerNames())
                for (const CueItem& c : run(bytes, int(cutAt % 4), name).cues)
                    ASSERT_FALSE(c.cueIn.isEmpty()) << name.toStdString() << " cut at " << cutAt;
        }
}

} // namespace
