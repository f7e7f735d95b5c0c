#pragma once
// The colour code of the streamer and punch commands: colours travel as three bits per element, bit 2 green, bit 1 red, bit 0
// blue, active low: a set bit means the component is off, and a component of
// 0.5 or more counts as on.
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace rz48::codecs {

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

// The whole part of a picture coordinate as an int, without overflow.
int wholePart(double v);
// The whole part of a count (of fiftieths, of hundredths) as 64 bits, without overflow.
long long wholeCount(double v);

} // namespace rz48::codecs
