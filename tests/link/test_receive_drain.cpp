#include "common/Diagnostics.h"
#include "link/ReceiveDrain.h"
#include "link/ReportScanner.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <random>

namespace {

struct Drain {
    MsgClass msg;
    QStringList lines;
    void feed(const QByteArray& bytes)
    {
        msg.txBytes(bytes.constData(), uint32_t(bytes.size()));
        rz48::drainReceiveBuffer(msg, [this](const QString& l) { lines << l; });
    }
};

TEST(ReceiveDrain, TwoLinesInOneChunkInOrder)
{
    Drain d;
    d.feed("A 2\r\n>G 1\r\n>");
    EXPECT_EQ(d.lines, (QStringList {"A 2", "G 1"}));
}

TEST(ReceiveDrain, LineSplitOverTwoChunksComesOnce)
{
    Drain d;
    d.feed("H 1 2 ");
    EXPECT_TRUE(d.lines.isEmpty());
    d.feed("3 4 5\r");
    EXPECT_TRUE(d.lines.isEmpty());
    d.feed("\n>");
    EXPECT_EQ(d.lines, (QStringList {"H 1 2 3 4 5"}));
}

TEST(ReceiveDrain, SysExAtHeadNeverSpins)
{
    rz48::DiagCapture out;
    Drain d;
    d.feed("\xf0\x01\x02");          // no end byte yet: must return
    EXPECT_TRUE(d.lines.isEmpty());
    d.feed("\xf7" "A 1\r\n");         // message complete: cut off, then the drain stops
    EXPECT_TRUE(d.lines.isEmpty());
    EXPECT_EQ(d.msg.buffer(), QByteArray("A 1\r\n"));
    d.feed(QByteArray());             // the next chunk lets the line through
    EXPECT_EQ(d.lines, (QStringList {"A 1"}));
}

TEST(ReceiveDrain, TextBeforeSysExIsALine)
{
    rz48::DiagCapture out;
    Drain d;
    d.feed("Q 1\r\n>\xf0\x7d\xf7");
    EXPECT_EQ(d.lines, (QStringList {"Q 1"}));
    EXPECT_TRUE(d.msg.buffer().isEmpty());
}

TEST(ReceiveDrain, EndlessBytesWithoutLineEndAreDropped)
{
    rz48::DiagCapture out;
    Drain d;
    d.feed(QByteArray(20000, 'x'));
    EXPECT_TRUE(d.msg.buffer().isEmpty());
    EXPECT_NE(out.text().find("receive buffer overflow"), std::string::npos);
    d.feed("\xf0");
    d.feed(QByteArray(20000, 0x11)); // a system-exclusive message that never ends
    EXPECT_TRUE(d.msg.buffer().isEmpty());
    d.feed("J 1\r\n");
    EXPECT_EQ(d.lines.last(), QStringLiteral("J 1"));
}

TEST(ReceiveDrain, UnfinishedSysExIsDroppedOncePastItsLimit)
{
    rz48::DiagCapture out;
    Drain d;
    d.feed("\xf0\x01" "A 1\r\n>G 1\r\n>");
    EXPECT_TRUE(d.lines.isEmpty()); // held behind the message
    d.feed(QByteArray(600, '#') + "\r\n>Q 1\r\n>");
    // The message and the line it ran into go; what follows is read.
    EXPECT_EQ(d.lines, (QStringList {"G 1", QString(600, u'#'), "Q 1"}));
    EXPECT_NE(out.text().find("incomplete system-exclusive message dropped (7 bytes)\n"), std::string::npos);
}

TEST(ReceiveDrain, AnyByteStreamEndsAndStaysBounded)
{
    rz48::DiagCapture out;
    std::mt19937 rng(48);
    Drain d;
    for (int round = 0; round < 1000; ++round) {
        QByteArray chunk(int(rng() % 255) + 1, 0);
        for (char& c : chunk) {
            const unsigned r = rng() % 16;
            c = r == 0 ? char(0xf0) : r == 1 ? char(0xf7) : r == 2 ? '\r' : r == 3 ? '\n' : char(rng());
        }
        d.feed(chunk);
        ASSERT_LE(d.msg.buffer().size(), rz48::kMaxPendingReceive);
    }
    for (const QString& line : d.lines)
        EXPECT_FALSE(line.isEmpty());
}

TEST(ReportScanner, AcceptsLetterSpaceFields)
{
    EXPECT_EQ(rz48::acceptReport(QStringLiteral("  A 3 \r\n")), QStringLiteral("A 3"));
    EXPECT_EQ(rz48::acceptReport(QStringLiteral("f")), QStringLiteral("f"));
    EXPECT_FALSE(rz48::acceptReport(QStringLiteral("AB 1")).has_value());
    EXPECT_FALSE(rz48::acceptReport(QString()).has_value());
    EXPECT_FALSE(rz48::acceptReport(QStringLiteral(" \t")).has_value());
}

} // namespace
