#include "codecs/PunchCodec.h"
#include "codecs/StreamerCodec.h"

#include <gtest/gtest.h>

using namespace rz48::codecs;

namespace {

TEST(StreamerCodec, CommandOfThePartsExample)
{
    StreamerSettings s;
    s.width = 40;
    s.duration = 100;
    s.top = 255;
    s.bottom = 0;
    EXPECT_EQ(streamerCommand(s), QStringLiteral("C 0 28 0 64 0 ff ff 0"));
    for (auto& c : s.colors)
        c = {0, 0, 0};
    EXPECT_EQ(streamerCommand(s), QStringLiteral("C 7fff 28 0 64 0 ff ff 0"));
}

TEST(StreamerCodec, HalfCountsAsOn)
{
    EXPECT_EQ(colorBits({0.5, 0.5, 0.5}), 0u);
    EXPECT_EQ(colorBits({0.49, 0.49, 0.49}), 7u);
    EXPECT_EQ(colorBits({1, 0, 1}), 4u);   // purple: green off
    EXPECT_EQ(colorBits({1, 1, 0}), 1u);   // yellow: blue off
    EXPECT_EQ(colorFromBits(2), (Rgb {0, 1, 1})); // red off: cyan
    std::array<Rgb, 5> colors;
    colors[4] = {0, 0, 1}; // end bar blue: green and red off
    EXPECT_EQ(packColors(colors), 6u << 12);
    EXPECT_EQ(unpackColors<5>(6u << 12)[4], (Rgb {0, 0, 1}));
}

TEST(StreamerCodec, ReportAndShortReports)
{
    StreamerSettings s;
    uint32_t scratch = 0;
    readStreamerReport(QStringLiteral("C 7fff 28 0 64 0 ff ff 0"), scratch, s);
    EXPECT_EQ(s.width, 40);
    EXPECT_EQ(s.duration, 100);
    EXPECT_EQ(s.top, 255);
    EXPECT_EQ(s.bottom, 0);
    for (const Rgb& c : s.colors)
        EXPECT_EQ(c, (Rgb {0, 0, 0}));
    // A short report repeats the last field read into the later controls.
    readStreamerReport(QStringLiteral("C 0 30"), scratch, s);
    EXPECT_EQ(s.width, 0x30);
    EXPECT_EQ(s.duration, 0x30);
    EXPECT_EQ(s.transparency, 0x30);
    EXPECT_EQ(s.bottom, 255 - 0x30);
    EXPECT_EQ(s.colors[0], (Rgb {1, 1, 1}));
}

TEST(PunchCodec, CommandOfThePartsExample)
{
    PunchSettings p;
    p.durationFrames = 5;
    p.repeatSeconds = 100;
    p.repeatCount = 3;
    p.enables = 1;
    EXPECT_EQ(punchCommand(p), QStringLiteral("E 0 70 77 87 5 64 3 1"));
    p.reverse = {true, false, false, true};
    p.colors[1] = {0, 0, 0};
    EXPECT_TRUE(punchCommand(p).startsWith(QStringLiteral("E 9038 ")));
}

TEST(PunchCodec, CornerAndReciprocalSize)
{
    PunchSettings p;
    p.x = 64;
    p.y = 64; // clamped bottom-left corner, radius 64
    EXPECT_EQ(punchCommand(p), QStringLiteral("E 0 0 ee 87 0 0 0 0"));
    p.radius = 20;
    EXPECT_TRUE(punchCommand(p).contains(QStringLiteral(" ff 0 0 0 0")));
    // The reciprocal of the radius, truncated: 8640 / 95 = 90, 8640 / 300 = 28.
    p.radius = 95;
    EXPECT_TRUE(punchCommand(p).contains(QStringLiteral(" 5a 0 0 0 0")));
    p.radius = 300;
    EXPECT_TRUE(punchCommand(p).contains(QStringLiteral(" 1c 0 0 0 0")));
    p.x = 1e300; // never overflows
    p.y = -1e300;
    EXPECT_TRUE(punchCommand(p).startsWith(QStringLiteral("E 0 ")));
}

TEST(PunchCodec, ReportFieldsUpToTheFirstMissingOne)
{
    const PunchReport full = readPunchReport(QStringLiteral("E 0 70 77 87 5 64 3 1"));
    for (const auto& f : full.fields)
        EXPECT_TRUE(f.has_value());
    EXPECT_EQ(*full.fields[3], 0x87u);
    const PunchReport shortOne = readPunchReport(QStringLiteral("E 1f 2 zz 4"));
    EXPECT_EQ(*shortOne.fields[0], 0x1fu);
    EXPECT_EQ(*shortOne.fields[1], 2u);
    EXPECT_FALSE(shortOne.fields[2].has_value());
    EXPECT_FALSE(shortOne.fields[3].has_value());
}

} // namespace
