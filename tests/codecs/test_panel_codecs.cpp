// Main tab commands, report scanning, version comparison, text values and setup files.
#include "common/FieldScanner.h"
#include "common/TextValue.h"
#include "codecs/MainTabCodec.h"
#include "codecs/SetupFile.h"
#include "codecs/VersionCheck.h"

#include <clocale>
#include <cstdlib>

#include <gtest/gtest.h>

using namespace rz48;
using namespace rz48::maintab;

namespace {

TEST(MainTabCommands, RateBitsBothWays)
{
    EXPECT_EQ(rateCommand({Pulldown, true, false}), QStringLiteral("A 5"));
    EXPECT_EQ(rateCommand({Auto, false, true}), QStringLiteral("A a"));
    EXPECT_EQ(rateCommand({Flat, false, false}), QStringLiteral("A 0"));
    const Rate three = rateFromReport(3);
    EXPECT_EQ(three.reference, Auto);
    EXPECT_EQ(rateFromReport(2).reference, Auto);
    const Rate eight = rateFromReport(8);
    EXPECT_EQ(eight.reference, Flat);
    EXPECT_TRUE(eight.hdmiPriority);
    EXPECT_FALSE(eight.endPunch);
    EXPECT_TRUE(rateFromReport(0xd).endPunch);
}

TEST(MainTabCommands, OtherCommands)
{
    EXPECT_EQ(barsCommand({true, true}), QStringLiteral("G 3"));
    EXPECT_TRUE(barsFromReport(2).gray);
    EXPECT_FALSE(barsFromReport(2).bars);
    EXPECT_EQ(maskingCommand({1, 2, 3, 4, -5}), QStringLiteral("H 1 2 3 4 -5"));
    EXPECT_EQ(popCommand({false, false, true, false}), QStringLiteral("X 4"));
    EXPECT_EQ(popCommand({false, false, false, true}), QStringLiteral("X 8"));
    const PopEnables pop = popFromReport(0xb);
    EXPECT_TRUE(pop.streamerAccum && pop.punch && !pop.streamer && pop.ltc);
    EXPECT_EQ(generatorCommand(15), QStringLiteral("M 15"));
    EXPECT_EQ(bypassCommand(true), QStringLiteral("Q 1"));
    EXPECT_EQ(colorSpaceCommand(10), QStringLiteral("Y 10")); // decimal, though the report is hexadecimal
    EXPECT_EQ(hdmiTimingCommand(false), QStringLiteral("N 0"));
}

TEST(MainTabCommands, TrimIsShownDividedBy50AndTruncatedBack)
{
    EXPECT_EQ(trimDisplayValue(25), 0.5);
    EXPECT_EQ(trimFromDisplayValue(0.5), 25);
    EXPECT_EQ(trimFromDisplayValue(0.51), 25);
    EXPECT_EQ(trimFromDisplayValue(-0.51), -25); // toward zero
    EXPECT_EQ(trimFromDisplayValue(0.58), 29);
    // Every value a report can set reads back as itself from the field's text.
    for (int n = -5000; n <= 5000; ++n)
        ASSERT_EQ(trimFromDisplayValue(doubleValue(QString::number(trimDisplayValue(n)))), n) << n;
    EXPECT_EQ(trimFromDisplayValue(1e300), INT_MAX);
    EXPECT_EQ(trimFromDisplayValue(std::nan("")), 0);
}

TEST(FieldScanner, ReadsFieldsAndStopsAtGarbage)
{
    FieldScanner scan(QStringLiteral("H 12 -3 x 4"));
    int32_t v = 99;
    EXPECT_TRUE(scan.scanInt(v));
    EXPECT_EQ(v, 12);
    EXPECT_TRUE(scan.scanInt(v));
    EXPECT_EQ(v, -3);
    EXPECT_FALSE(scan.scanInt(v)); // stuck before the x
    EXPECT_EQ(v, -3);
    EXPECT_FALSE(scan.atEnd());

    FieldScanner bare(QStringLiteral("A"));
    EXPECT_TRUE(bare.atEnd()); // the letter is never read as a field

    FieldScanner hex(QStringLiteral("k 0xfc00 ffffffffff  "));
    uint32_t h = 0;
    EXPECT_TRUE(hex.scanHex(h));
    EXPECT_EQ(h, 0xfc00u);
    EXPECT_TRUE(hex.scanHex(h));
    EXPECT_EQ(h, 0xffffffffu); // saturates
    EXPECT_TRUE(hex.atEnd());

    FieldScanner big(QStringLiteral("J 99999999999"));
    EXPECT_TRUE(big.scanInt(v));
    EXPECT_EQ(v, INT_MAX);
}

TEST(VersionCheck, ComparesTheFirstDottedVersion)
{
    const QString min = QStringLiteral("3.32.6");
    EXPECT_TRUE(compareVersions(QStringLiteral("k fc00 3f RZ-48 micro 3.32.5"), min)->tooOld);
    EXPECT_FALSE(compareVersions(QStringLiteral("k fc00 3f 3.32.6"), min)->tooOld);
    EXPECT_FALSE(compareVersions(QStringLiteral("k fc00 3f 4.0.0"), min)->tooOld);
    EXPECT_EQ(compareVersions(QStringLiteral("k fc00 3f 4.0.0"), min)->current, QStringLiteral("4.0.0"));
    EXPECT_FALSE(compareVersions(QStringLiteral("k fc00 3f no version"), min).has_value());
    // The minimum is read whole: only its first three integers count.
    EXPECT_TRUE(compareVersions(QStringLiteral("k 1 2 3.32.5"), QStringLiteral("3.32.6 or later")).value().tooOld);
    EXPECT_EQ(versionValue(QStringLiteral("3.32.6")), 33206);
    EXPECT_EQ(firstDottedVersion(QStringLiteral("v 123.45.678")), QStringLiteral("23.45.67"));
}

TEST(TextValue, ReadsLeadingNumbers)
{
    EXPECT_EQ(intValue(QStringLiteral("  42abc")), 42);
    EXPECT_EQ(intValue(QStringLiteral("-7")), -7);
    EXPECT_EQ(intValue(QStringLiteral("abc")), 0);
    EXPECT_EQ(intValue(QStringLiteral("99999999999")), INT_MAX);
    EXPECT_EQ(doubleValue(QStringLiteral(" 0.51x")), 0.51);
    EXPECT_EQ(doubleValue(QString()), 0.0);
    EXPECT_EQ(doubleValue(QStringLiteral("-1.5e1")), -15.0);
    EXPECT_EQ(doubleValue(QStringLiteral("+.25")), 0.25);
    EXPECT_EQ(doubleValue(QStringLiteral("--1")), 0.0);
}

// Typed seconds read the same under a decimal-comma locale (made by scripts/setup).
TEST(TextValue, DecimalPointInADecimalCommaLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
        GTEST_SKIP() << "no de_DE.UTF-8 locale here (scripts/setup makes it)";
    const double comma = std::strtod("1,5", nullptr); // the locale is really in force
    EXPECT_EQ(doubleValue(QStringLiteral("1.99")), 1.99);
    EXPECT_EQ(doubleValue(QStringLiteral("0.29")), 0.29);
    EXPECT_EQ(doubleValue(QStringLiteral("1,99")), 1.0); // a comma ends the number
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(comma, 1.5);
}

} // namespace

namespace {

// A report becomes the command that sets it: each field read in the
// report's base and written in the command's.
TEST(SetupFile, ReportsBecomeTheirCommands)
{
    using rz48::setup::commandFromReport;
    const std::pair<const char*, const char*> cases[] = {
        {"G 11", "G 17"},                                                 // reported in hexadecimal, set in decimal
        {"Y a", "Y 10"},                                                  // the same
        {"C 7fff 28 5 ffffffff 1f4 c0 10 22", "C 7fff 28 0 ffffffff 1f4 c0 10 22"}, // the reserved field goes as 0
        {"H -5 1500 7 1920 40", "H -5 1500 7 1920 40"},
        {"t 3c 34 7", "t 3c 34 7"},
        {"m 129 96 8 112", "m 129 96 8 112"},
    };
    for (const auto& [report, command] : cases)
        EXPECT_EQ(commandFromReport(QLatin1String(report)), std::optional<QString>(QLatin1String(command))) << report;
    for (const char* incomplete : {"E 1 2", "U 1 0 6 104 240", "B RZ-48 C190", "V text", "A"})
        EXPECT_EQ(commandFromReport(QLatin1String(incomplete)), std::nullopt) << incomplete;
}

TEST(SetupFile, ReadingRefusesWhatIsNotASettingWithItsLine)
{
    rz48::setup::Setup setup;
    int line = 0;
    QString why;
    ASSERT_TRUE(rz48::setup::parseSetup("# saved today\n\nA 02\r\nG 17\n# note\n", setup, &line, &why));
    EXPECT_EQ(setup.lines, (QStringList {QStringLiteral("A 2"), QStringLiteral("G 17")}));
    EXPECT_EQ(setup.comments, (QStringList {QStringLiteral("saved today"), QStringLiteral("note")}));
    // Each setting is named above it; those names are not read back as the setup's comments.
    const QByteArray saved = rz48::setup::formatSetup(setup);
    EXPECT_EQ(saved, QByteArray("# saved today\n# note\n# Reference: Reference, Punch at streamer end, Priority\nA 2\n"
                                "# Test signals: Colour bars, Grey scale\nG 17\n"));
    rz48::setup::Setup again;
    ASSERT_TRUE(rz48::setup::parseSetup(saved, again, &line, &why));
    EXPECT_EQ(again.comments, setup.comments);
    EXPECT_EQ(rz48::setup::formatSetup(again), saved);
    // CR-only line ends, the field ranges' ends.
    ASSERT_TRUE(rz48::setup::parseSetup("# cr\rH -2147483648 2147483647 0 0 0\rt ffffffff 0 0\r", setup, &line, &why)) << why.toStdString();
    EXPECT_EQ(setup.lines, (QStringList {QStringLiteral("H -2147483648 2147483647 0 0 0"), QStringLiteral("t ffffffff 0 0")}));
    EXPECT_EQ(setup.comments, QStringList {QStringLiteral("cr")});
    const std::tuple<const char*, int, const char*> refused[] = {
        {"A 2\nG 1f\n", 2, "\"G\" takes 1 decimal number"},
        {"# x\nH 1 2 3 4\n", 2, "\"H\" takes 5 decimal numbers"},
        {"t 1 2 3 4\n", 1, "\"t\" takes 3 hexadecimal numbers"},
        {"A 2\n\nZ 1\n", 3, "not a setting command (a setup has lines for ACEGHJMQUXYmnrt)"},
        {"V hello\n", 1, "not a setting command (a setup has lines for ACEGHJMQUXYmnrt)"},
        // Beyond a field's 32 bits: refused, never saturated to another value.
        {"A 2\rH 99999999999 0 0 0 0\r", 2, "99999999999 is outside a field's range, -2147483648 to 2147483647"},
        {"H 0 -2147483649 0 0 0\n", 1, "-2147483649 is outside a field's range, -2147483648 to 2147483647"},
        {"t 1 2 100000000\n", 1, "100000000 is beyond the largest value of a field, ffffffff"},
        // Nothing to send is no setup.
        {"# a comment\r\r\n", 0, "no setting line (a setup has lines for ACEGHJMQUXYmnrt)"},
        {"\n# only comments\n", 0, "no setting line (a setup has lines for ACEGHJMQUXYmnrt)"},
    };
    for (const auto& [text, badLine, reason] : refused) {
        EXPECT_FALSE(rz48::setup::parseSetup(text, setup, &line, &why)) << text;
        EXPECT_EQ(line, badLine) << text;
        EXPECT_EQ(why, QLatin1String(reason)) << text;
    }
}

} // namespace
