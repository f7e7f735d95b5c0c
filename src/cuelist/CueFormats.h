#pragma once
// Cue lists in the formats other programs write: a DAW's session text, edit
// decision lists, spreadsheets and marker lists, subtitles and MIDI marker
// files come in as cues; spreadsheets, locator lists and MIDI marker files
// go out. One reader per format (its own file pair), one registry that
// chooses the reader by the file's content. Pure functions over bytes,
// QtCore only; no reader trusts a count in a file, none stops at a bad line
// without naming it.
//
// Times come in as labels of the file's own rate when it states one, else
// of the list's, and are stored as "HH:MM:SS:FF" (";" before the frames at
// drop-frame). A character travels in marker and locator texts as a
// prefix in capitals, "ANNA: text": the writers put it there (in capitals),
// the EDL and MIDI readers take a leading prefix without small letters,
// at most 40 characters, followed by ": " as the character.
#include "cuelist/CueItem.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <optional>

namespace rz48::formats {

struct ImportOptions {
    int tctype = -1;     // the list's type when the file states none (-1: 25 fps)
    QString zeroAt;      // subtitles: the timecode the file's 0 stands for, default 00:00:00:00
    QStringList columns; // CSV/TSV mapping words id,in,out,character,text,notes,reason,skip in column
                         // order; a file without a header row then reads every row as a cue
    QString format;      // forced reader name, else detected
    QString fileName;    // for detection by .csv/.tsv suffix
};

struct Problem {
    int line; // 1-based (a MIDI file: the track chunk's number; 0: the file as a whole)
    QString why;
};

struct Imported {
    QString format;
    int tctype = -1; // the rate the file states, -1 none
    QList<CueItem> cues;
    QList<Problem> problems;
    QStringList header;  // CSV/TSV: the header row; session text: its "KEY: VALUE" lines; EDL: its title
    QStringList mapping; // CSV/TSV: the mapping word used for each column
};

// Detection by content, in this order: "protools", "midi", "edl", "vtt",
// "srt", "csv"; "" for none (the caller falls back to its own text import).
QString detectFormat(const QByteArray& bytes, const QString& fileName);
QStringList readerNames(); // for --format
// Which reader takes a file, in this order: "pdf" (by its name or its
// first bytes), "native" (the list's own file), "sheet" (a cue sheet by its
// shape), one of readerNames() (detected), else "text" (any text with
// times, read by the sheet reader).
QString chooseReader(const QByteArray& bytes, const QString& fileName);
Imported importCues(const QByteArray& bytes, const ImportOptions& options); // detected or forced

// RFC 4180, UTF-8 without a byte order mark, CR LF line ends, a header row
// of field names (id,in,out,character,text,notes,reason,status) that the
// CSV reader maps back. Every cue is written, one without an In too.
QByteArray writeCsv(const QList<CueItem>&, int tctype);
// TITLE, FCM, then per cue with an In time (in time order) one cut event at
// its In (to its Out, or one frame long) and one "* LOC: HH:MM:SS:FF YELLOW
// TEXT" line, "CHARACTER: " before the text when the cue has one. CR LF, UTF-8.
QByteArray writeEdlLocators(const QList<CueItem>&, int tctype, const QString& title);
// A format 0 SMF of 960 ticks per quarter note at 120 beats a minute: the
// SMPTE offset at the start timecode (00:00:00:00 when it is not one), the
// tempo, a track name, then one FF 06 marker per cue with an In time, in
// time order, at its In (a day later when before the start), holding
// "CHARACTER: text" or the text, UTF-8.
QByteArray writeMidiMarkers(const QList<CueItem>&, int tctype, const QString& start);

// --- shared by the readers and writers ---

// The most cues one import keeps; a file with more is cut there, with a problem.
inline constexpr int kMaxCues = 100000;
// A type 0 to 3 as it is, anything else 1 (25 fps).
int typeOrDefault(int type);
// Frames a second of real time for the type's labels (30000/1001 at drop-frame).
double realRate(int type);
// A cue with nothing in it (no In, no Out, empty texts, to do).
CueItem blankCue();
// Text of a file: UTF-16 (either order) or UTF-8 after a byte order mark,
// else UTF-8 when it is valid, else Latin-1.
QString decodeText(const QByteArray& bytes);
// Lines ended by LF, CR LF or CR, without their ends.
QStringList textLines(const QString& text);
// The same lines one at a time, not copied (a file of empty lines costs
// nothing per line).
class LineCursor {
public:
    explicit LineCursor(QStringView text) : text_(text) {}
    bool next(QStringView& line); // false after the last line
    int number() const { return number_; } // 1-based, of the line last given
private:
    QStringView text_;
    qsizetype pos_ = 0;
    int number_ = 0;
};
// The TAB-separated fields of a line, trimmed; at most `most`, the last
// holding the rest of the line.
QStringList tabFields(QStringView line, int most);
// The frame of a cue's stored time read by its digits (HHMMSSFF); none when
// it has none or the fields are not a label of the type.
std::optional<int64_t> frameOfStoredTime(const QString& stored, int type);
// Milliseconds to the nearest frame of the type's real rate.
int64_t frameOfMilliseconds(int64_t ms, int type);
// Appends a cue unless the import already holds kMaxCues (then one problem
// at `line`, and false).
bool addCue(Imported& imported, const CueItem& cue, int line);
// The most problems one import lists; one more then says, at the first line
// not listed, that more lines could not be read.
inline constexpr int kMaxProblems = 1000;
void addProblem(Imported& imported, int line, const QString& why);
// Splits "ANNA: text" into character and text (see above); other text is
// all text.
void splitCharacter(const QString& text, QString& character, QString& rest);
// "ANNA: text" (the character in capitals), or the text alone.
QString joinCharacter(const CueItem& cue);
// A text on one line: CR LF, LF and CR become the two characters "\n".
QString oneLine(const QString& text);

} // namespace rz48::formats
