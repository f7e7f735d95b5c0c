// rz48ctl: the RZ-48 from scripts and support calls, without a window.
#include "common/FileIo.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "common/Program.h"
#include "session/SetupTransfer.h"
#include "cuelist/CueSheet.h"
#include "emulator/PtyHost.h"
#include "timecode/TcCalculator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstdio>
#include <map>
#include <memory>

namespace {

using rz48::session::UnitSession;

constexpr const char* kDescription =
    "The RZ-48 from scripts and support calls, without a window. It searches once\n"
    "for the unit (as the panel does), sends the probe and then only what the\n"
    "command needs.\n"
    "\n"
    "  rz48ctl ports              the candidate ports and what was found on each\n"
    "  rz48ctl get [LETTERS]      the unit's report lines (all the setup letters\n"
    "                             ACEGHJMQUXYmnrt when none are named)\n"
    "  rz48ctl send LINE...       sends each command line, prints what the unit answered\n"
    "  rz48ctl save FILE          writes the unit's setup (.rz48setup)\n"
    "  rz48ctl apply FILE         sends a setup, then lists what the unit reports otherwise\n"
    "  rz48ctl diff FILE          prints \"LETTER: file LINE / unit LINE\" for each difference\n"
    "  rz48ctl send-cues SHEET    sends a cue sheet's In/Out pairs, as the cue window does\n"
    "  rz48ctl trigger NAME       streamer0..streamer3, accum, punch0..punch3\n"
    "\n"
    "Exit status: 0 done (for apply and diff: nothing differs), 1 the unit disagreed or a\n"
    "transfer failed, 2 wrong usage, 3 no unit found or the port could not be opened.";

int fail(const QString& message, int code = 1)
{
    std::fprintf(stderr, "rz48ctl: %s\n", qPrintable(message));
    return code;
}

const std::map<QString, int>& triggerNotes()
{
    static const std::map<QString, int> notes {
        {QStringLiteral("streamer0"), 0x7C}, {QStringLiteral("streamer1"), 0x7D}, {QStringLiteral("streamer2"), 0x7E},
        {QStringLiteral("streamer3"), 0x7F}, {QStringLiteral("accum"), 0x77},     {QStringLiteral("punch0"), 0x78},
        {QStringLiteral("punch1"), 0x79},    {QStringLiteral("punch2"), 0x7A},    {QStringLiteral("punch3"), 0x7B},
    };
    return notes;
}

bool readSetup(const QString& path, rz48::setup::Setup& setup, int* code)
{
    int line = 0;
    QString why;
    if (rz48::setup::readSetupFile(path, setup, &line, &why))
        return true;
    *code = fail(line < 0    ? QStringLiteral("cannot read %1: %2").arg(path, why)
                 : line == 0 ? QStringLiteral("no setting in %1").arg(path)
                             : QStringLiteral("%1:%2: %3").arg(path).arg(line).arg(why));
    return false;
}

QString now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODate);
}

// Prints the differences; 1 when there are any.
int report(const QList<rz48::session::Difference>& differences)
{
    for (const rz48::session::Difference& d : differences)
        std::printf("%s\n", qPrintable(rz48::session::describe(d)));
    return differences.isEmpty() ? 0 : 1;
}

int sendCues(UnitSession& session, const QString& path)
{
    QString text, error;
    if (!rz48::readUtf8File(path, rz48::cuesheet::kMaxSheetBytes, text, &error))
        return fail(QStringLiteral("cannot read %1: %2").arg(path, error));
    rz48::cuesheet::Options options;
    QList<CueItem> cues;
    rz48::cuesheet::cueTableFromString(text, options, cues);
    const QStringList commands = rz48::cuesheet::txInOutsCommands(cues, TcCalculator());
    if (commands.size() < 2)
        return fail(QStringLiteral("%1 has no cue with an In time to send").arg(path));
    for (qsizetype i = 0; i < commands.size(); ++i) {
        session.send(commands[i]);
        session.drain();
        std::fprintf(stderr, "rz48ctl: %lld of %lld sent\n", static_cast<long long>(i + 1), static_cast<long long>(commands.size()));
    }
    const std::optional<QString> result = session.waitFor(u'h', 2000);
    if (!result)
        return fail(QStringLiteral("the unit did not report the transfer's result within 2 s"));
    std::printf("%s\n", qPrintable(*result));
    if (result->mid(1).trimmed().toUInt(nullptr, 16) != 0)
        return fail(QStringLiteral("the unit did not take every In/Out pair: send the cues again"));
    std::printf("success!\n");
    return 0;
}

int run(UnitSession& session, const QString& command, const QStringList& args)
{
    if (command == QLatin1String("get")) {
        const QString letters = args.isEmpty() ? QLatin1String(rz48::setup::kLetters) : args.join(QString());
        int code = 0;
        for (const QChar letter : letters) {
            const std::optional<QString> line = session.ask(QString(letter), letter, letter == u'M' ? 300 : 2000);
            if (line)
                std::printf("%s\n", qPrintable(*line));
            else
                code = fail(QStringLiteral("%1: no report").arg(letter));
        }
        return code;
    }
    if (command == QLatin1String("send")) {
        // Each line of an argument is a command of its own: a line break
        // is never dropped to merge two commands into one.
        int code = 0;
        for (const QString& arg : args) {
            for (const QString& line : arg.split(QRegularExpression(QStringLiteral("[\r\n]+")), Qt::SkipEmptyParts)) {
                const std::optional<QStringList> answer = session.exchange(line);
                if (!answer) {
                    code = fail(QStringLiteral("%1: no answer").arg(line));
                    continue;
                }
                for (const QString& text : *answer)
                    std::printf("%s\n", qPrintable(text));
            }
        }
        return code;
    }
    if (command == QLatin1String("save")) {
        const rz48::session::CapturedSetup captured = rz48::session::captureSetup(session, now());
        if (captured.setup.lines.isEmpty())
            return fail(QStringLiteral("the unit reported no setting: %1 not written").arg(args[0]));
        QString error;
        if (!rz48::writeFileAtomically(args[0], rz48::setup::formatSetup(captured.setup), &error))
            return fail(QStringLiteral("cannot write %1: %2").arg(args[0], error));
        QStringList missing = captured.missing;
        missing.removeAll(QStringLiteral("M")); // a bare "M" may go unanswered: the file says so
        return missing.isEmpty() ? 0 : fail(QStringLiteral("no report for %1: left out of %2").arg(missing.join(QStringLiteral(", ")), args[0]));
    }
    if (command == QLatin1String("apply") || command == QLatin1String("diff")) {
        rz48::setup::Setup wanted;
        int code = 0;
        if (!readSetup(args[0], wanted, &code))
            return code;
        if (command == QLatin1String("apply")) {
            for (const QString& line : wanted.lines)
                session.send(line);
            session.drain();
        }
        return report(rz48::session::compareSetup(wanted, rz48::session::captureSetup(session, now()).setup));
    }
    if (command == QLatin1String("send-cues"))
        return sendCues(session, args[0]);
    // trigger
    session.trigger(triggerNotes().at(args[0]));
    session.drain();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    rz48::diagnosticsToStandardError(); // standard output carries the unit's answers only
    QCommandLineParser parser;
    rz48::describeProgram(parser, "rz48ctl", QString::fromUtf8(kDescription));
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("Use this serial port and skip the search."), QStringLiteral("path"));
    const QCommandLineOption devDir(QStringLiteral("dev-dir"), QStringLiteral("Search this directory for the unit instead of /dev."),
                                    QStringLiteral("directory"));
    const QCommandLineOption simulate(QStringLiteral("simulate"), QStringLiteral("Talk to the built-in emulated unit."));
    parser.addOptions({port, devDir, simulate});
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("ports, get, send, save, apply, diff, send-cues or trigger"));
    if (!rz48::parseArguments(parser))
        return rz48::usageError(parser.errorText());

    // The whole command line is checked before any port is opened.
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty())
        return rz48::usageError(QStringLiteral("no command"));
    const QString command = positional.first();
    const QStringList args = positional.mid(1);
    const std::map<QString, std::pair<int, int>> arity {
        {QStringLiteral("ports"), {0, 0}}, {QStringLiteral("get"), {0, 1}},    {QStringLiteral("send"), {1, 1000}},
        {QStringLiteral("save"), {1, 1}},  {QStringLiteral("apply"), {1, 1}},  {QStringLiteral("diff"), {1, 1}},
        {QStringLiteral("send-cues"), {1, 1}}, {QStringLiteral("trigger"), {1, 1}},
    };
    const auto known = arity.find(command);
    if (known == arity.end())
        return rz48::usageError(QStringLiteral("unknown command %1").arg(command));
    if (args.size() < known->second.first || args.size() > known->second.second)
        return rz48::usageError(QStringLiteral("wrong number of arguments for %1").arg(command));
    if (command == QLatin1String("trigger") && !triggerNotes().count(args[0]))
        return rz48::usageError(QStringLiteral("no trigger %1 (streamer0..streamer3, accum, punch0..punch3)").arg(args[0]));
    if (command == QLatin1String("get")) {
        for (const QChar letter : args.value(0))
            if (!QByteArray(rz48::setup::kLetters).contains(char(letter.toLatin1())) || letter.unicode() > 0x7F)
                return rz48::usageError(QStringLiteral("%1 is not a setup letter (%2)").arg(letter).arg(QLatin1String(rz48::setup::kLetters)));
    }
    if (parser.isSet(simulate) && (parser.isSet(port) || parser.isSet(devDir)))
        return rz48::usageError(QStringLiteral("--simulate talks to the emulated unit: no --port or --dev-dir with it"));

    QString directory = parser.value(devDir);
    std::unique_ptr<rz48::emu::PtyHost> host;
    QTemporaryDir simulationDir;
    if (parser.isSet(simulate)) {
        host = std::make_unique<rz48::emu::PtyHost>();
        std::string error;
        if (!simulationDir.isValid() || !host->start(simulationDir.path().toStdString(), "tty.usbserial-EMU", &error))
            return fail(QStringLiteral("cannot start the emulated unit: %1").arg(QString::fromStdString(error)), 3);
        host->setPacing(rz48::emu::PtyHost::kPortSpeed);
        directory = simulationDir.path();
    }
    if (command == QLatin1String("ports"))
        return rz48::session::printPortListing(directory, parser.value(port));

    UnitSession session;
    QStringList reasons;
    if (!session.open(directory, parser.value(port), &reasons)) {
        for (const QString& reason : reasons)
            std::fprintf(stderr, "%s\n", qPrintable(reason));
        return fail(QStringLiteral("no RZ-48 answered"), 3);
    }
    return run(session, command, args);
}
