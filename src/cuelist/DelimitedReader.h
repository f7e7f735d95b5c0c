#pragma once
// Spreadsheets saved as CSV or TSV, and the marker lists picture editors
// export in those shapes. The delimiter is sniffed among comma, semicolon
// and TAB; fields follow RFC 4180 (quotes around delimiters, line breaks
// and doubled quotes); UTF-8 with or without a byte order mark, UTF-16 with
// one, else Latin-1. A header row names the columns (the words below), or
// the columns option does; a point marker's Out equal to its In is no Out.
// Times: HH:MM:SS:FF, ";" or "." before the frames, HH;MM;SS;FF (which makes
// the list drop-frame), or HH:MM:SS.mmm rounded to the nearest frame.
#include "cuelist/CueFormats.h"

namespace rz48::formats {

// A .csv or .tsv name, a header with an In column and another known
// column, or the headerless marker list (user, timecode, track, colour,
// comment, duration).
bool looksDelimited(const QString& head, const QString& fileName);
Imported readDelimited(const QByteArray& bytes, const ImportOptions& options);

// The mapping word of a header word: in/start/timecode/tc -> "in",
// out/end -> "out", text/dialogue/dialog/line/marker name -> "text",
// character/role/char -> "character", id/cue/cue id/number -> "id",
// notes/note/comment/comments/description -> "notes", "reason", "status";
// "skip" for any other.
QString mappingWord(const QString& header);

} // namespace rz48::formats
