#pragma once
// One cue: In and Out times, identifier, text and notes, all text. Times are
// held as eight digits HHMMSSFF or as imported timecode text; every consumer
// reads them through TCFormatter. Beside the cue sheet's five texts, a cue
// of a session has the character who speaks it, the reason for the line and
// its status, and keeps what a later panel wrote into its native file.
#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

class QDataStream;

// Where a cue stands in the session: still to record, recorded, left out.
enum class CueStatus { Todo, Done, Omit };

class CueItem {
public:
    QString cueId = QStringLiteral("cue ID");
    QString cueIn = QStringLiteral("00000000");
    QString cueOut;
    QString cueText = QStringLiteral("insert cue text here");
    QString cueNotes = QStringLiteral("notes");
    QString character;
    QString reason;
    CueStatus status = CueStatus::Todo;
    QJsonObject unknownKeys; // a native file's keys this panel does not know, written back as read

    // The In time as shown: HH:MM:SS:FF or "---".
    QString getCueIn() const;
    // Compares the raw In times, ignoring case.
    int caseInsensitiveCompare(const CueItem& other) const;

    // Keyed archive ("cueId", "cueIn", "cueOut", "cueText", "cueNotes"),
    // used to carry cues on the clipboard and in drags.
    void encodeWithCoder(QDataStream& out) const;
    // Reads `keys` key and value pairs (the five texts of an older archive).
    static CueItem initWithCoder(QDataStream& in, quint32 keys = 5);

    bool operator==(const CueItem& o) const
    {
        return cueId == o.cueId && cueIn == o.cueIn && cueOut == o.cueOut && cueText == o.cueText && cueNotes == o.cueNotes
            && character == o.character && reason == o.reason && status == o.status && unknownKeys == o.unknownKeys;
    }
};

namespace rz48 {

// "todo", "done", "omit"; and back (none for another word).
QString statusName(CueStatus status);
std::optional<CueStatus> statusFromName(const QString& name);

inline constexpr const char* kCueItemsMimeType = "application/x-rz48-cue-items";
QByteArray archiveCueItems(const QList<CueItem>& items);
QList<CueItem> unarchiveCueItems(const QByteArray& data);

} // namespace rz48
