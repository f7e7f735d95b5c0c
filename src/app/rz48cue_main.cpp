// rz48cue: cue lists away from the unit. Converts between a cue list's own
// file, a cue sheet, any text with timecodes, PDF cue sheets, a MIDI cue
// track and a printable PDF; lists a list's cues and what a MIDI file holds;
// runs the pre-flight check.
#include "common/FileIo.h"
#include "common/Program.h"
#include "common/TimecodeLabel.h"
#include "cuelist/CueCheck.h"
#include "cuelist/CueFormats.h"
#include "cuelist/CueShift.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "cuelist/NativeCueList.h"
#include "cuelist/PdfImport.h"
#include "print/CueSheetPdf.h"
#include "timecode/TcCalculator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStringDecoder>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

constexpr qint64 kMaxMidiBytes = 16 * 1024 * 1024;

int fail(const QString& message, int code = 1)
{
    std::fprintf(stderr, "rz48cue: %s\n", qPrintable(message));
    return code;
}

int dump(const QString& path)
{
    // A file that is not MIDI is told as such, whatever its size.
    QFile head(path);
    if (QFileInfo(path).isFile() && head.open(QIODevice::ReadOnly) && !head.read(4).startsWith("MThd"))
        return fail(QStringLiteral("%1 is not a Standard MIDI File: it does not begin with \"MThd\"").arg(path));
    QByteArray bytes;
    QString error;
    if (!rz48::readFileBounded(path, kMaxMidiBytes, bytes, &error))
        return fail(QStringLiteral("cannot read %1: %2").arg(path, error));
    if (!bytes.startsWith("MThd"))
        return fail(QStringLiteral("%1 is not a Standard MIDI File: it does not begin with \"MThd\"").arg(path));
    MidiTrack track;
    track.importListing(bytes);
    return 0;
}

// How a file of another program is read: the command line's choices.
struct Reading {
    rz48::formats::ImportOptions options;
    int problems = 0; // lines that could not be read, said on standard error
};

// A list's own file (.rz48cues), a cue sheet, a PDF cue sheet (one this
// program printed gives back its list), a file of another program (a DAW's
// session text, an EDL, CSV/TSV and marker lists, subtitles, MIDI markers),
// or any text with timecodes: the list with its options.
bool readList(const QString& in, rz48::native::CueList& list, Reading& reading, QString* error)
{
    QByteArray bytes;
    if (!rz48::readFileBounded(in, rz48::native::kMaxBytes, bytes, error)) {
        *error = QStringLiteral("cannot read %1: %2").arg(in, *error);
        return false;
    }
    reading.options.fileName = in;
    const QString format = reading.options.format.isEmpty() ? rz48::formats::chooseReader(bytes, in) : reading.options.format;
    if (rz48::formats::readerNames().contains(format)) {
        reading.options.format = format;
        const rz48::formats::Imported imported = rz48::formats::importCues(bytes, reading.options);
        for (const rz48::formats::Problem& p : imported.problems)
            std::fprintf(stderr, "%d: %s\n", p.line, qPrintable(p.why));
        reading.problems = int(imported.problems.size());
        list.cues = imported.cues;
        if (imported.tctype >= 0)
            list.options.tctype = imported.tctype;
        else if (reading.options.tctype >= 0)
            list.options.tctype = reading.options.tctype;
        return true;
    }
    if (format == QLatin1String("pdf")) {
        if (rz48::pdf::importPdf(in, list.cues, error, &list))
            return true;
        *error = QStringLiteral("cannot import %1: %2").arg(in, *error);
        return false;
    }
    if (format == QLatin1String("native")) {
        if (rz48::native::readCueList(bytes, list, error))
            return true;
        *error = QStringLiteral("cannot read %1: %2").arg(in, *error);
        return false;
    }
    // A sheet, or any text with times.
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8.decode(bytes);
    if (utf8.hasError() || bytes.size() > rz48::cuesheet::kMaxSheetBytes) {
        *error = QStringLiteral("cannot read %1: %2")
                     .arg(in, utf8.hasError() ? QStringLiteral("the file is not UTF-8 text") : QStringLiteral("it is larger than a cue sheet may be"));
        return false;
    }
    rz48::cuesheet::cueTableFromString(text, list.options, list.cues);
    return true;
}

// One line per cue: row, In, Out, character, status, ID and text (a line
// break in the text shown as "\n").
int listCues(const rz48::native::CueList& list)
{
    for (qsizetype i = 0; i < list.cues.size(); ++i) {
        const CueItem& c = list.cues[i];
        QString text = c.cueText;
        text.replace(u'\n', QStringLiteral("\\n"));
        std::printf("%lld\t%s\t%s\t%s\t%s\t%s\t%s\n", static_cast<long long>(i + 1),
                    qPrintable(rz48::native::nativeTime(c.cueIn, list.options.tctype)),
                    qPrintable(rz48::native::nativeTime(c.cueOut, list.options.tctype)), qPrintable(c.character),
                    qPrintable(rz48::statusName(c.status)), qPrintable(c.cueId.trimmed()), qPrintable(text));
    }
    return 0;
}

int check(const QList<CueItem>& cues, const rz48::cuesheet::Options& options, double streamerSeconds, bool json, bool strict)
{
    using namespace rz48::cuecheck;
    const QList<Finding> findings = checkCueList(cues, options, streamerSeconds);
    if (json) {
        std::fputs(findingsJson(findings).constData(), stdout);
    } else {
        for (const Finding& f : findings)
            std::printf("%s\n", qPrintable(findingLine(f)));
    }
    std::fprintf(json ? stderr : stdout, "%s\n", qPrintable(summary(findings, int(cues.size()))));
    return hasErrors(findings) || (strict && !findings.isEmpty()) ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A PDF is drawn with the toolkit's fonts, which need a (screenless) GUI application.
    bool drawsPdf = false;
    for (int i = 1; i < argc; ++i)
        drawsPdf = drawsPdf || QByteArray(argv[i]).toLower().endsWith(".pdf");
    if (drawsPdf && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const std::unique_ptr<QCoreApplication> app = drawsPdf ? std::make_unique<QGuiApplication>(argc, argv)
                                                           : std::make_unique<QCoreApplication>(argc, argv);
    QCommandLineParser parser;
    rz48::describeProgram(parser, "rz48cue", QStringLiteral(
        "Cue lists for the RZ-48 away from the unit.\n"
        "\n"
        "  rz48cue convert IN OUT   read a cue list (.rz48cues), a cue sheet, a PDF cue sheet\n"
        "                           (FilmLight, EdiCue or other; one printed here gives back its list\n"
        "                           exactly), a DAW's session text, an EDL, CSV/TSV or a marker list,\n"
        "                           subtitles (.srt, .vtt), MIDI markers, or any text with timecodes\n"
        "                           (HH:MM:SS:FF), chosen by content (--format forces one); a line that\n"
        "                           cannot be read is printed as \"LINE: why\" on standard error. Write\n"
        "                           a cue list (OUT.rz48cues, every field), a cue sheet (OUT.txt; the\n"
        "                           fields a sheet cannot hold are named on standard error), a MIDI cue\n"
        "                           track (OUT.mid; with --markers a marker per cue for a DAW), a\n"
        "                           printable cue sheet (OUT.pdf), a spreadsheet (OUT.csv) or an EDL\n"
        "                           of locators (OUT.edl).\n"
        "                           A sheet's option lines set the options, as opening it in the\n"
        "                           cue window does; the options below override them. A MIDI\n"
        "                           track is sorted first, as the window's export does.\n"
        "  rz48cue list IN          one line per cue: row, In, Out, character, status, ID, text.\n"
        "  rz48cue dump FILE.mid    print the listing of a MIDI file (hex dump, chunks, events).\n"
        "  rz48cue check IN         the pre-flight check: one line per finding (\"ROW: error|warning:\n"
        "                           text\", rows from 1, 0 for the whole list), then a summary.\n"
        "                           --offset gives the streamer duration in seconds.\n"
        "\n"
        "Exit status: 0 done (check: no error), 1 a file could not be read or written, or the\n"
        "check found errors, 2 wrong usage (OUT the same file as IN included), 3 (check) the\n"
        "file cannot be read."));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("convert, list, dump or check"));
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("IN OUT, IN, or FILE.mid"));
    const QCommandLineOption tctype(QStringLiteral("tctype"), QStringLiteral("Timecode type: 0 24 fps, 1 25 fps, 2 30 drop-frame, 3 30 fps."), QStringLiteral("type"));
    const QCommandLineOption start(QStringLiteral("start"), QStringLiteral("Start timecode of the MIDI track."), QStringLiteral("HH:MM:SS:FF"));
    const QCommandLineOption offset(QStringLiteral("offset"), QStringLiteral("Offset of the MIDI track in seconds (the streamer duration, negated)."), QStringLiteral("seconds"), QStringLiteral("0"));
    const QCommandLineOption paper(QStringLiteral("paper"), QStringLiteral("PDF: the paper, a4 (the default) or letter."), QStringLiteral("size"), QStringLiteral("a4"));
    const QCommandLineOption byCharacter(QStringLiteral("by-character"), QStringLiteral("PDF: one section per character."));
    const QCommandLineOption character(QStringLiteral("character"), QStringLiteral("PDF: only this character's cues (that character's sheet)."),
                                       QStringLiteral("name"));
    const QCommandLineOption format(QStringLiteral("format"), QStringLiteral("Read IN as this format, not the one its content shows: %1.")
                                                                  .arg((QStringList {QStringLiteral("native"), QStringLiteral("sheet"), QStringLiteral("pdf")}
                                                                        + rz48::formats::readerNames()).join(QStringLiteral(", "))),
                                    QStringLiteral("name"));
    const QCommandLineOption zeroAt(QStringLiteral("zero-at"), QStringLiteral("Subtitles: the timecode the file's 0 stands for (default 00:00:00:00)."),
                                    QStringLiteral("HH:MM:SS:FF"));
    const QCommandLineOption shift(QStringLiteral("shift"), QStringLiteral("A time added to every cue read (\"-\" before it to take it away)."),
                                   QStringLiteral("[-]HH:MM:SS:FF"));
    const QCommandLineOption columns(QStringLiteral("columns"), QStringLiteral("CSV/TSV: what each column holds, in order, among id, in, out, "
                                                                               "character, text, notes, reason, skip (a file without a header row "
                                                                               "then reads every row as a cue)."),
                                     QStringLiteral("list"));
    const QCommandLineOption markers(QStringLiteral("markers"), QStringLiteral("OUT.mid: one marker per cue for a DAW, not the unit's cue track."));
    struct Flag {
        QCommandLineOption on, off;
    };
    auto flag = [](const char* name, const char* what) {
        return Flag {QCommandLineOption(QLatin1String(name), QStringLiteral("Include %1.").arg(QLatin1String(what))),
                     QCommandLineOption(QStringLiteral("no-") + QLatin1String(name), QStringLiteral("Leave out %1.").arg(QLatin1String(what)))};
    };
    const Flag text = flag("text", "the cue text");
    const Flag cueId = flag("cue-id", "the cue ID before the text");
    const Flag characterInText = flag("character-in-text", "the character (\"NAME: \") before the text");
    const Flag pulldown = flag("pulldown", "pull-down (tempo 0.1 % slower)");
    const Flag duplicate = flag("duplicate", "removal of duplicate In times when sorting");
    const Flag midnight = flag("midnight", "the midnight rotation when sorting");
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("check: the findings as a JSON array on standard output, the summary on standard error."));
    const QCommandLineOption strict(QStringLiteral("strict"), QStringLiteral("check: warnings count as errors."));
    parser.addOptions({tctype, start, offset, paper, byCharacter, character, format, zeroAt, shift, columns, markers, json, strict});
    for (const Flag* f : {&text, &cueId, &characterInText, &pulldown, &duplicate, &midnight})
        parser.addOptions({f->on, f->off});
    if (!rz48::parseArguments(parser))
        return fail(parser.errorText() + QStringLiteral(" (rz48cue --help lists the options)"), 2);

    const QStringList args = parser.positionalArguments();
    if (args.size() == 2 && args[0] == QLatin1String("dump"))
        return dump(args[1]);
    const bool checking = args.size() == 2 && args[0] == QLatin1String("check");
    const bool listing = args.size() == 2 && args[0] == QLatin1String("list");
    if (!checking && !listing && (args.size() != 3 || args[0] != QLatin1String("convert"))) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    // The options are checked before any file is read.
    int typeOption = -1;
    if (parser.isSet(tctype)) {
        bool ok = false;
        typeOption = parser.value(tctype).toInt(&ok);
        if (!ok || typeOption < 0 || typeOption > 3)
            return fail(QStringLiteral("--tctype takes 0, 1, 2 or 3"), 2);
    }
    if (parser.isSet(start) && !TcCalculator().isTc(parser.value(start)))
        return fail(QStringLiteral("--start takes a timecode HH:MM:SS:FF, not \"%1\"").arg(parser.value(start)), 2);
    bool offsetOk = false;
    const double offsetSeconds = parser.value(offset).toDouble(&offsetOk);
    // A day either way at most: the MIDI file's times are taken from it.
    if (!offsetOk || !std::isfinite(offsetSeconds) || std::abs(offsetSeconds) > 86400)
        return fail(QStringLiteral("--offset takes a number of seconds from -86400 to 86400, not \"%1\"").arg(parser.value(offset)), 2);
    const QString paperName = parser.value(paper).toLower();
    if (paperName != QLatin1String("a4") && paperName != QLatin1String("letter"))
        return fail(QStringLiteral("--paper takes a4 or letter, not \"%1\"").arg(parser.value(paper)), 2);
    Reading reading;
    reading.options.tctype = typeOption;
    if (parser.isSet(format)) {
        reading.options.format = parser.value(format).toLower();
        if (!(QStringList {QStringLiteral("native"), QStringLiteral("sheet"), QStringLiteral("pdf")} + rz48::formats::readerNames())
                 .contains(reading.options.format))
            return fail(QStringLiteral("--format takes one of %1, not \"%2\"")
                            .arg((QStringList {QStringLiteral("native"), QStringLiteral("sheet"), QStringLiteral("pdf")} + rz48::formats::readerNames())
                                     .join(QStringLiteral(", ")),
                                 parser.value(format)),
                        2);
    }
    if (parser.isSet(zeroAt)) {
        if (!rz48::frameOfLabelText(parser.value(zeroAt), typeOption >= 0 ? typeOption : 3))
            return fail(QStringLiteral("--zero-at takes a timecode HH:MM:SS:FF, not \"%1\"").arg(parser.value(zeroAt)), 2);
        reading.options.zeroAt = parser.value(zeroAt);
    }
    // Checked here at the widest rate, again at the list's once it is read.
    if (parser.isSet(shift) && !rz48::cueshift::parseShift(parser.value(shift), 3))
        return fail(QStringLiteral("--shift takes a timecode HH:MM:SS:FF, \"-\" before it to take it away, not \"%1\"").arg(parser.value(shift)), 2);
    if (parser.isSet(columns)) {
        static const QStringList words {QStringLiteral("id"), QStringLiteral("in"), QStringLiteral("out"), QStringLiteral("character"),
                                        QStringLiteral("text"), QStringLiteral("notes"), QStringLiteral("reason"), QStringLiteral("skip"),
                                        QStringLiteral("status")};
        reading.options.columns = parser.value(columns).toLower().split(u',');
        for (QString& word : reading.options.columns) {
            word = word.trimmed();
            if (!words.contains(word))
                return fail(QStringLiteral("--columns takes a list of %1, not \"%2\"").arg(words.join(QStringLiteral(", ")), word), 2);
        }
    }
    const QString in = args[1];
    const QString out = args.value(2);
    const QString suffix = QFileInfo(out).suffix().toLower();
    if (!checking && !listing) {
        // Never written over what is read: free text would become a sheet, a
        // sheet would lose its cue IDs' form.
        if (rz48::sameFile(in, out))
            return fail(QStringLiteral("%1 is the file read: write the output to another file").arg(out), 2);
        if (!QStringList {QStringLiteral("txt"), QStringLiteral("mid"), QStringLiteral("pdf"), QStringLiteral("csv"), QStringLiteral("edl"),
                          QLatin1String(rz48::native::kExtension)}
                 .contains(suffix))
            return fail(QStringLiteral("%1: the output must end in .rz48cues (cue list), .txt (cue sheet), .mid (MIDI cue track, or "
                                       "markers with --markers), .pdf (printable cue sheet), .csv (spreadsheet) or .edl (locators)").arg(out), 2);
    }

    rz48::native::CueList list;
    QString error;
    if (!readList(in, list, reading, &error))
        return fail(error, checking ? 3 : 1);
    if (typeOption >= 0)
        list.options.tctype = typeOption;
    if (parser.isSet(shift)) {
        const std::optional<int64_t> frames = rz48::cueshift::parseShift(parser.value(shift), list.options.tctype);
        if (!frames)
            return fail(QStringLiteral("--shift %1 is not a time at the list's rate (timecode type %2)").arg(parser.value(shift)).arg(list.options.tctype), 2);
        rz48::cueshift::shiftCues(list.cues, *frames, list.options.tctype);
    }
    const bool hadSessionFields = !rz48::native::fieldsTheSheetDrops(list).isEmpty();

    rz48::cuesheet::Options& options = list.options;
    auto setFlag = [&](const Flag& f, bool& value) {
        if (parser.isSet(f.on))
            value = true;
        if (parser.isSet(f.off))
            value = false;
    };
    setFlag(text, options.text);
    setFlag(cueId, options.cueId);
    setFlag(characterInText, options.characterInText);
    setFlag(pulldown, options.pulldown);
    setFlag(duplicate, options.duplicate);
    setFlag(midnight, options.midnight);
    if (typeOption >= 0)
        options.tctype = typeOption;
    if (parser.isSet(start))
        options.start = parser.value(start);
    if (listing)
        return listCues(list);
    QList<CueItem>& cues = list.cues;
    if (checking)
        return check(cues, options, std::abs(offsetSeconds), parser.isSet(json), parser.isSet(strict));
    if (options.tctype < 0 || options.tctype > 3)
        return fail(QStringLiteral("%1: its timecode type %2 is not 0 to 3 (24, 25, 30 drop-frame, 30 fps)").arg(in).arg(options.tctype));

    QByteArray bytes;
    if (suffix == QLatin1String("txt")) {
        bytes = rz48::cuesheet::stringFromCueTable(options, cues).toUtf8();
        if (hadSessionFields)
            std::fprintf(stderr, "rz48cue: the sheet leaves out the list's %s\n",
                         qPrintable(rz48::native::fieldsTheSheetDrops(list).join(QStringLiteral(", "))));
    } else if (suffix == QLatin1String("csv")) {
        bytes = rz48::formats::writeCsv(cues, options.tctype);
    } else if (suffix == QLatin1String("edl")) {
        bytes = rz48::formats::writeEdlLocators(cues, options.tctype, QFileInfo(in).completeBaseName());
    } else if (suffix == QLatin1String("mid") && parser.isSet(markers)) {
        bytes = rz48::formats::writeMidiMarkers(cues, options.tctype, options.start);
    } else if (suffix == QLatin1String(rz48::native::kExtension)) {
        bytes = rz48::native::writeCueList(list);
    } else if (suffix == QLatin1String("pdf")) {
        rz48::print::PdfOptions pdf;
        pdf.title = QFileInfo(in).completeBaseName();
        pdf.paper = paperName == QLatin1String("letter") ? rz48::print::Paper::Letter : rz48::print::Paper::A4;
        pdf.byCharacter = parser.isSet(byCharacter);
        if (parser.isSet(character)) {
            // One character's sheet: its cues, the name in the title.
            const QString name = parser.value(character);
            QList<CueItem> theirs;
            for (const CueItem& c : cues)
                if (c.character.compare(name, Qt::CaseInsensitive) == 0)
                    theirs << c;
            if (theirs.isEmpty())
                return fail(QStringLiteral("%1 has no cue of the character %2").arg(in, name));
            list.cues = theirs;
            pdf.title += QStringLiteral(" - ") + name;
        }
        int pages = 0;
        bytes = rz48::print::cueSheetPdf(list, pdf, &pages, &error);
        if (bytes.isEmpty())
            return fail(QStringLiteral("cannot make %1: %2").arg(out, error));
    } else {
        if (cues.isEmpty())
            return fail(QStringLiteral("%1 holds no cues (no line with a timecode HH:MM:SS:FF)").arg(in));
        TcCalculator tcc;
        QList<CueItem> sorted = options.characterInText ? rz48::cuesheet::withCharacterInText(cues) : cues;
        rz48::cuesheet::sortCues(sorted, options.duplicate, options.midnight, tcc);
        MidiTrack track;
        bytes = track.onExportMidi(sorted, options.start, options.tctype, offsetSeconds, options.text, options.pulldown, options.cueId);
    }
    if (!rz48::writeFileAtomically(out, bytes, &error))
        return fail(QStringLiteral("cannot write %1: %2").arg(out, error));
    if (reading.problems > 0)
        std::printf("%d cues written to %s; %d line%s of %s could not be read\n", int(cues.size()), qPrintable(out), reading.problems,
                    reading.problems == 1 ? "" : "s", qPrintable(in));
    else
        std::printf("%d cues written to %s\n", int(cues.size()), qPrintable(out));
    return 0;
}
