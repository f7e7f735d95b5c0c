#pragma once
// The punch command and report ("E").
#include "codecs/ColorCode.h"

#include <optional>

namespace rz48::codecs {

// --- punch: "E %x %x %x %x %x %x %x %x" ---
struct PunchSettings {
    std::array<Rgb, 4> colors;
    std::array<bool, 4> reverse {};
    double x = 960, y = 540;   // centre, picture coordinates (y up)
    int radius = 64;
    uint32_t durationFrames = 0;
    uint32_t repeatSeconds = 0; // hundredths of a second
    uint32_t repeatCount = 0;
    int enables = 0;           // bit 0 punch, 1 beeps, 2 black-cue-black, 3 picture when stopped
};
QString punchCommand(const PunchSettings& p);

// The fields of an "E" report as read; absent fields are none.
struct PunchReport {
    std::array<std::optional<uint32_t>, 8> fields;
};
PunchReport readPunchReport(const QString& line);

} // namespace rz48::codecs
