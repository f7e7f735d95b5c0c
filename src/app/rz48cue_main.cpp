// rz48cue: cue lists away from the unit. Converts a cue sheet or any text
// with timecodes into a cue sheet (.txt) or a MIDI cue track (.mid), and
// lists what a MIDI file holds.
#include "common/FileIo.h"
#include "common/FilePanels.h"
#include "common/Program.h"
#include "cuelist/CueCheck.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "cuelist/PdfImport.h"
#include "timecode/TcCalculator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstdio>

namespace {

constexpr qint64 kMaxMidiBytes = 16 * 1024 * 1024;

int fail(const QString& message, int code = 1)
{
    std::fprintf(stderr, "rz48cue: %s\n", qPrintable(message));
    return code;
}

int dump(const QString& path)
{
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

// A cue sheet, any text with timecodes, or a PDF cue sheet: its cues, and
// the options its option lines set.
bool readCues(const QString& in, rz48::cuesheet::Options& options, QList<CueItem>& cues, QString* error)
{
    if (QFileInfo(in).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0) {
        if (rz48::pdf::importPdf(in, cues, error))
            return true;
        *error = QStringLiteral("cannot import %1: %2").arg(in, *error);
        return false;
    }
    QString content;
    if (!rz48::readUtf8File(in, rz48::cuesheet::kMaxSheetBytes, content, error)) {
        *error = QStringLiteral("cannot read %1: %2").arg(in, *error);
        return false;
    }
    rz48::cuesheet::cueTableFromString(content, options, cues);
    return true;
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
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    rz48::describeProgram(parser, "rz48cue", QStringLiteral(
        "Cue lists for the RZ-48 away from the unit.\n"
        "\n"
        "  rz48cue convert IN OUT   read a cue sheet, any text with timecodes (HH:MM:SS:FF) or a\n"
        "                           PDF cue sheet (FilmLight, EdiCue or other), and write a cue\n"
        "                           sheet (OUT.txt) or a MIDI cue track (OUT.mid).\n"
        "                           A sheet's option lines set the options, as opening it in the\n"
        "                           cue window does; the options below override them. A MIDI\n"
        "                           track is sorted first, as the window's export does.\n"
        "  rz48cue dump FILE.mid    print the listing of a MIDI file (hex dump, chunks, events).\n"
        "  rz48cue check IN         the pre-flight check: one line per finding (\"ROW: error|warning:\n"
        "                           text\", rows from 1, 0 for the whole list), then a summary.\n"
        "                           --offset gives the streamer duration in seconds.\n"
        "\n"
        "Exit status: 0 done (check: no error), 1 a file could not be read or written, or the\n"
        "check found errors, 2 wrong usage, 3 (check) the file cannot be read."));
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("convert or dump"));
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("IN OUT, or FILE.mid"));
    const QCommandLineOption tctype(QStringLiteral("tctype"), QStringLiteral("Timecode type: 0 24 fps, 1 25 fps, 2 30 drop-frame, 3 30 fps."), QStringLiteral("type"));
    const QCommandLineOption start(QStringLiteral("start"), QStringLiteral("Start timecode of the MIDI track."), QStringLiteral("HH:MM:SS:FF"));
    const QCommandLineOption offset(QStringLiteral("offset"), QStringLiteral("Offset of the MIDI track in seconds (the streamer duration, negated)."), QStringLiteral("seconds"), QStringLiteral("0"));
    struct Flag {
        QCommandLineOption on, off;
    };
    auto flag = [](const char* name, const char* what) {
        return Flag {QCommandLineOption(QLatin1String(name), QStringLiteral("Include %1.").arg(QLatin1String(what))),
                     QCommandLineOption(QStringLiteral("no-") + QLatin1String(name), QStringLiteral("Leave out %1.").arg(QLatin1String(what)))};
    };
    const Flag text = flag("text", "the cue text");
    const Flag cueId = flag("cue-id", "the cue ID before the text");
    const Flag pulldown = flag("pulldown", "pull-down (tempo 0.1 % slower)");
    const Flag duplicate = flag("duplicate", "removal of duplicate In times when sorting");
    const Flag midnight = flag("midnight", "the midnight rotation when sorting");
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("check: the findings as a JSON array on standard output, the summary on standard error."));
    const QCommandLineOption strict(QStringLiteral("strict"), QStringLiteral("check: warnings count as errors."));
    parser.addOptions({tctype, start, offset, json, strict});
    for (const Flag* f : {&text, &cueId, &pulldown, &duplicate, &midnight})
        parser.addOptions({f->on, f->off});
    if (!rz48::parseArguments(parser))
        return fail(parser.errorText() + QStringLiteral(" (rz48cue --help lists the options)"), 2);

    const QStringList args = parser.positionalArguments();
    if (args.size() == 2 && args[0] == QLatin1String("dump"))
        return dump(args[1]);
    const bool checking = args.size() == 2 && args[0] == QLatin1String("check");
    if (!checking && (args.size() != 3 || args[0] != QLatin1String("convert"))) {
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
    const QString in = args[1];
    // Never written over what is read: free text would become a sheet, a
    // sheet would lose its cue IDs' form.
    if (!checking && rz48::sameFile(in, args[2]))
        return fail(QStringLiteral("%1 is the file read: write the output to another file").arg(args[2]), 2);

    rz48::cuesheet::Options options;
    QList<CueItem> cues;
    QString error;
    if (!readCues(in, options, cues, &error))
        return fail(error, checking ? 3 : 1);

    auto setFlag = [&](const Flag& f, bool& value) {
        if (parser.isSet(f.on))
            value = true;
        if (parser.isSet(f.off))
            value = false;
    };
    setFlag(text, options.text);
    setFlag(cueId, options.cueId);
    setFlag(pulldown, options.pulldown);
    setFlag(duplicate, options.duplicate);
    setFlag(midnight, options.midnight);
    if (typeOption >= 0)
        options.tctype = typeOption;
    if (parser.isSet(start))
        options.start = parser.value(start);
    if (checking)
        return check(cues, options, std::abs(offsetSeconds), parser.isSet(json), parser.isSet(strict));
    if (options.tctype < 0 || options.tctype > 3)
        return fail(QStringLiteral("%1: its timecode type %2 is not 0 to 3 (24, 25, 30 drop-frame, 30 fps)").arg(in).arg(options.tctype));
    const QString out = args[2];

    const QString suffix = QFileInfo(out).suffix().toLower();
    QByteArray bytes;
    if (suffix == QLatin1String("txt")) {
        bytes = rz48::cuesheet::stringFromCueTable(options, cues).toUtf8();
    } else if (suffix == QLatin1String("mid")) {
        if (cues.isEmpty())
            return fail(QStringLiteral("%1 holds no cues (no line with a timecode HH:MM:SS:FF)").arg(in));
        TcCalculator tcc;
        rz48::cuesheet::sortCues(cues, options.duplicate, options.midnight, tcc);
        MidiTrack track;
        bytes = track.onExportMidi(cues, options.start, options.tctype, offsetSeconds, options.text, options.pulldown,
                                   options.cueId);
    } else {
        return fail(QStringLiteral("%1: the output must end in .txt (cue sheet) or .mid (MIDI cue track)").arg(out), 2);
    }
    if (!rz48::writeFileAtomically(out, bytes, &error))
        return fail(QStringLiteral("cannot write %1: %2").arg(out, error));
    std::printf("%d cues written to %s\n", int(cues.size()), qPrintable(out));
    return 0;
}
