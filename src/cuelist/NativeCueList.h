#pragma once
// The cue list's own file (.rz48cues): UTF-8 JSON that keeps everything a
// list holds, where the cue sheet keeps five texts per cue and loses some of
// them. Every key is written, empty or not; every string comes back exactly;
// keys this panel does not know (a later version's) are kept and written
// back unchanged; a file of a later major version is refused, not half read.
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace rz48::native {

inline constexpr const char* kExtension = "rz48cues";
inline constexpr int kVersion = 1;
// The name of the list inside a PDF cue sheet printed from it.
inline constexpr const char* kPdfAttachmentName = "cue-list.rz48cues";
// The largest native file read (100,000 cues with long texts).
inline constexpr qint64 kMaxBytes = 256 * 1024 * 1024;

// The rehearsal video of a list: its file, the timecode of its first frame
// (empty: the file's own) and the frames it is moved by against the timecode.
struct ListVideo {
    QString file;
    QString start;
    int offset = 0;
    bool operator==(const ListVideo&) const = default;
};
// The largest offset kept (a day at 30 frames a second), either way.
inline constexpr int kMaxVideoOffset = 24 * 60 * 60 * 30;

struct CueList {
    rz48::cuesheet::Options options; // the sheet's seven, and characterInText
    ListVideo video;
    QList<CueItem> cues;
    QJsonObject unknownKeys;         // top level
    QJsonObject unknownOptions;
    bool operator==(const CueList&) const = default;
};

// The file's bytes: pretty-printed JSON, keys in a fixed order, so that a
// list saved twice gives the same bytes.
QByteArray writeCueList(const CueList& list);
// False with the reason when the bytes are not a native cue list, or one
// of a later major version.
bool readCueList(const QByteArray& bytes, CueList& list, QString* error);
// Whether the bytes look like a native cue list (to choose a reader).
bool looksNative(const QByteArray& bytes);

// A time as the native file writes it: HH:MM:SS:FF (";" before the frames
// at drop-frame), "" when there is none.
QString nativeTime(const QString& stored, int tctype);

// What the cue sheet drops of a list: "character", "reason", "status" (and
// "character in text") where any cue has them.
QStringList fieldsTheSheetDrops(const CueList& list);

} // namespace rz48::native
