// Each page family from a report line to its settings and on to the command
// the page sends, beside what a setup file makes of the same line: the two
// agree wherever the page can hold what was reported, and where it cannot
// (or the line is short) each says literally what it does instead.
#include "codecs/MainTabCodec.h"
#include "codecs/OverlayCodec.h"
#include "codecs/ProtocolLetters.h"
#include "codecs/PunchCodec.h"
#include "codecs/ReportFields.h"
#include "codecs/SetupFile.h"
#include "codecs/StreamerCodec.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

#include <optional>

using rz48::setup::commandFromReport;

namespace {

struct Case {
    const char* report;
    const char* sent;  // what the page sends from the settings the report left
    const char* setup; // what a setup file makes of the report, or nullptr for nothing
};

std::optional<QString> setupOf(const char* setup)
{
    return setup ? std::optional<QString>(QLatin1String(setup)) : std::nullopt;
}

// The main tab reads its reports in the bases the letter table gives, a
// missing field repeating the last one read (the scratch the window's
// reader keeps across lines).
TEST(RoundTrip, MainTab)
{
    rz48::FieldScratch scratch;
    rz48::maintab::Settings s;
    const Case cases[] = {
        {"A 5", "A 5", "A 5"},
        {"A d", "A d", "A d"},
        {"A 3", "A 2", "A 3"},      // reference 3 is Auto to the tab
        {"G 2", "G 2", "G 2"},
        {"G 11", "G 1", "G 17"},    // hexadecimal; only bars and grey scale are kept
        {"H -5 1500 7 1920 40", "H -5 1500 7 1920 40", "H -5 1500 7 1920 40"},
        {"H 1 2", "H 1 2 2 2 2", nullptr}, // the last field read stands for the missing ones
        {"J -25", "J -25", "J -25"},
        {"M 15", "M 15", "M 15"},
        {"Q 1", "Q 1", "Q 1"},
        {"X 11", "X 11", "X 11"},
        {"X 16", "X 0", "X 16"},    // no enable of its own
        {"Y 3", "Y 3", "Y 3"},      // hexadecimal in, decimal out
    };
    for (const Case& c : cases) {
        const QString line = QLatin1String(c.report);
        rz48::ReportFields fields(line, scratch);
        rz48::maintab::readReport(line, fields, s);
        const QString sent = rz48::maintab::commandOf(c.report[0], s);
        EXPECT_EQ(sent, QLatin1String(c.sent)) << c.report;
        EXPECT_EQ(commandFromReport(QLatin1String(c.report)), setupOf(c.setup)) << c.report;
    }
}

TEST(RoundTrip, Streamer)
{
    rz48::codecs::StreamerSettings s;
    uint32_t scratch = 0;
    const Case cases[] = {
        // The reserved field goes as 0 both ways.
        {"C 7fff 28 5 ffffffff 1f4 c0 10 22", "C 7fff 28 0 ffffffff 1f4 c0 10 22", "C 7fff 28 0 ffffffff 1f4 c0 10 22"},
        // Width beyond 1920 and top beyond 255 are held at the page's ends; a
        // bottom field beyond 255 is a bottom below 0.
        {"C 0 800 0 64 0 1ff 100 0", "C 0 780 0 64 0 ff ff 0", "C 0 800 0 64 0 1ff 100 0"},
        // A short report: the last field read stands for the missing ones.
        {"C 1c0 30", "C 1c0 30 0 30 30 30 30 30", nullptr},
    };
    for (const Case& c : cases) {
        rz48::codecs::readStreamerReport(QLatin1String(c.report), scratch, s);
        EXPECT_EQ(rz48::codecs::streamerCommand(s), QLatin1String(c.sent)) << c.report;
        EXPECT_EQ(commandFromReport(QLatin1String(c.report)), setupOf(c.setup)) << c.report;
    }
}

TEST(RoundTrip, Punch)
{
    rz48::codecs::PunchSettings s;
    const Case cases[] = {
        {"E 0 70 77 87 5 64 3 1", "E 0 70 77 87 5 64 3 1", "E 0 70 77 87 5 64 3 1"},
        {"E c19d 10 20 87 1ff 2710 100 e", "E c19d 10 20 87 1ff 2710 100 e", "E c19d 10 20 87 1ff 2710 100 e"},
        // A y far below the picture wraps round and comes back inside at the top;
        // enable bits above the four are dropped.
        {"E 0 0 ffff 87 5 64 3 3f", "E 0 0 0 87 5 64 3 f", "E 0 0 ffff 87 5 64 3 3f"},
        // Size 0 keeps the radius (64); the other missing fields keep theirs.
        {"E 0 70 77 0", "E 0 70 77 87 5 64 3 f", nullptr},
        // A radius above 540 (8640 / 8 = 1080) is held at 540; the centre,
        // worked out with 1080, is (1080, 0), and kept inside it is (1080, 540).
        {"E 0 0 0 8 0 0 0 0", "E 0 43 0 10 0 0 0 0", "E 0 0 0 8 0 0 0 0"},
    };
    for (const Case& c : cases) {
        rz48::codecs::readPunchReport(QLatin1String(c.report), s);
        EXPECT_EQ(rz48::codecs::punchCommand(s), QLatin1String(c.sent)) << c.report;
        EXPECT_EQ(commandFromReport(QLatin1String(c.report)), setupOf(c.setup)) << c.report;
    }
    EXPECT_EQ(s.radius, 540);
}

// The positions go as the settings hold them; the page replaces them with
// where its preview places each box (test_overlay.cpp).
TEST(RoundTrip, Overlay)
{
    namespace overlay = rz48::overlay;
    overlay::OverlaySettings s;
    const auto apply = [&s](const char* report) {
        const QString line = QLatin1String(report);
        switch (report[0]) {
        case 'U':
            overlay::readAnnunciatorReport(line, s);
            return overlay::annunciatorCommand(s);
        case 'm':
            overlay::readTimecodeReport(line, s);
            return overlay::timecodeCommand(s);
        case 'r':
            overlay::readTextReport(line, s);
            return overlay::textParamsCommand(s);
        case 't':
            overlay::readAnnunciatorColorsReport(line, s);
            return overlay::annunciatorColorsCommand(s);
        default:
            overlay::readProtocolReport(line, s);
            return overlay::comCommand(s);
        }
    };
    const Case cases[] = {
        {"U 1 0 6 104 240 1", "U 1 0 6 104 240 1", "U 1 0 6 104 240 1"},
        // Colours and sizes beyond the lists go back as reported; a mode beyond them as off.
        {"U 7 12 -1 104 240 9", "U 0 12 -1 104 240 9", "U 7 12 -1 104 240 9"},
        {"U 2 3", "U 2 3 -1 104 240 9", nullptr},
        {"m 134 10 20 195", "m 134 10 20 195", "m 134 10 20 195"},
        {"m 15 10 20 7", "m 7 10 20 7", "m 15 10 20 7"},    // three bits of size, bit 7 visible
        {"r 6 30 40 35", "r 2 30 40 35", "r 6 30 40 35"},     // two bits of size
        {"r -1", "r 3 30 40 35", nullptr},
        {"t 60 52 7", "t 60 52 7", "t 60 52 7"},
        {"t ffffffff 0 0", "t ffffffff 0 0", "t ffffffff 0 0"},
        {"t 1f", "t 1f 0 0", nullptr},
        {"n 1", "n 1", "n 1"},
        {"n 5", "n 0", "n 5"},
        {"n", "n 0", nullptr},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(apply(c.report), QLatin1String(c.sent)) << c.report;
        EXPECT_EQ(commandFromReport(QLatin1String(c.report)), setupOf(c.setup)) << c.report;
    }
    // A reported pair goes back whole until either side is chosen.
    apply("m 134 10 20 195");
    EXPECT_EQ(s.timecodeColors.text, 3);
    EXPECT_EQ(s.timecodeColors.box, 12);
    s.timecodeColors.choose(false, 6);
    EXPECT_EQ(overlay::timecodeCommand(s), QStringLiteral("m 134 10 20 99"));
    // "U" sets the rehearse pair's sides; "t" then the whole pair.
    apply("U 1 3 5 0 0 0");
    EXPECT_EQ(overlay::annunciatorColorsCommand(s), QStringLiteral("t 53 0 0"));
    EXPECT_EQ(apply("t 7f"), QStringLiteral("t 7f 0 0"));
    EXPECT_EQ(overlay::annunciatorCommand(s), QStringLiteral("U 1 7 7 0 0 0"));
}

} // namespace
