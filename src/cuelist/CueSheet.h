#pragma once
// The cue sheet: the tab-separated text file of a cue list with its seven
// option lines, the cue line parser shared with plain-text import, the unit
// text of a cue, the In/Out transfer and the three-stage sort.
#include "cuelist/CueItem.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class TcCalculator;

namespace rz48::cuesheet {

// The largest cue sheet or text file read (a sheet of 100,000 cues is a few MiB).
inline constexpr qint64 kMaxSheetBytes = 64 * 1024 * 1024;

// The sheet's options, as the cue window's controls hold them.
struct Options {
    bool duplicate = false; // remove duplicate In times when sorting
    bool midnight = false;  // the list crosses midnight
    bool text = true;       // cue text in the unit text and the MIDI export
    bool cueId = false;     // cue ID before the text
    bool pulldown = false;  // MIDI export with pull-down
    QString start;          // MIDI export start timecode, as typed
    int tctype = 3;         // 0 = 24, 1 = 25, 2 = 30 drop, 3 = 30 non-drop
    // "CHARACTER: " before the text sent and exported. The sheet has no
    // line for it (a list's own file keeps it).
    bool characterInText = false;
    // Option lines whose value does not read as what the option holds (a
    // ";start" that is not a timecode, a ";tctype" that is not a number):
    // taken as the sheet has always taken them, and named by the check.
    QStringList unreadLines;
    bool operator==(const Options&) const = default;
};

// The seven option lines.
QString cueSheetInitValues(const Options& options);
// One cue's sheet line: ID, In, Out, text and notes, TAB-separated, with its LF.
QString cueLine(const CueItem& item);
// The whole sheet: option lines, then one line per cue in the given order.
QString stringFromCueTable(const Options& options, const QList<CueItem>& arranged);
// Applies one option line (";key<TAB>value"); unknown keys are ignored.
void initValueFromString(const QString& line, Options& options);
// Whether the text holds a cue time (HH:MM:SS:FF, the last separator ":" or ";").
bool containsCueTime(const QString& text);
// One cue from a line holding a timecode; none for other lines.
std::optional<CueItem> textToCueTable(const QString& line);
// Whether a text is a cue sheet by its shape: an option line (";key<TAB>"
// of the sheet's seven keys), or a line of five TAB-separated fields whose
// second holds a cue time.
bool looksLikeCueSheet(const QString& text);
// Reads a sheet or any text: option lines set options, the rest become cues
// appended to `items`.
void cueTableFromString(const QString& text, Options& options, QList<CueItem>& items);
// The text with its leading characters of code U+F001 and above removed.
QString removeUniChars(const QString& text);
// The text that stands for a cue on the unit.
QString cueItemText(const CueItem& item, bool cueIdIncluded, bool textIncluded);
// The cues with "CHARACTER: " before the text of each that has a character:
// what is sent and exported with the "character in text" option.
QList<CueItem> withCharacterInText(QList<CueItem> items);
// The commands of an In/Out transfer: "h 0", then "f" lines up to the first
// cue without a valid In time.
QStringList txInOutsCommands(const QList<CueItem>& items, const TcCalculator& tcc);
// Orders by In time across midnight (30 non-drop), then drops duplicate In
// times and rotates the list at a 13-hour jump, as the options say.
void sortCues(QList<CueItem>& items, bool duplicate, bool midnight, const TcCalculator& tcc);
// The boolean value of option text ("1", "YES", "true" ...).
bool boolValue(const QString& text);

} // namespace rz48::cuesheet
