#pragma once
// The punch command and report ("E").
#include "codecs/ColorCode.h"
#include "codecs/ProtocolLetters.h"

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
    std::array<std::optional<uint32_t>, size_t(protocol::letter('E').fields)> fields;
};
PunchReport readPunchReport(const QString& line);

// The largest radius the page offers; the smallest is 1.
inline constexpr int kMaxPunchRadius = 540;

// Reads an "E" report into the settings. A missing field leaves its setting
// as it is. The unit keeps the reciprocal of the radius (8640 / radius), and
// a size of 0 keeps the radius; the radius is then kept within 1 to 540,
// while the centre is worked out from the radius before that, in unsigned
// 32-bit arithmetic as the unit's fields are (a y below the picture comes
// out huge), then kept inside the picture.
void readPunchReport(const QString& line, PunchSettings& s);
// Keeps the centre inside the picture by the radius.
void keepCentreInside(PunchSettings& s);

} // namespace rz48::codecs
