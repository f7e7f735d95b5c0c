#include "session/SetupTransfer.h"

#include "codecs/VersionCheck.h"

#include <QMap>

namespace rz48::session {

namespace {

constexpr int kAnswerMs = 2000;
constexpr int kBareMAnswerMs = 300; // the unit's answer to a bare "M" is not one the protocol lists

} // namespace

CapturedSetup setupFromReports(const QMap<QChar, QString>& reports, const QString& when, const QString& port,
                               const QString& firmware)
{
    CapturedSetup captured;
    rz48::setup::Setup& setup = captured.setup;
    setup.comments << QStringLiteral("RZ-48 setup, saved %1 from %2").arg(when, port)
                   << QStringLiteral("firmware %1").arg(firmware.isEmpty() ? QStringLiteral("not reported") : firmware);
    for (const char* l = rz48::setup::kLetters; *l; ++l) {
        const QChar letter = QLatin1Char(*l);
        const auto report = reports.constFind(letter);
        const std::optional<QString> command = report != reports.constEnd() ? rz48::setup::commandFromReport(*report) : std::nullopt;
        if (command) {
            setup.lines << *command;
            continue;
        }
        captured.missing << QString(letter);
        setup.comments << (*l == 'M' ? QStringLiteral("M: no answer to a bare \"M\" within 300 ms; the SDI generator setting is left out")
                                     : QStringLiteral("%1: %2; left out").arg(letter).arg(report != reports.constEnd()
                                                                                             ? QStringLiteral("the report \"%1\" was not complete").arg(*report)
                                                                                             : QStringLiteral("no report")));
    }
    return captured;
}

CapturedSetup captureSetup(UnitSession& session, const QString& when)
{
    const std::optional<QString> k = session.ask(QStringLiteral("k"), u'k', kAnswerMs);
    QMap<QChar, QString> reports;
    for (const char* l = rz48::setup::kLetters; *l; ++l) {
        const QChar letter = QLatin1Char(*l);
        if (const std::optional<QString> report = session.ask(QString(letter), letter, *l == 'M' ? kBareMAnswerMs : kAnswerMs))
            reports.insert(letter, *report);
    }
    return setupFromReports(reports, when, session.portPath(), k ? rz48::versionOfReport(*k).description : QString());
}

QList<Difference> compareSetup(const rz48::setup::Setup& wanted, const rz48::setup::Setup& unit)
{
    QMap<char, QString> reported;
    for (const QString& line : unit.lines)
        reported.insert(rz48::setup::letterOf(line), line);
    QList<Difference> differences;
    for (const QString& line : wanted.lines) {
        const char letter = rz48::setup::letterOf(line);
        const QString& theirs = reported.value(letter);
        if (theirs != line)
            differences << Difference {letter, line, theirs};
    }
    return differences;
}

QString describe(const Difference& d)
{
    return QStringLiteral("%1: file %2 / unit %3")
        .arg(QLatin1Char(d.letter))
        .arg(d.file.isEmpty() ? QStringLiteral("(none)") : d.file, d.unit.isEmpty() ? QStringLiteral("(no report)") : d.unit);
}

} // namespace rz48::session
