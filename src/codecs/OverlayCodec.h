#pragma once
// The overlay commands ("U" annunciator, "m" timecode window, "r" text lines,
// "t" annunciator colours, "n" control protocol, "V" text) and the unit's way
// of counting positions: x in 8-pixel steps from the left, the top edge in
// 4-line steps from the top of the picture, both one byte.
#include <QString>

#include <cstdint>
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

// The numbers of a report after its letter: at most `count`, decimal or
// hexadecimal, up to the first that cannot be read.
std::vector<int64_t> reportNumbers(const QString& line, int count, bool hex);

} // namespace rz48::overlay
