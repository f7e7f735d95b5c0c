#pragma once
// The emulated unit's own timecode arithmetic: frame rates, frame counts and
// labels for the four timecode types (0: 24, 1: 25, 2: 29.97 drop-frame,
// 3: 30 frames a second). Time is counted in ticks of 1/30000 s, in which
// every frame period, a fiftieth and a hundredth of a second are whole.
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace rz48::emu {

inline constexpr int64_t kTicksPerSecond = 30000;
inline constexpr int64_t kTicksPerFiftieth = kTicksPerSecond / 50;
inline constexpr int64_t kTicksPerHundredth = kTicksPerSecond / 100;

// A moment of the monotonic clock in ticks.
inline int64_t ticksOfClock(std::chrono::steady_clock::time_point t)
{
    const int64_t ns = std::chrono::duration_cast<std::chrono::nanoseconds>(t.time_since_epoch()).count();
    return ns / 100000 * 3 + ns % 100000 * 3 / 100000;
}

struct FrameRate {
    int nominal;         // frames in a labelled second: 24, 25 or 30
    int64_t periodTicks; // one frame's length in ticks
    bool dropFrame;      // labels ;00 and ;01 skipped at most minutes
};

// The rate of a timecode type; a type outside 0 to 3 is taken as 3.
FrameRate frameRateOf(int type);
// Frames in a day of the type's labels (the labels wrap after 23:59:59).
int64_t framesPerDay(int type);
// The frame count since 00:00:00:00 of a label, and back. Out-of-range
// fields are not checked here; the count is taken modulo a day.
int64_t frameOfLabel(int hours, int minutes, int seconds, int frames, int type);
std::string labelOfFrame(int64_t frame, int type);
// The frame of a label's fields; false when the type has no such label (a
// field out of range, a frame field beyond the rate, a dropped label).
bool frameOfFields(int hours, int minutes, int seconds, int frames, int type, int64_t* frame);
// Reads "HH:MM:SS:FF" (the last separator may be ';' or '.'); false when the
// text is not a timecode of the type (a frame field beyond the rate, a
// dropped label).
bool parseLabel(std::string_view text, int type, int64_t* frame);

} // namespace rz48::emu
