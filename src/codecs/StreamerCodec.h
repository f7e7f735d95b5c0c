#pragma once
// The streamer command and report ("C").
#include "codecs/ColorCode.h"

namespace rz48::codecs {

// --- streamer: "C %x %x %x %x %x %x %x %x" ---
struct StreamerSettings {
    std::array<Rgb, 5> colors; // streamers 0 to 3, then the end bar
    int width = 40;            // pixels
    uint32_t duration = 100;   // fiftieths of a second
    uint32_t delay = 0;        // fiftieths of a second
    int top = 255;             // 0-255 of the picture height
    int bottom = 0;            // 0-255, sent as 255 minus the bottom
    int transparency = 0;      // 0 opaque, 255 clear
};
QString streamerCommand(const StreamerSettings& s);
// The page's ranges: the width 0 to 1920 pixels, top, bottom and
// transparency 0 to 255.
inline constexpr int kMaxStreamerWidth = 1920;
inline constexpr int kMaxStreamerLevel = 255;
// Applies a "C" report: a missing field repeats the last value read, which
// `scratch` keeps (it starts as the value read last before this line). The
// width, top, bottom and transparency are kept within the page's ranges.
void readStreamerReport(const QString& line, uint32_t& scratch, StreamerSettings& s);

} // namespace rz48::codecs
