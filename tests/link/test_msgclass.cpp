#include "common/Diagnostics.h"
#include "link/MsgClass.h"

#include <gtest/gtest.h>

namespace {

MsgClass withBytes(const QByteArray& bytes)
{
    MsgClass m;
    m.txBytes(bytes.constData(), uint32_t(bytes.size()));
    return m;
}

TEST(MsgClassTxString, RemovesLineBreaksAndAddsCrLf)
{
    MsgClass m;
    m.txString(QStringLiteral("X\r\nY"));
    EXPECT_EQ(m.buffer(), QByteArray("XY\r\n"));
    m.txString(QStringLiteral("\nA 1\r"));
    EXPECT_EQ(m.buffer(), QByteArray("XY\r\nA 1\r\n"));
}

TEST(MsgClassTxString, CutsAt253CharactersButKeeps252Whole)
{
    for (const auto& [length, kept] : {std::pair{300, 251}, {253, 251}, {252, 252}, {251, 251}}) {
        MsgClass m;
        m.txString(QString(length, u'a'));
        EXPECT_EQ(m.buffer(), QByteArray(kept, 'a') + "\r\n") << "length " << length;
    }
    // Line breaks are removed before the length is measured.
    MsgClass m;
    m.txString(QString(251, u'b') + QStringLiteral("\r\n\r\n"));
    EXPECT_EQ(m.buffer().size(), 253);
}

TEST(MsgClassTxString, EncodesLatin1)
{
    MsgClass m;
    m.txString(QStringLiteral("s caf\u00e9 \u20ac"));
    EXPECT_EQ(m.buffer(), QByteArray("s caf\xe9 ?\r\n"));
}

TEST(MsgClass, TxBytesAndAppend)
{
    MsgClass a;
    const char raw[] = {char(0x90), 0x2c, 0x40};
    a.txBytes(raw, 3);
    a.txBytes(nullptr, 5);
    MsgClass b = withBytes("xy");
    a.append(&b);
    a.append(nullptr);
    MsgClass empty;
    a.append(empty);
    EXPECT_EQ(a.buffer(), QByteArray("\x90\x2c\x40xy", 5));
    EXPECT_EQ(a.text(), QStringLiteral("a message"));
    EXPECT_TRUE(a.midiBuffer().isEmpty());
}

TEST(MsgClassRemoveString, PromptStaysAtFrontOfNextLineAndIsTrimmed)
{
    MsgClass m = withBytes("B 1\r\n>C 2\r\n");
    EXPECT_EQ(m.removeString(), QStringLiteral("B 1"));
    EXPECT_EQ(m.removeString(), QStringLiteral("C 2"));
    EXPECT_FALSE(m.removeString().has_value());
    EXPECT_TRUE(m.buffer().isEmpty());
}

TEST(MsgClassRemoveString, IncompleteLineWaits)
{
    MsgClass m = withBytes("ABC");
    EXPECT_FALSE(m.removeString().has_value());
    EXPECT_EQ(m.buffer(), QByteArray("ABC"));
    MsgClass one = withBytes("\r");
    EXPECT_FALSE(one.removeString().has_value());
    MsgClass lfOnly = withBytes("A 1\n>");
    EXPECT_FALSE(lfOnly.removeString().has_value());
}

TEST(MsgClassRemoveString, TrimsOnlyTheEndsAndDecodesUtf8)
{
    MsgClass m = withBytes(">>a>b \xc3\x84\r\n\r\n");
    EXPECT_EQ(m.removeString(), QStringLiteral("a>b \u00c4"));
    // The second CR LF is a line of its own: empty once trimmed.
    EXPECT_EQ(m.removeString(), QString());
}

TEST(MsgClassRemoveString, InvalidUtf8LosesTheLine)
{
    MsgClass m = withBytes("A \xff\xfe\r\nB 2\r\n");
    EXPECT_FALSE(m.removeString().has_value());
    EXPECT_EQ(m.buffer(), QByteArray("B 2\r\n"));
    EXPECT_EQ(m.removeString(), QStringLiteral("B 2"));
}

TEST(MsgClassRemoveString, SysExSplitsTextAndMidi)
{
    rz48::DiagCapture out;
    MsgClass m = withBytes("AB\xf0\x01\xf7");
    EXPECT_EQ(m.removeString(), QStringLiteral("AB"));
    // Marker at the head: an empty text, the buffer unchanged.
    EXPECT_EQ(m.removeString(), QString());
    EXPECT_EQ(m.buffer(), QByteArray("\xf0\x01\xf7"));
    EXPECT_EQ(m.removeMidi(), QByteArray("\xf0\x01\xf7"));
    EXPECT_TRUE(m.buffer().isEmpty());
    EXPECT_EQ(out.text(), "f0 01 f7 \n\n");
}

TEST(MsgClassRemoveMidi, NeedsMarkerAtHeadAndTheEndByte)
{
    MsgClass text = withBytes("A\xf0\xf7");
    EXPECT_FALSE(text.removeMidi().has_value());

    rz48::DiagCapture out;
    MsgClass open = withBytes("\xf0\x10\x20");
    EXPECT_FALSE(open.removeMidi().has_value());
    EXPECT_EQ(open.buffer().size(), 3);
    const char rest[] = {char(0xf7), 'J', ' ', '1'};
    open.txBytes(rest, 4);
    EXPECT_EQ(open.removeMidi(), QByteArray("\xf0\x10\x20\xf7"));
    EXPECT_EQ(open.buffer(), QByteArray("J 1"));
    EXPECT_EQ(out.text(), "f0 10 20 f7 \n4a 20 31 \n");

    MsgClass empty;
    EXPECT_FALSE(empty.removeMidi().has_value());
    EXPECT_FALSE(empty.removeString().has_value());
}

TEST(MsgClass, PrintMidiUsesShortHex)
{
    rz48::DiagCapture out;
    MsgClass m;
    m.printMidi();
    m.midiBuffer() = QByteArray("\x0a\xff\x00", 3);
    m.printMidi();
    EXPECT_EQ(out.text(), "\na ff 0 \n");
}

} // namespace
