#pragma once
// What the unit puts on the picture, worked out from its settings, its cue
// list and the time: the list of things to draw on a 1920 x 1080 frame, in
// image coordinates (x from the left, y in rows from the top). Drawing them
// is OutputRenderer's job; this part has no toolkit in it, so that tests can
// check the arithmetic on its own.
//
// Two time lines meet here, both in ticks of 1/30000 s: the timecode's (the
// transport's frame x its period), on which cues run, and the wall clock's,
// on which triggers run (a trigger starts its element at once, whatever the
// transport is doing).
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace rz48::emu {

inline constexpr int kOutputWidth = 1920;
inline constexpr int kOutputHeight = 1080;
inline constexpr int kEndBarX = 1728;
inline constexpr int kEndBarWidth = 40;

// The unit's settings and what it was sent that shows on the picture.
struct OutputState {
    std::array<int64_t, 8> streamer {};          // "C"
    std::array<int64_t, 8> punch {};             // "E"
    int64_t reference = 0;                       // "A": bit 2 punch at a streamer's end
    int64_t barsAndGray = 0;                     // "G": bit 0 colour bars, bit 1 grey scale
    std::array<int64_t, 6> annunciator {};       // "U": mode, colours, x, y, size
    std::array<int64_t, 3> annunciatorColors {}; // "t": pairs for Rehearse, Record, Playback
    std::array<int64_t, 4> timecodeWindow {};    // "m": size + 128 visible, x, y, pair
    std::array<int64_t, 4> textLines {};         // "r": size, x, y, pair
    std::string text;                            // "V", or the last "s"; "\n" (two characters) breaks lines
    struct Trigger {
        int note;
        int64_t wallTicks;
    };
    std::vector<Trigger> triggers;               // the most recent note-on triggers
    struct CueIn {
        int hours, minutes, seconds, frames;
    };
    std::vector<CueIn> cueIns;                   // In times of the last cue transfer
};

struct Shape {
    enum class Kind { Rect, Disc, Text };
    Kind kind = Kind::Rect;
    int x = 0, y = 0, w = 0, h = 0; // a disc's bounding square; a text box's top-left corner
    uint32_t rgb = 0;               // 0xRRGGBB: the fill, or the text's colour
    int alpha = 255;
    uint32_t backRgb = 0;           // a text box's background
    std::string text;
    int pixels = 0;                 // a text's font size in pixels
    int line = 0;                   // a text box's line: drawn this many line heights below y
    bool operator==(const Shape&) const = default;
};

struct OutputFrame {
    int background = 0; // bit 0 colour bars, bit 1 grey scale, as "G"
    std::vector<Shape> shapes; // in drawing order
    std::string timecode;      // the label the timecode window shows
    bool operator==(const OutputFrame&) const = default;
};

// 0xRRGGBB of a three-bit colour code (bit 2 green, bit 1 red, bit 0 blue,
// a set bit switching its component off) and of a colour number 0 to 7
// (white, yellow, cyan, green, purple, red, blue, black).
uint32_t rgbOfCode(int64_t code);
uint32_t rgbOfNumber(int64_t number);

// The frame at timecode frame `frame` (a count of the type's frames since
// 00:00:00:00) and wall clock `wallTicks`.
OutputFrame composeFrame(const OutputState& state, int type, int64_t frame, int64_t wallTicks);

// The streamer bar's left edge `elapsed` ticks into a run of `duration`
// fiftieths, for a bar `width` wide.
int streamerLeft(int64_t width, int64_t duration, int64_t elapsed);

} // namespace rz48::emu
