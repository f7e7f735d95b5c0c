#pragma once
// The overlay commands ("U" annunciator, "m" timecode window, "r" text lines,
// "t" annunciator colours, "n" control protocol, "V" text) and the unit's way
// of counting positions: x in 8-pixel steps from the left, the top edge in
// 4-line steps from the top of the picture, both one byte.
#include "codecs/ProtocolLetters.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace rz48::overlay {

// The x field of a box whose left edge is at `left`: left / 8, 255 past 2047,
// 0 for a negative edge.
int positionX(double left);
// The y field of a box drawn at `bottom` with `height`: its top edge's
// distance from the top / 4, 255 past 1023 lines, 0 when negative.
int positionY(double bottom, double height);

// A text colour and a box colour travel together as text + 16 x box.
inline int colorPair(int text, int box) { return text + 16 * box; }
inline int pairText(uint32_t pair) { return int(pair & 7u); }
inline int pairBox(uint32_t pair) { return int((pair >> 4) & 15u); }

QString annunciatorCommand(int mode, int text, int box, int x, int y, int size); // "U"
QString timecodeCommand(int size, bool visible, int x, int y, int pair);         // "m"
QString textParamsCommand(int size, int x, int y, int pair);                    // "r"
QString annunciatorColorsCommand(int rehearse, int record, int playback);        // "t", hexadecimal
QString comCommand(bool sony);                                                   // "n"
// The sample text, its line break written as backslash and n.
QString sampleTextCommand();
inline const char* const kClearTextCommand = "V";

using protocol::reportNumbers;

// A text colour and a box colour as the page sends them: the numbers as
// reported (kept, also beyond the colour lists) or as the operator chose
// them, and the whole pair field as reported while neither was changed since.
struct ColorPair {
    int64_t text = 0;
    int64_t box = 0;
    std::optional<int64_t> reportedPair;
    int field() const { return reportedPair ? int(*reportedPair) : colorPair(int(text), int(box)); }
    // A pair field from a report.
    void setReported(uint32_t pair);
    // One side as the operator chose it (or a report of that side alone).
    void choose(bool textSide, int64_t number);
};

// A box of the picture: its position in the unit's steps (as reported, then
// where the page last placed the box) and its size number.
struct BoxSettings {
    int64_t x = 0, y = 0;
    int64_t size = 0;
};

// Everything the overlay page keeps in step with the unit.
struct OverlaySettings {
    int64_t mode = -1; // 0 off, 1 rehearse, 2 record, 3 playback; any other none (sent as 0)
    // Rehearse (also the "U" command's colours), record, playback.
    std::array<ColorPair, 3> annunciatorColors;
    BoxSettings annunciator, timecode, text;
    ColorPair timecodeColors, textColors;
    bool timecodeVisible = false;
    int64_t protocol = -1; // 0 MIDI, 1 Sony, any other none
};
inline constexpr int kModes = 4;
inline constexpr int kProtocols = 2;

// Each report read into the settings; the number of fields it had. A field
// the report lacks leaves its setting as it was, but for the mode and the
// protocol, which a report without them sets to none. The timecode size is
// the first field's three low bits (bit 7 the visibility), the text lines'
// its two low bits.
size_t readAnnunciatorReport(const QString& line, OverlaySettings& s);      // "U"
size_t readTimecodeReport(const QString& line, OverlaySettings& s);         // "m"
size_t readTextReport(const QString& line, OverlaySettings& s);             // "r"
size_t readAnnunciatorColorsReport(const QString& line, OverlaySettings& s); // "t"
size_t readProtocolReport(const QString& line, OverlaySettings& s);         // "n"

// The commands of the settings.
QString annunciatorCommand(const OverlaySettings& s);
QString timecodeCommand(const OverlaySettings& s);
QString textParamsCommand(const OverlaySettings& s);
QString annunciatorColorsCommand(const OverlaySettings& s);
QString comCommand(const OverlaySettings& s);

} // namespace rz48::overlay
