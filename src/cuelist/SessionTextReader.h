#pragma once
// A DAW's "Session Info as Text": the header (session name, sample rate,
// timecode format, session start), the markers table in its six- and
// eight-column forms and the clip rows of every track. A marker is a cue at
// its location (or its time reference in samples from the session start,
// at the session's real rate), its name the text, its comments the notes,
// the track of a track marker its character; a clip is a cue from its start
// to its end, its name the text, its track the character. In names, "[...]"
// is the reason and "{Key=Value}" and "$KEY=VALUE" tags go to the notes.
#include "cuelist/CueFormats.h"

namespace rz48::formats {

// The file's header and one of its spaced section titles in the text.
bool looksLikeSessionText(const QString& head);
Imported readSessionText(const QByteArray& bytes, const ImportOptions& options);

// A name split by the dialogue conventions: the text without its tags,
// "[...]" as the reason, other tags (as written) as notes.
struct NameParts {
    QString text;
    QString reason;
    QString notes;
};
NameParts splitName(const QString& name);

} // namespace rz48::formats
