// rz48cue: cue lists away from the unit. Converts a cue sheet or any text
// with timecodes into a cue sheet (.txt) or a MIDI cue track (.mid), and
// lists what a MIDI file holds.
#include "common/FilePanels.h"
#include "common/Program.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "cuelist/PdfImport.h"
#include "timecode/TcCalculator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

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
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot open %1: %2").arg(path, file.errorString()));
    if (file.size() > kMaxMidiBytes)
        return fail(QStringLiteral("%1 has %2 bytes; a MIDI cue track has at most %3").arg(path).arg(file.size()).arg(kMaxMidiBytes));
    MidiTrack track;
    track.importListing(file.readAll());
    return 0;
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
        "\n"
        "Exit status: 0 done, 1 a file could not be read or written, 2 wrong usage."));
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
    parser.addOptions({tctype, start, offset});
    for (const Flag* f : {&text, &cueId, &pulldown, &duplicate, &midnight})
        parser.addOptions({f->on, f->off});
    if (!rz48::parseArguments(parser))
        return fail(parser.errorText() + QStringLiteral(" (rz48cue --help lists the options)"), 2);

    const QStringList args = parser.positionalArguments();
    if (args.size() == 2 && args[0] == QLatin1String("dump"))
        return dump(args[1]);
    if (args.size() != 3 || args[0] != QLatin1String("convert")) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    const QString in = args[1], out = args[2];

    rz48::cuesheet::Options options;
    QList<CueItem> cues;
    QString error;
    if (QFileInfo(in).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0) {
        if (!rz48::pdf::importPdf(in, cues, &error))
            return fail(QStringLiteral("cannot import %1: %2").arg(in, error));
    } else {
        QString content;
        if (!rz48::readUtf8File(in, rz48::cuesheet::kMaxSheetBytes, content, &error))
            return fail(QStringLiteral("cannot read %1: %2").arg(in, error));
        rz48::cuesheet::cueTableFromString(content, options, cues);
    }

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
    if (parser.isSet(tctype)) {
        bool ok = false;
        options.tctype = parser.value(tctype).toInt(&ok);
        if (!ok || options.tctype < 0 || options.tctype > 3)
            return fail(QStringLiteral("--tctype takes 0, 1, 2 or 3"), 2);
    }
    if (parser.isSet(start))
        options.start = parser.value(start);
    bool offsetOk = false;
    const double offsetSeconds = parser.value(offset).toDouble(&offsetOk);
    if (!offsetOk)
        return fail(QStringLiteral("--offset takes a number of seconds"), 2);

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
