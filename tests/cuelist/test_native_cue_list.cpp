// The list's own file: every field and every string back exactly, unknown
// keys kept, a later major version refused, byte-identical second saves.
#include "cuelist/CueSheet.h"
#include "cuelist/NativeCueList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace rz48::native;

namespace {

CueItem cue(const char* id, const char* in, const char* out, const QString& text, const char* character, const char* reason,
            CueStatus status)
{
    CueItem c;
    c.cueId = QString::fromUtf8(id);
    c.cueIn = QString::fromUtf8(in);
    c.cueOut = QString::fromUtf8(out);
    c.cueText = text;
    c.cueNotes = QStringLiteral("note\twith a TAB");
    c.character = QString::fromUtf8(character);
    c.reason = QString::fromUtf8(reason);
    c.status = status;
    return c;
}

TEST(NativeCueList, EveryFieldAndStringComesBackExactly)
{
    CueList list;
    list.options = {true, true, false, true, true, QStringLiteral("00:59:58;00"), 2};
    list.options.characterInText = true;
    list.video = {QStringLiteral("/films/reel 1.mov"), QStringLiteral("00:59:58;00"), -3};
    list.cues = {cue("A1\t", "01:00:00;02", "01:00:05;00", QStringLiteral("Line one\nline two \"quoted\" \\ back"), "PETER", "noise",
                     CueStatus::Done),
                 cue("", "01000400", "", QString::fromUtf8("Ça va ? 日本語 😀"), "", "", CueStatus::Omit),
                 cue("B", "", "", QString(), "ANNA", "", CueStatus::Todo)};
    const QByteArray bytes = writeCueList(list);
    CueList read;
    QString error;
    ASSERT_TRUE(readCueList(bytes, read, &error)) << error.toStdString();
    EXPECT_EQ(read.options, list.options);
    EXPECT_EQ(read.video, list.video);
    ASSERT_EQ(read.cues.size(), 3);
    EXPECT_EQ(read.cues[0].cueId, QStringLiteral("A1\t")); // no TAB gained, unlike the sheet
    EXPECT_EQ(read.cues[0].cueText, QStringLiteral("Line one\nline two \"quoted\" \\ back"));
    EXPECT_EQ(read.cues[0].cueNotes, QStringLiteral("note\twith a TAB"));
    EXPECT_EQ(read.cues[0].character, QStringLiteral("PETER"));
    EXPECT_EQ(read.cues[0].reason, QStringLiteral("noise"));
    EXPECT_EQ(read.cues[0].status, CueStatus::Done);
    EXPECT_EQ(read.cues[1].cueText, QString::fromUtf8("Ça va ? 日本語 😀"));
    EXPECT_EQ(read.cues[1].status, CueStatus::Omit);
    // Times in the file's form: ";" before the frames at drop-frame, "" for none.
    EXPECT_EQ(read.cues[0].cueIn, QStringLiteral("01:00:00;02"));
    EXPECT_EQ(read.cues[1].cueIn, QStringLiteral("01:00:04;00"));
    EXPECT_EQ(read.cues[1].cueOut, QString());
    EXPECT_EQ(read.cues[2].cueIn, QString());
    // Every key is written, empty or not; a second save is the same bytes.
    const QJsonObject third = QJsonDocument::fromJson(bytes).object().value(QStringLiteral("cues")).toArray()[2].toObject();
    EXPECT_EQ(third.keys(), (QStringList {"character", "id", "in", "notes", "out", "reason", "status", "text"}));
    EXPECT_EQ(third.value(QStringLiteral("status")).toString(), QStringLiteral("todo"));
    EXPECT_EQ(writeCueList(read), bytes);
    EXPECT_TRUE(looksNative(bytes));
    EXPECT_EQ(fieldsTheSheetDrops(read), (QStringList {"character", "reason", "status", "character in text", "rehearsal video"}));
}

TEST(NativeCueList, KeysOfALaterVersionAreKeptAndWrittenBack)
{
    const QByteArray later = R"({"format": "rz48-cues", "version": 1.4, "takes": [1, 2],
        "options": {"tctype": 1, "start": "10:00:00:00", "loudness": -23},
        "cues": [{"id": "A", "in": "10:00:01:00", "out": "", "text": "x", "take": {"n": 3}, "status": "approved"}]})";
    CueList list;
    QString error;
    ASSERT_TRUE(readCueList(later, list, &error)) << error.toStdString();
    EXPECT_EQ(list.options.tctype, 1);
    EXPECT_EQ(list.cues[0].status, CueStatus::Todo); // a status word it does not know stays as it was
    const QJsonObject again = QJsonDocument::fromJson(writeCueList(list)).object();
    EXPECT_EQ(again.value(QStringLiteral("takes")).toArray().size(), 2);
    EXPECT_EQ(again.value(QStringLiteral("options")).toObject().value(QStringLiteral("loudness")).toInt(), -23);
    const QJsonObject first = again.value(QStringLiteral("cues")).toArray()[0].toObject();
    EXPECT_EQ(first.value(QStringLiteral("take")).toObject().value(QStringLiteral("n")).toInt(), 3);
    EXPECT_EQ(first.value(QStringLiteral("status")).toString(), QStringLiteral("approved"));
    EXPECT_EQ(again.value(QStringLiteral("version")).toInt(), 1);
}

TEST(NativeCueList, OtherFilesAndLaterMajorVersionsAreRefused)
{
    const std::pair<const char*, const char*> refused[] = {
        {R"({"format": "rz48-cues", "version": 2, "cues": []})",
         "the cue list file is of version 2, made by a later panel: this panel reads version 1. Nothing was read."},
        {R"({"format": "other", "version": 1})", "not a cue list file (.rz48cues): it has no \"format\": \"rz48-cues\""},
        {"A1\t01:00:00:00\tHello\n", "not a cue list file (.rz48cues): illegal value at byte 1"},
        {R"({"format": "rz48-cues", "version": 1, "options": {"text": "yes"}})", "the option \"text\" is not true or false"},
        {R"({"format": "rz48-cues", "version": 1, "options": {"tctype": 7}})", "the option \"tctype\" is not 0, 1, 2 or 3"},
        {R"({"format": "rz48-cues", "version": 1, "options": {"videoOffset": 2.5}})",
         "the option \"videoOffset\" is not a whole number of frames within a day"},
        {R"({"format": "rz48-cues", "version": 1, "options": {"videoOffset": -1e12}})",
         "the option \"videoOffset\" is not a whole number of frames within a day"},
        {R"({"format": "rz48-cues", "version": 1, "cues": [{"text": 5}]})", "cue 1: \"text\" is not text"},
        {R"({"format": "rz48-cues", "version": 1, "cues": [3]})", "cue 1 is not an object"},
    };
    for (const auto& [bytes, why] : refused) {
        CueList list;
        list.video.file = QStringLiteral("kept");
        QString error;
        EXPECT_FALSE(readCueList(bytes, list, &error)) << bytes;
        EXPECT_EQ(error.toStdString(), why) << bytes;
        EXPECT_EQ(list.video.file, QStringLiteral("kept")) << "nothing half read: " << bytes;
    }
}

TEST(NativeCueList, ASheetThroughTheListsFileIsTheSheetAgain)
{
    const QString sheet = QStringLiteral(";duplicate\t1\n;midnight\t0\n;text\t1\n;cueId\t1\n;pulldown\t0\n;start\t10:00:00:00\n;tctype\t1\n"
                                         "A1\t10:00:01:00\t10:00:02:00\tHello\tnote\nB2 \t10:00:03:00\t---\tWorld\t\n");
    CueList list;
    rz48::cuesheet::cueTableFromString(sheet, list.options, list.cues);
    CueList read;
    ASSERT_TRUE(readCueList(writeCueList(list), read, nullptr));
    // What the sheet's own round trip gives: the ID gains a TAB, the empty Out
    // of B2 shifts its text into the notes.
    EXPECT_EQ(rz48::cuesheet::stringFromCueTable(read.options, read.cues),
              QStringLiteral(";duplicate\t1\n;midnight\t0\n;text\t1\n;cueId\t1\n;pulldown\t0\n;start\t10:00:00:00\n;tctype\t1\n"
                             "A1\t\t10:00:01:00\t10:00:02:00\tHello\tnote\nB2 \t\t10:00:03:00\t---\t---\tWorld\n"));
    EXPECT_TRUE(fieldsTheSheetDrops(read).isEmpty());

    // A long list is known by its content too: its "format" comes after the cues.
    CueList big;
    for (int i = 0; i < 200; ++i)
        big.cues << CueItem {};
    const QByteArray bytes = writeCueList(big);
    ASSERT_GT(bytes.size(), 16 * 1024);
    EXPECT_TRUE(looksNative(bytes));
    EXPECT_FALSE(looksNative("A1\t01:00:00:00\t\"rz48-cues\"\n"));
}

} // namespace
