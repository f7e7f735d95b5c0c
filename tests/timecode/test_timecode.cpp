#include "timecode/TCFormatter.h"
#include "timecode/TcCalculator.h"

#include <gtest/gtest.h>

namespace {

const TcCalculator tcc;

TEST(TcCalculator, Validity)
{
    EXPECT_TRUE(tcc.isTc(QStringLiteral("23:59:59:29")));
    EXPECT_FALSE(tcc.isTc(QStringLiteral("24:00:00:00")));
    EXPECT_FALSE(tcc.isTc(QStringLiteral("12:00:00:30")));
    EXPECT_FALSE(tcc.isTc(QStringLiteral(" 12:00:00:00")));
    EXPECT_FALSE(tcc.isTc(QStringLiteral("12:00:00;00")));
    EXPECT_FALSE(tcc.isTc(QStringLiteral("---")));
    EXPECT_EQ(tcc.findFirstTc(QStringLiteral("cue at 01:02:03:04 and 05:06:07:08")), QStringLiteral("01:02:03:04"));
    EXPECT_FALSE(tcc.findFirstTc(QStringLiteral("no time")).has_value());
    EXPECT_EQ(tcc.hrsToBinary(QStringLiteral("13:00:00:00")), 13);
    EXPECT_EQ(tcc.hrsToBinary(QStringLiteral("13000000")), 0);
}

TEST(TcCalculator, DropFrameBothWays)
{
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("01:00:00:00"), 2), 107892);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:10:00:00"), 2), 17982);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:01:00:00"), 2), 1798);
    // Inside a minute: 90 s and 15 frames, less the 2 frames dropped at 00:01;
    // 754 s and 5 frames less 18 (the ten-minute step) and 4 (00:11, 00:12).
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:01:30:15"), 2), 2713);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:12:34:05"), 2), 22603);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:12:34:05"), 3), 22625); // 30 fps drops nothing
    EXPECT_EQ(tcc.binaryToTc(2713, 2), QStringLiteral("00:02:30:15"));
    // The reverse conversion is the unit's own and is not the inverse.
    EXPECT_EQ(tcc.binaryToTc(1800, 2), QStringLiteral("00:02:00:02"));
    EXPECT_EQ(tcc.binaryToTc(3596, 2), QStringLiteral("00:03:00:00"));
    EXPECT_EQ(tcc.binaryToTc(17982, 2), QStringLiteral("00:10:00:00"));
    EXPECT_EQ(tcc.binaryToTc(107892, 2), QStringLiteral("01:00:00:00"));
}

TEST(TcCalculator, OtherTypesAndTheDayWrap)
{
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("01:00:00:00"), 0), 86400);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("00:00:01:05"), 1), 30);
    EXPECT_EQ(tcc.tcToBinary(QStringLiteral("garbage"), 3), 0);
    EXPECT_EQ(tcc.binaryToTc(-1, 3), QStringLiteral("23:59:59:29"));
    EXPECT_EQ(tcc.binaryToTc(2592000, 3), QStringLiteral("24:00:00:00"));
    EXPECT_EQ(tcc.binaryToTc(2592001, 3), QStringLiteral("00:00:00:01"));
    EXPECT_EQ(tcc.binaryToTc(2 * 2592000, 3), QStringLiteral("24:00:00:00"));
    EXPECT_EQ(tcc.binaryToTc(-2073600 * 3 - 24, 0), QStringLiteral("23:59:59:00"));
    EXPECT_EQ(tcc.binaryToTc(1, 1), QStringLiteral("00:00:00:01"));
    EXPECT_EQ(tcc.subtractTc(QStringLiteral("01:00:00:00"), QStringLiteral("01:00:01:00"), 3), QStringLiteral("00:00:01:00"));
    EXPECT_EQ(tcc.subtractTc(QStringLiteral("00:00:01:00"), QStringLiteral("00:00:00:00"), 3), QStringLiteral("23:59:59:00"));
}

TEST(TcCalculator, ComparisonAcrossMidnight)
{
    EXPECT_EQ(tcc.compareTc(QStringLiteral("00:00:01:00"), QStringLiteral("23:59:59:00"), 3), 1);
    EXPECT_EQ(tcc.compareTc(QStringLiteral("23:59:59:00"), QStringLiteral("00:00:01:00"), 3), -1);
    EXPECT_EQ(tcc.compareTc(QStringLiteral("10:00:00:00"), QStringLiteral("10:00:00:00"), 1), 0);
    EXPECT_EQ(tcc.compareTc(QStringLiteral("01:00:00:00"), QStringLiteral("11:00:00:00"), 3), -1);
    // Thirteen hours apart: the later one counts as before, across midnight.
    EXPECT_EQ(tcc.compareTc(QStringLiteral("01:00:00:00"), QStringLiteral("14:00:00:00"), 3), 1);
}

TEST(TCFormatter, Forms)
{
    EXPECT_EQ(TCFormatter::stringForObjectValue(QStringLiteral("01020304")), QStringLiteral("01:02:03:04"));
    EXPECT_EQ(TCFormatter::stringForObjectValue(QString()), QStringLiteral("---"));
    EXPECT_EQ(TCFormatter::stringForObjectValue(QStringLiteral("0")), QStringLiteral("---"));
    EXPECT_EQ(TCFormatter::stringForObjectValue(QStringLiteral("10:00:00;12")), QStringLiteral("10:00:00:12"));
    EXPECT_EQ(TCFormatter::getObjectValue(QStringLiteral("10:00:00:00")), QStringLiteral("10000000"));
    EXPECT_EQ(TCFormatter::getObjectValue(QStringLiteral("1:2")), QStringLiteral("00000012"));
    EXPECT_EQ(TCFormatter::getObjectValue(QStringLiteral("123456789")), QStringLiteral("23456789"));
}

} // namespace
