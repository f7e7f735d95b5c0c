#pragma once
// The streamer ("C") and punch ("E") commands and reports.
//
// Colours travel as three bits per element, bit 2 green, bit 1 red, bit 0
// blue, active low: a set bit means the component is off, and a component of
// 0.5 or more counts as on.
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace rz48::cues {

struct Rgb {
    double red = 1, green = 1, blue = 1;
    bool operator==(const Rgb&) const = default;
};

uint32_t colorBits(const Rgb& color);
Rgb colorFromBits(uint32_t bits);

// Packs colours, the first element in the lowest three bits.
template <size_t N>
uint32_t packColors(const std::array<Rgb, N>& colors)
{
    uint32_t code = 0;
    for (size_t i = N; i-- > 0;)
        code = (code << 3) + colorBits(colors[i]);
    return code;
}

template <size_t N>
std::array<Rgb, N> unpackColors(uint32_t code)
{
    std::array<Rgb, N> colors;
    for (size_t i = 0; i < N; ++i, code >>= 3)
        colors[i] = colorFromBits(code & 7u);
    return colors;
}

// --- streamer: "C %x %x %x %x %x %x %x %x" ---
struct StreamerSettings {
    std::array<Rgb, 5> colors; // streamers 0 to 3, then the end bar
    int width = 40;            // pixels
    int duration = 100;        // fiftieths of a second
    int delay = 0;             // fiftieths of a second
    int top = 255;             // 0-255 of the picture height
    int bottom = 0;            // 0-255, sent as 255 minus the bottom
    int transparency = 0;      // 0 opaque, 255 clear
};
QString streamerCommand(const StreamerSettings& s);
// Applies a "C" report: a missing field repeats the last value read, which
// `scratch` keeps (it starts as the value read last before this line).
void readStreamerReport(const QString& line, uint32_t& scratch, StreamerSettings& s);

// --- punch: "E %x %x %x %x %x %x %x %x" ---
struct PunchSettings {
    std::array<Rgb, 4> colors;
    std::array<bool, 4> reverse {};
    double x = 960, y = 540;   // centre, picture coordinates (y up)
    int radius = 64;
    int durationFrames = 0;
    int repeatSeconds = 0;     // hundredths of a second
    int repeatCount = 0;
    int enables = 0;           // bit 0 punch, 1 beeps, 2 black-cue-black, 3 picture when stopped
};
QString punchCommand(const PunchSettings& p);

// The fields of an "E" report as read; absent fields are none.
struct PunchReport {
    std::array<std::optional<uint32_t>, 8> fields;
};
PunchReport readPunchReport(const QString& line);

// The whole part of a picture coordinate as an int, without overflow.
int wholePart(double v);

} // namespace rz48::cues
