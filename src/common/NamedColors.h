#pragma once
// The eight named colours of the panel's colour wells and lists; the order is
// the colour number the unit's overlay commands carry.
#include <array>

namespace rz48 {

struct NamedColor {
    const char* key;
    double red, green, blue;
};

inline constexpr std::array<NamedColor, 8> kNamedColors = {{
    {"white", 1, 1, 1},
    {"yellow", 1, 1, 0},
    {"cyan", 0, 1, 1},
    {"green", 0, 1, 0},
    {"purple", 1, 0, 1},
    {"red", 1, 0, 0},
    {"blue", 0, 0, 1},
    {"black", 0, 0, 0},
}};

} // namespace rz48
