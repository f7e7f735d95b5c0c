#pragma once
// The pre-flight check of a cue list: what the transfer to the unit, the
// unit's streamers and the MIDI export will do to it that the operator may
// not expect, found before the session. Rows count from 1 in the list as
// read (option lines not counted); a finding about the whole list has row 0.
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"

#include <QList>
#include <QString>

namespace rz48::cuecheck {

enum class Severity { Error, Warning };

struct Finding {
    int row = 0;
    Severity severity = Severity::Error;
    QString message;
    bool operator==(const Finding&) const = default;
};

// The findings for a list with its options and the streamer duration (in
// seconds), errors and warnings in row order.
QList<Finding> checkCueList(const QList<CueItem>& items, const rz48::cuesheet::Options& options, double streamerSeconds);

// "ROW: error|warning: text".
QString findingLine(const Finding& finding);
// "N errors, M warnings in K cues".
QString summary(const QList<Finding>& findings, int cues);
// A JSON array of {"row", "severity", "message"}.
QByteArray findingsJson(const QList<Finding>& findings);
inline bool hasErrors(const QList<Finding>& findings)
{
    for (const Finding& f : findings)
        if (f.severity == Severity::Error)
            return true;
    return false;
}

} // namespace rz48::cuecheck
