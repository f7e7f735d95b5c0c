#pragma once
// What a headless session does with setups and cue lists: read the unit's
// setup (its report lines turned into the commands that set them), apply a
// setup, compare one with the unit, and the cue window's In/Out transfer.
#include "codecs/SetupFile.h"
#include "session/UnitSession.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace rz48::session {

struct CapturedSetup {
    rz48::setup::Setup setup;
    QStringList missing; // letters the unit did not report (a bare "M" may go unanswered)
};

// The setup of the unit's report lines by letter (those that came), with the
// comments: when, from which port, the firmware, and each letter left out.
CapturedSetup setupFromReports(const QMap<QChar, QString>& reports, const QString& when, const QString& port,
                               const QString& firmware);

// Asks for "k" (for the firmware version in the comments) and each setup
// letter in order, and nothing else. `when` is the time stamp written.
CapturedSetup captureSetup(UnitSession& session, const QString& when);

struct Difference {
    char letter;
    QString file; // the file's line, or empty
    QString unit; // the unit's, or empty when it did not report
};
// The letters of `wanted` whose lines differ from what the unit reports.
QList<Difference> compareSetup(const rz48::setup::Setup& wanted, const rz48::setup::Setup& unit);
// "LETTER: file LINE / unit LINE".
QString describe(const Difference& d);

} // namespace rz48::session
