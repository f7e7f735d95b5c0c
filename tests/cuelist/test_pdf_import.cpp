// PDF cue sheets made by qpdf and by reportlab (tests/data/pdf/make_sheets.py),
// the three parsers, and the paste and drop imports of the cue table.
#include "common/Diagnostics.h"
#include "cuewindow/CueArrayController.h"
#include "cuelist/PdfImport.h"
#include "print/CueSheetPdf.h"
#include "timecode/TCFormatter.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace rz48::pdf;

namespace {

QString sheet(const char* name)
{
    return QStringLiteral(RZ48_TEST_DATA "/pdf/") + QLatin1String(name);
}

struct Row {
    QString id, in, out, text, notes;
};

std::vector<Row> rows(const QList<CueItem>& cues)
{
    std::vector<Row> r;
    for (const CueItem& c : cues)
        r.push_back({c.cueId, TCFormatter::stringForObjectValue(c.cueIn), TCFormatter::stringForObjectValue(c.cueOut),
                     c.cueText, c.cueNotes});
    return r;
}

void expectRows(const QList<CueItem>& cues, const std::vector<Row>& expected)
{
    const std::vector<Row> got = rows(cues);
    ASSERT_EQ(got.size(), expected.size());
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].id, expected[i].id) << i;
        EXPECT_EQ(got[i].in, expected[i].in) << i;
        EXPECT_EQ(got[i].out, expected[i].out) << i;
        EXPECT_EQ(got[i].text, expected[i].text) << i;
        EXPECT_EQ(got[i].notes, expected[i].notes) << i;
    }
}

TEST(PdfParsers, GenericThreeFragmentExample)
{
    expectRows(pdfTextToCueTable({{10, 10, "header"}, {10, 20, "A1 01:00:00:00"}, {90, 20, "01:00:02:00"}, {150, 20, "Hello"}}),
               {{"A1 ", "01:00:00:00", "01:00:02:00", "Hello", ""}});
    EXPECT_TRUE(pdfTextToCueTable({{1, 1, "no"}, {2, 2, "times"}}).isEmpty());
    // A fragment with an ID and a time starts the next cue.
    expectRows(pdfTextToCueTable({{0, 0, "A1 01:00:00:00"}, {0, 0, "one"}, {0, 0, "A2 01:00:01:00"}, {0, 0, "two"}}),
               {{"A1 ", "01:00:00:00", "---", "one", ""}, {"A2 ", "01:00:01:00", "---", "two", ""}});
}

TEST(PdfParsers, FilmLightRows)
{
    const QList<PDFStringTableItem> f {
        {40, 800, "Sheet"}, {300, 800, "Reel"},                                             // header
        {40, 780, "ID"}, {100, 780, "In"}, {200, 780, "Out"},                             // column titles: no time
        {40, 760, "A1"}, {100, 760, "01:00:00:00"}, {200, 760, "01:00:01:00"}, {300, 760, "a"}, {350, 760, "b"}, {450, 760, "n"},
        {40, 740, "A2"}, {100, 740, "01:00:02:00"},                                       // short: borrows
        {40, 720, "A3"}, {100, 720, "01:00:03:00"}, {200, 720, "01:00:04:00"}, {300, 720, "c"}, {450, 720, "m"},
    };
    expectRows(filmlightToCueTable(f), {{"A1", "01:00:00:00", "01:00:01:00", "ab", "n"},
                                        {"A2", "01:00:02:00", "00:00:00:03", "01:00:03:00", "01:00:02:00"}, // Out "A3"
                                        {"A3", "01:00:03:00", "01:00:04:00", "c", "m"}});
    EXPECT_TRUE(filmlightToCueTable({{40, 1, "A1"}, {100, 1, "01:00:00:00"}}).isEmpty()); // header only
}

TEST(PdfParsers, EdiCueExample)
{
    expectRows(ediCueToCueTable(QStringLiteral("Cue 7\nIN: 01:00:00:00\nOUT: 01:00:04:00\nLine one\n1\none more line\n")),
               {{"Cue 7", "01:00:00:00", "01:00:04:00", "Line one", ""}});
    // The text after the last line end is not read: the closing "1" is lost with it.
    EXPECT_TRUE(ediCueToCueTable(QStringLiteral("Cue 7\nIN: 01:00:00:00\nOUT: 01:00:04:00\nLine one\n1")).isEmpty());
    expectRows(ediCueToCueTable(QStringLiteral("x\nC1\n\uF001IN: 01:00:00:00\nREASON:  noise \nOUT: 01:00:01:00\nab\ncd\n1\n")),
               {{"C1", "01:00:00:00", "01:00:01:00", "abcd", "noise"}});
}

TEST(PdfSheets, QpdfFilmLightSheetWithARealTm)
{
    DocumentInfo info;
    ASSERT_EQ(getAuthorAndCreator(sheet("filmlight.pdf"), info), 0);
    EXPECT_EQ(info.author, QStringLiteral("FilmLight"));
    QList<PDFStringTableItem> fragments;
    ASSERT_TRUE(scanFirstPage(sheet("filmlight.pdf"), fragments));
    ASSERT_FALSE(fragments.isEmpty());
    EXPECT_EQ(fragments.first(), (PDFStringTableItem {40, 800, QStringLiteral("Cue sheet")}));
    // The last fragment was placed with real operands: the position stayed.
    EXPECT_EQ(fragments.last(), (PDFStringTableItem {300, 736, QStringLiteral("n3")}));
    QList<CueItem> cues;
    ASSERT_TRUE(importPdf(sheet("filmlight.pdf"), cues));
    expectRows(cues, {{"A1", "01:00:00:00", "01:00:05:00", "Hello world", "note one"},
                      {"A2", "01:00:10:00", "---", "A3", "Short row"},
                      {"A3", "01:00:20:00", "01:00:22:00", "Third", "n3"}});
}

TEST(PdfSheets, QpdfGenericSheetWithTJArrays)
{
    QList<CueItem> cues;
    ASSERT_TRUE(importPdf(sheet("generic.pdf"), cues));
    expectRows(cues, {{"A1 ", "01:00:00:00", "01:00:02:00", "Hello", ""}, {"B2 ", "01:00:05:00", "01:00:06:00", "World", ""}});
    // Encrypted with an owner password only: it opens and imports the same.
    QList<CueItem> owner;
    ASSERT_TRUE(importPdf(sheet("owner_only.pdf"), owner));
    EXPECT_EQ(rows(owner).size(), 2u);
}

TEST(PdfSheets, ReportlabSheets)
{
    DocumentInfo info;
    ASSERT_EQ(getAuthorAndCreator(sheet("edicue.pdf"), info), 0);
    EXPECT_TRUE(info.creator.contains(QStringLiteral("EdiCue")));
    QList<CueItem> cues;
    ASSERT_TRUE(importPdf(sheet("edicue.pdf"), cues));
    expectRows(cues, {{"Cue 7", "01:00:00:00", "01:00:04:00", "Line one", "noise"},
                      {"Cue 8", "01:00:10:00", "01:00:12:10", "Line two", "performance"}});
    ASSERT_TRUE(importPdf(sheet("reportlab_generic.pdf"), cues));
    expectRows(cues, {{"R1 ", "02:00:00:00", "02:00:01:00", "First line", ""}, {"R2 ", "02:00:03:00", "02:00:04:12", "Second line", ""}});
}

TEST(PdfSheets, FilesThatAreSkippedSaySo)
{
    for (const auto& [name, why] : {std::pair {"locked.pdf", "locked with a password"}, {"no_pages.pdf", "no pages"},
                                    {"not_a_pdf.pdf", "not a readable PDF"}, {"truncated.pdf", "not a readable PDF"},
                                    {"missing.pdf", "no such file"}}) {
        QList<CueItem> cues {CueItem {}};
        QString message;
        EXPECT_FALSE(importPdf(sheet(name), cues, &message)) << name;
        EXPECT_TRUE(cues.isEmpty()) << name;
        EXPECT_TRUE(message.contains(QLatin1String(why))) << name << ": " << message.toStdString();
        DocumentInfo info;
        EXPECT_EQ(uint32_t(getAuthorAndCreator(sheet(name), info)), 0xFFFFFFFFu) << name;
    }
}

// A PDF whose one page stream inflates to `inflated` bytes of spaces, with
// the Creator given: a decompression bomb once it is large enough.
QByteArray inflatingPdf(qsizetype inflated, const char* creator)
{
    const QByteArray deflated = qCompress(QByteArray(inflated, ' '), 9).mid(4); // without Qt's length prefix
    QList<QByteArray> objects {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R >>",
        "<< /Length " + QByteArray::number(deflated.size()) + " /Filter /FlateDecode >>\nstream\n" + deflated + "\nendstream",
        QByteArray("<< /Creator (") + creator + ") >>",
    };
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets << pdf.size();
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) + " /Root 1 0 R /Info 5 0 R >>\nstartxref\n"
        + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

TEST(PdfSheets, APageThatInflatesBeyondItsBoundIsSkipped)
{
    QTemporaryDir dir;
    for (const char* creator : {"Writer", "EdiCue"}) {
        const QString bomb = dir.filePath(QStringLiteral("bomb-%1.pdf").arg(QLatin1String(creator)));
        const QString small = dir.filePath(QStringLiteral("small-%1.pdf").arg(QLatin1String(creator)));
        for (const auto& [path, size] : {std::pair {bomb, qsizetype(64) << 20}, {small, qsizetype(1) << 20}}) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(inflatingPdf(size, creator));
        }
        QList<CueItem> cues;
        QString message;
        EXPECT_FALSE(importPdf(bomb, cues, &message)) << creator;
        EXPECT_EQ(message, QStringLiteral("page 1 decodes to more than 4 MiB: too large for a cue sheet")) << creator;
        // A page within the bound is read (and has no cue).
        EXPECT_TRUE(importPdf(small, cues, &message)) << creator << ": " << message.toStdString();
        EXPECT_TRUE(cues.isEmpty());
    }
}

// The printed cue sheet: every cue's text on its pages (read back with
// poppler), page numbers, sections per character, and the list inside it.
TEST(PrintedSheet, HoldsEveryCueAndGivesBackItsList)
{
    rz48::native::CueList list;
    list.options.tctype = 1;
    list.options.start = QStringLiteral("00:59:50:00");
    for (int i = 0; i < 120; ++i) {
        CueItem c;
        c.cueId = QStringLiteral("C%1").arg(i + 1);
        c.cueIn = QStringLiteral("01:%1:00:00").arg(i % 60, 2, 10, QLatin1Char('0'));
        c.cueOut.clear();
        c.cueText = QStringLiteral("Line%1").arg(i + 1);
        c.cueNotes.clear();
        c.character = i % 3 == 0 ? QStringLiteral("ANNA") : QStringLiteral("PETER");
        c.status = i % 4 == 0 ? CueStatus::Done : CueStatus::Todo;
        list.cues << c;
    }
    // A text far wider than its column wraps onto more lines, every word kept.
    list.cues[5].cueText = QStringLiteral("wrapping ").repeated(40) + QStringLiteral("lastword");
    QTemporaryDir dir;
    for (const bool byCharacter : {false, true}) {
        rz48::print::PdfOptions options;
        options.title = QStringLiteral("Reel 1");
        options.byCharacter = byCharacter;
        int pages = 0;
        QString error;
        const QByteArray pdf = rz48::print::cueSheetPdf(list, options, &pages, &error);
        ASSERT_FALSE(pdf.isEmpty()) << error.toStdString();
        EXPECT_GE(pages, byCharacter ? 3 : 2);
        const QString path = dir.filePath(byCharacter ? QStringLiteral("by.pdf") : QStringLiteral("all.pdf"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(pdf);
        file.close();

        QString text;
        ASSERT_TRUE(documentText(path, text));
        for (int i = 0; i < list.cues.size(); ++i)
            if (i != 5)
                EXPECT_TRUE(text.contains(QRegularExpression(QStringLiteral("\\bLine%1\\b").arg(i + 1)))) << i;
        EXPECT_EQ(text.count(QStringLiteral("wrapping")), 40);
        EXPECT_TRUE(text.contains(QStringLiteral("lastword")));
        EXPECT_TRUE(text.contains(QStringLiteral("Reel 1")));
        EXPECT_TRUE(text.contains(QStringLiteral("25 fps")));
        EXPECT_TRUE(text.contains(QStringLiteral("MIDI start 00:59:50:00")));
        EXPECT_TRUE(text.contains(QStringLiteral("Page %1 of %1").arg(pages)));
        EXPECT_EQ(text.contains(QStringLiteral("ANNA: 40 cues, 10 done")), byCharacter);
        EXPECT_EQ(text.contains(QStringLiteral("PETER: 80 cues, 20 done")), byCharacter);

        // Read back, the sheet gives the list it was printed from, not its text.
        QList<CueItem> cues;
        rz48::native::CueList attached;
        ASSERT_TRUE(importPdf(path, cues, nullptr, &attached));
        EXPECT_EQ(cues, list.cues);
        EXPECT_EQ(attached, list);
    }
}

TEST(CueImport, PasteAndDrops)
{
    rz48::DiagCapture out;
    CueArrayController table;
    table.paste(QStringLiteral("A 01:00:00:00 one\r\nno time\nB 01:00:01:00 two"));
    ASSERT_EQ(table.rowCount(), 2);
    EXPECT_EQ(table.items()[1].cueText, QStringLiteral("two"));

    QTemporaryDir dir;
    auto write = [&](const char* name, const QByteArray& bytes) {
        QFile f(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return f.fileName();
    };
    const QString first = write("first.txt", "C 02:00:00:00 three\nD 02:00:01:00 four");
    const QString second = write("second.TXT", " tail\nE 02:00:02:00 five\n");
    EXPECT_FALSE(table.acceptDrop({first}, false)); // no link operation offered: refused
    EXPECT_EQ(table.rowCount(), 2);

    // A text file and a PDF: the text's cues once, then the PDF's.
    ASSERT_TRUE(table.acceptDrop({first, sheet("generic.pdf")}, true));
    ASSERT_EQ(table.rowCount(), 6);
    EXPECT_EQ(table.items()[2].cueText, QStringLiteral("three"));
    EXPECT_EQ(table.items()[5].cueId, QStringLiteral("B2 "));

    // Two text files in one drop: the first file's cues come again with the
    // second, whose first line runs into the first file's last.
    table.onClearAll();
    ASSERT_TRUE(table.acceptDrop({first, second}, true));
    QStringList texts;
    for (const CueItem& c : table.items())
        texts << c.cueText;
    EXPECT_EQ(texts, (QStringList {"three", "four", "three", "four tail", "five"}));

    // A failed import skips its file, says why, and loses nothing.
    const qsizetype before = table.rowCount();
    ASSERT_TRUE(table.acceptDrop({sheet("locked.pdf"), write("binary.txt", "\xff\xfe\x01")}, true));
    EXPECT_EQ(table.rowCount(), before);
    EXPECT_NE(out.text().find("skipping " + sheet("locked.pdf").toStdString() + ": the PDF is locked with a password\n"),
              std::string::npos);
    EXPECT_NE(out.text().find("binary.txt: the file is not UTF-8 text\n"), std::string::npos);
    EXPECT_EQ(CueArrayController::removeUniChars(QStringLiteral("\uF00Fx")), QStringLiteral("x"));
}

} // namespace
