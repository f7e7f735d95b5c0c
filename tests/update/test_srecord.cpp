#include "update/SRecord.h"

#include <gtest/gtest.h>

namespace {

TEST(SRecord, ParsesTheTerminator)
{
    SRecord r;
    ASSERT_EQ(r.setSRec(QStringLiteral("S9030000FC")), 0);
    EXPECT_EQ(r.recType(), 9u);
    EXPECT_EQ(r.address(), 0u);
    EXPECT_EQ(r.count(), 0u);
    EXPECT_FALSE(r.empty());
}

TEST(SRecord, EncodesAndParsesBack)
{
    SRecord r;
    const uint8_t data[] = {0x01, 0x02};
    r.encode(data, 1, 0x1234, 2);
    EXPECT_EQ(r.sRec(), QStringLiteral("S10512340102B1"));
    SRecord back;
    ASSERT_EQ(back.setSRec(QStringLiteral("S10512340102b1")), 0); // hex digits in either case
    EXPECT_EQ(back.address(), 0x1234u);
    ASSERT_EQ(back.count(), 2u);
    EXPECT_EQ(back.buffer()[0], 1);
    EXPECT_EQ(back.buffer()[1], 2);

    for (uint32_t type : {2u, 3u}) {
        SRecord wide;
        wide.encode(data, type, 0x123456, 2);
        SRecord parsed;
        ASSERT_EQ(parsed.setSRec(wide.sRec()), 0) << wide.sRec().toStdString();
        EXPECT_EQ(parsed.address(), 0x123456u);
        EXPECT_EQ(parsed.recType(), type);
    }
}

TEST(SRecord, RejectsBadLines)
{
    SRecord r;
    for (const char* bad : {"S4030000FC", "S6030000FC", "X9030000FC", "S903", "", "S10512340102B2", "S100",
                            "S1FF1234" /* shorter than its count */, "S1011234"}) {
        EXPECT_EQ(r.setSRec(QString::fromLatin1(bad)), -1) << bad;
        EXPECT_TRUE(r.sRec().isEmpty());
        EXPECT_EQ(r.count(), 0u);
    }
}

TEST(SRecord, EmptyMeansNothingToProgram)
{
    SRecord r;
    uint8_t blank[16];
    std::fill(std::begin(blank), std::end(blank), 0xFF);
    r.encode(blank, 1, 0x8000, 16);
    EXPECT_TRUE(r.empty());
    blank[7] = 0;
    r.encode(blank, 1, 0x8000, 16);
    EXPECT_FALSE(r.empty());
    r.encode(blank, 0, 0, 16);
    EXPECT_TRUE(r.empty());
}

TEST(SRecord, FromJStringRepeatsTheLastByte)
{
    SRecord r;
    r.fromJString(QStringLiteral("j fc10 1 2 3 104"));
    EXPECT_EQ(r.recType(), 1u);
    EXPECT_EQ(r.address(), 0xfc10u);
    ASSERT_EQ(r.count(), 16u);
    EXPECT_EQ(r.buffer()[0], 1);
    EXPECT_EQ(r.buffer()[3], 0x04); // the low byte
    EXPECT_EQ(r.buffer()[15], 0x04);
    SRecord check;
    EXPECT_EQ(check.setSRec(r.sRec()), 0);

    r.fromJString(QStringLiteral("j"));
    EXPECT_EQ(r.address(), 0u);
    EXPECT_TRUE(r.empty());
}

} // namespace
