#pragma once
// One cue: In and Out times, identifier, text and notes, all text. Times are
// held as eight digits HHMMSSFF or as imported timecode text; every consumer
// reads them through TCFormatter.
#include <QByteArray>
#include <QList>
#include <QString>

class QDataStream;

class CueItem {
public:
    QString cueId = QStringLiteral("cue ID");
    QString cueIn = QStringLiteral("00000000");
    QString cueOut;
    QString cueText = QStringLiteral("insert cue text here");
    QString cueNotes = QStringLiteral("notes");

    // The In time as shown: HH:MM:SS:FF or "---".
    QString getCueIn() const;
    // Compares the raw In times, ignoring case.
    int caseInsensitiveCompare(const CueItem& other) const;

    // Keyed archive ("cueId", "cueIn", "cueOut", "cueText", "cueNotes"),
    // used to carry cues on the clipboard and in drags.
    void encodeWithCoder(QDataStream& out) const;
    static CueItem initWithCoder(QDataStream& in);

    bool operator==(const CueItem& o) const
    {
        return cueId == o.cueId && cueIn == o.cueIn && cueOut == o.cueOut && cueText == o.cueText && cueNotes == o.cueNotes;
    }
};

namespace rz48 {

inline constexpr const char* kCueItemsMimeType = "application/x-rz48-cue-items";
QByteArray archiveCueItems(const QList<CueItem>& items);
QList<CueItem> unarchiveCueItems(const QByteArray& data);

} // namespace rz48
