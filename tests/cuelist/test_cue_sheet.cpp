#include "common/Diagnostics.h"
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"
#include "timecode/TcCalculator.h"

#include <gtest/gtest.h>

#include <random>

using namespace rz48::cuesheet;

namespace {

CueItem cue(const QString& in, const QString& text = QStringLiteral("t"), const QString& out = QString())
{
    CueItem c;
    c.cueIn = in;
    c.cueOut = out;
    c.cueText = text;
    return c;
}

QStringList ins(const QList<CueItem>& items)
{
    QStringList list;
    for (const CueItem& c : items)
        list << c.getCueIn();
    return list;
}

TEST(CueSheet, TheTwoLineExamples)
{
    const auto a = textToCueTable(QStringLiteral("A1\t01:00:00:00\t01:00:05:00\tHello\tnote"));
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->cueId, QStringLiteral("A1\t"));
    EXPECT_EQ(a->cueIn, QStringLiteral("01:00:00:00"));
    EXPECT_EQ(a->cueOut, QStringLiteral("01:00:05:00"));
    EXPECT_EQ(a->cueText, QStringLiteral("Hello"));
    EXPECT_EQ(a->cueNotes, QStringLiteral("note"));

    const auto b = textToCueTable(QStringLiteral("10:00:00;12 Hello"));
    ASSERT_TRUE(b.has_value());
    EXPECT_EQ(b->cueId, QString());
    EXPECT_EQ(b->cueIn, QStringLiteral("10:00:00;12"));
    EXPECT_TRUE(b->cueOut.isEmpty());
    EXPECT_EQ(b->cueText, QStringLiteral("Hello"));
    EXPECT_TRUE(b->cueNotes.isEmpty());

    EXPECT_FALSE(textToCueTable(QStringLiteral("no time here")).has_value());
    EXPECT_FALSE(textToCueTable(QStringLiteral(";01:00:00:00 comment")).has_value());
}

TEST(CueSheet, MatchPositionIsAByteOffsetUsedAsACharacterIndex)
{
    // "é" is two bytes: the line is cut one character late.
    const auto c = textToCueTable(QStringLiteral("\u00e9 01:00:00:00 x"));
    ASSERT_TRUE(c.has_value());
    EXPECT_EQ(c->cueId, QStringLiteral("\u00e9 0"));
    EXPECT_EQ(c->cueIn, QStringLiteral("1:00:00:00 "));
    EXPECT_EQ(c->cueText, QStringLiteral("x"));
    // Far past the end of a short line nothing is read outside it.
    const auto d = textToCueTable(QStringLiteral("\u00e9\u00e9\u00e9\u00e9\u00e901:00:00:00"));
    ASSERT_TRUE(d.has_value());
    EXPECT_EQ(d->cueIn, QStringLiteral(":00:00"));
}

TEST(CueSheet, WriteAndReadBackFollowTheLossyRules)
{
    Options options;
    options.duplicate = true;
    options.start = QStringLiteral("09:59:00:00");
    options.tctype = 1;
    CueItem full = cue(QStringLiteral("01000000"), QStringLiteral("Hello"), QStringLiteral("01000500"));
    full.cueId = QStringLiteral("A1");
    full.cueNotes = QStringLiteral("note");
    CueItem noOut = cue(QStringLiteral("02000000"), QStringLiteral("Text"));
    noOut.cueId = QStringLiteral("B2");
    noOut.cueNotes = QStringLiteral("notes");
    CueItem noIn = cue(QString(), QStringLiteral("lost"));
    const QString sheet = stringFromCueTable(options, {full, noOut, noIn});
    EXPECT_TRUE(sheet.startsWith(QStringLiteral(
        ";duplicate\t1\n;midnight\t0\n;text\t1\n;cueId\t0\n;pulldown\t0\n;start\t09:59:00:00\n;tctype\t1\n"
        "A1\t01:00:00:00\t01:00:05:00\tHello\tnote\n")));
    EXPECT_TRUE(sheet.contains(QStringLiteral("B2\t02:00:00:00\t---\tText\tnotes\n")));

    Options read;
    QList<CueItem> items;
    cueTableFromString(sheet, read, items);
    EXPECT_EQ(read, options);
    ASSERT_EQ(items.size(), 2); // the cue without an In time is lost
    EXPECT_EQ(items[0].cueId, QStringLiteral("A1\t"));
    EXPECT_EQ(items[0].cueNotes, QStringLiteral("note"));
    EXPECT_TRUE(items[1].cueOut.isEmpty());
    EXPECT_EQ(items[1].cueText, QStringLiteral("---"));
    EXPECT_EQ(items[1].cueNotes, QStringLiteral("Text\tnotes"));

    // CR LF sheets and other line separators read the same.
    QList<CueItem> crlf;
    Options o2;
    cueTableFromString(QString(sheet).replace(u'\n', QStringLiteral("\r\n")), o2, crlf);
    EXPECT_EQ(crlf.size(), 2);
    EXPECT_EQ(o2, options);
}

TEST(CueSheet, OptionLines)
{
    Options o;
    initValueFromString(QStringLiteral("  ;midnight\tYES  "), o);
    initValueFromString(QStringLiteral(";cueId\t0007"), o);
    initValueFromString(QStringLiteral(";text\tno"), o);
    initValueFromString(QStringLiteral(";Text\t1"), o); // keys are case-sensitive
    initValueFromString(QStringLiteral(";pulldown 1"), o); // no TAB
    initValueFromString(QStringLiteral(";tctype\t2"), o);
    EXPECT_TRUE(o.midnight);
    EXPECT_TRUE(o.cueId);
    EXPECT_FALSE(o.text);
    EXPECT_FALSE(o.pulldown);
    EXPECT_EQ(o.tctype, 2);
    EXPECT_TRUE(boolValue(QStringLiteral(" t")));
    EXPECT_FALSE(boolValue(QStringLiteral("0")));
    EXPECT_FALSE(boolValue(QString()));
}

TEST(CueSheet, UnitTextFlagsAndPrivateCharacters)
{
    CueItem c;
    c.cueId = QStringLiteral("\uF001\uF8FFA12");
    c.cueText = QStringLiteral("\uF002Hello \uF003there");
    EXPECT_EQ(cueItemText(c, true, true), QStringLiteral("A12\\nHello \uF003there"));
    EXPECT_EQ(cueItemText(c, false, true), QStringLiteral("Hello \uF003there"));
    EXPECT_EQ(cueItemText(c, true, false), QStringLiteral("A12"));
    EXPECT_EQ(cueItemText(c, false, false), QString());
    EXPECT_EQ(removeUniChars(QStringLiteral("\uF000x")), QStringLiteral("\uF000x"));
}

TEST(CueSheet, TransferStopsAtTheFirstCueWithoutIn)
{
    const TcCalculator tcc;
    const QStringList sent = txInOutsCommands(
        {cue(QStringLiteral("01000000"), {}, QStringLiteral("01000500")), cue(QString()), cue(QStringLiteral("03000000"))}, tcc);
    EXPECT_EQ(sent, (QStringList {"h 0", "f 01:00:00:00 01:00:05:00"}));
    EXPECT_EQ(txInOutsCommands({cue(QStringLiteral("10:00:00;12"))}, tcc), (QStringList {"h 0", "f 10:00:00:12 "}));
}

TEST(CueSheet, SortWithMidnightAndDuplicates)
{
    const TcCalculator tcc;
    QList<CueItem> items {cue(QStringLiteral("00:20:00:00")), cue(QStringLiteral("23:30:00:00")),
                          cue(QStringLiteral("00:10:00:00")), cue(QStringLiteral("23:00:00:00"))};
    sortCues(items, false, true, tcc);
    EXPECT_EQ(ins(items), (QStringList {"23:00:00:00", "23:30:00:00", "00:10:00:00", "00:20:00:00"}));

    QList<CueItem> dups {cue(QStringLiteral("01:00:00:00"), QStringLiteral("first")), cue(QStringLiteral("02:00:00:00")),
                         cue(QStringLiteral("01000000"), QStringLiteral("second")), cue(QStringLiteral("01:00:00:00"))};
    sortCues(dups, true, false, tcc);
    ASSERT_EQ(ins(dups), (QStringList {"01:00:00:00", "02:00:00:00"}));
    EXPECT_EQ(dups[0].cueText, QStringLiteral("first")); // the first of a run stays

    // A 13-hour jump: the list starts after it.
    QList<CueItem> jump {cue(QStringLiteral("01:00:00:00")), cue(QStringLiteral("02:00:00:00")),
                         cue(QStringLiteral("15:00:00:00")), cue(QStringLiteral("16:00:00:00"))};
    sortCues(jump, false, true, tcc);
    EXPECT_EQ(ins(jump).first(), QStringLiteral("15:00:00:00"));

    QList<CueItem> none;
    sortCues(none, true, true, tcc);
    EXPECT_TRUE(none.isEmpty());
}

TEST(CueSheet, SortOfAListSpanningAWholeDayStaysInBounds)
{
    const TcCalculator tcc;
    std::mt19937 rng(48);
    QList<CueItem> items;
    for (int i = 0; i < 3000; ++i)
        items.append(cue(QString::asprintf("%02u:%02u:%02u:%02u", unsigned(rng() % 24), unsigned(rng() % 60), unsigned(rng() % 60), unsigned(rng() % 30))));
    const QList<CueItem> before = items;
    sortCues(items, true, true, tcc);
    EXPECT_LE(items.size(), before.size());
    EXPECT_GT(items.size(), 2000);
}

TEST(CueSheet, SortAgreesWithTheTimecodeComparison)
{
    const TcCalculator tcc;
    std::mt19937 rng(11);
    QList<CueItem> items;
    for (int i = 0; i < 500; ++i) // within eleven hours: the comparison is a true ordering there
        items.append(cue(QString::asprintf("%02u:%02u:00:%02u", unsigned(20 + rng() % 11) % 24, unsigned(rng() % 60),
                                           unsigned(rng() % 30))));
    QList<CueItem> expected = items;
    std::stable_sort(expected.begin(), expected.end(), [&](const CueItem& a, const CueItem& b) {
        return tcc.compareTc(a.getCueIn(), b.getCueIn(), 3) < 0;
    });
    sortCues(items, false, false, tcc);
    EXPECT_EQ(ins(items), ins(expected));
}

TEST(CueItem, ArchiveCarriesEveryFieldAndSaysSo)
{
    rz48::DiagCapture out;
    CueItem c = cue(QStringLiteral("01020304"), QStringLiteral("text\twith tab"), QStringLiteral("01020310"));
    c.cueId = QStringLiteral("ID \u00e9");
    const QByteArray archive = rz48::archiveCueItems({c, CueItem {}});
    EXPECT_EQ(out.text(), "CueItem encodeWithCoder\nCueItem encodeWithCoder\n");
    const QList<CueItem> back = rz48::unarchiveCueItems(archive);
    ASSERT_EQ(back.size(), 2);
    EXPECT_EQ(back[0], c);
    EXPECT_EQ(back[1], CueItem {});
    EXPECT_TRUE(rz48::unarchiveCueItems(archive.left(archive.size() / 2)).size() < 2);
    EXPECT_TRUE(rz48::unarchiveCueItems(QByteArray("garbage")).isEmpty());
    EXPECT_LT(c.caseInsensitiveCompare(cue(QStringLiteral("01020305"))), 0);
}

} // namespace
