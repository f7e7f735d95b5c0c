// The pre-flight check: each kind of finding on a small list of its own,
// with its row and severity, and a clean list with none.
#include "cuelist/CueCheck.h"

#include <gtest/gtest.h>

namespace rz48::cuecheck {
// Failures print a finding as its line.
void PrintTo(const Finding& f, std::ostream* out)
{
    *out << findingLine(f).toStdString();
}
} // namespace rz48::cuecheck

using namespace rz48::cuecheck;

namespace {

CueItem cue(const char* in, const char* out = "", const QString& text = QStringLiteral("text"))
{
    CueItem c;
    c.cueIn = QLatin1String(in);
    c.cueOut = QLatin1String(out);
    c.cueText = text;
    return c;
}

rz48::cuesheet::Options type(int tctype, bool duplicate = false, bool midnight = false)
{
    rz48::cuesheet::Options o;
    o.tctype = tctype;
    o.duplicate = duplicate;
    o.midnight = midnight;
    return o;
}

TEST(CueCheck, EachFindingWithItsRowAndSeverity)
{
    const auto E = Severity::Error;
    const auto W = Severity::Warning;
    const struct {
        const char* what;
        QList<CueItem> cues;
        rz48::cuesheet::Options options;
        QList<Finding> expected;
        double streamerSeconds = 0;
    } cases[] = {
        {"a clean list", {cue("01000000", "01000500"), cue("01001000")}, type(1), {}},
        {"a time that is not one", {cue("01000000"), cue("00009999")}, type(1), {{2, E, "In time \"00:00:99:99\" is not a time at 25 fps"}}},
        {"frame 25 at 25 fps", {cue("01000000", "01000025")}, type(1), {{1, E, "Out time \"01:00:00:25\" is not a time at 25 fps"}}},
        {"Out before In", {cue("01000000", "00590000")}, type(1), {{1, E, "Out 00:59:00:00 is before In 01:00:00:00"}}},
        {"no In", {cue("01000000"), cue(""), cue("01001000")}, type(3),
         {{2, E, "no In time: Send In/Outs stops here, and sends no cue from here on"}}},
        {"a note longer than the gap at 30 fps", {cue("01000000"), cue("01000001")}, type(3),
         {{1, E, "the MIDI note (800 ticks) is longer than the 1-frame gap to row 2 (640 ticks): the next delta wraps to hours"}}},
        {"one frame apart at 24 fps is just long enough", {cue("01000000"), cue("01000001")}, type(0), {}},
        {"a delta that wraps", {cue("01000000"), cue("05000000")}, type(3),
         {{2, E, "432000 after row 1: more than a MIDI delta holds (about 3 h 53 min), so it wraps"}}},
        {"a timecode type outside 0 to 3", {cue("01000000")}, type(9), {{0, E, "timecode type 9 is not one of 0 to 3 (24, 25, 30 drop-frame, 30 fps)"}}},
        {"overlap", {cue("01000000", "01000600"), cue("01000500")}, type(1),
         {{1, W, "its Out is after the In of row 2: the cues overlap"}}},
        {"closer than the streamer", {cue("01000000"), cue("01000100")}, type(1),
         {{2, W, "25 frames after row 1, less than the streamer duration (50 frames): the unit's streamers overlap"}}, 2.0},
        {"text the unit gets cut", {cue("01000000", "", QString(252, u'x'))}, type(1),
         {{1, W, "text of 252 characters: the unit gets the first 251"}}},
        {"text the MIDI file gets cut", {cue("01000000", "", QString(216, u'x'))}, type(1),
         {{1, W, "text of 216 characters: the MIDI file holds the first 215"}}},
        {"not Latin-1", {cue("01000000", "", QStringLiteral("caf\u00e9 \u20ac"))}, type(1),
         {{1, W, "characters outside Latin-1 become \"?\" on the unit and in the MIDI file"}}},
        {"duplicate In times", {cue("01000000"), cue("01001000"), cue("01000000")}, type(1, true),
         {{3, W, "same In time as row 1: the duplicate stage of the sort removes it"}}},
        {"midnight without its option", {cue("23500000"), cue("00100000")}, type(1),
         {{0, W, "rows 2 and 1 are more than 13 hours apart: the list seems to cross midnight, and the midnight option is off"}}},
        {"midnight with its option", {cue("23500000"), cue("00100000")}, type(1, false, true), {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(checkCueList(c.cues, c.options, c.streamerSeconds), c.expected) << c.what;
}

TEST(CueCheck, LinesSummaryAndJson)
{
    const QList<Finding> findings {{0, Severity::Warning, QStringLiteral("whole list")}, {3, Severity::Error, QStringLiteral("bad \"time\"")}};
    EXPECT_EQ(findingLine(findings[1]), QStringLiteral("3: error: bad \"time\""));
    EXPECT_EQ(summary(findings, 4), QStringLiteral("1 error, 1 warning in 4 cues"));
    EXPECT_EQ(summary({}, 1), QStringLiteral("0 errors, 0 warnings in 1 cue"));
    EXPECT_EQ(QString::fromUtf8(findingsJson(findings)).simplified(),
              QStringLiteral("[ { \"message\": \"whole list\", \"row\": 0, \"severity\": \"warning\" }, "
                             "{ \"message\": \"bad \\\"time\\\"\", \"row\": 3, \"severity\": \"error\" } ]"));
}

} // namespace
