#pragma once
// The emulated unit's transport: play, stop, locate, loop a range, at the
// timecode type's rate, on the monotonic clock. A run of play is anchored at
// the moment it started: its k-th frame is due at anchor + k x period,
// computed from the anchor each time, so frames never drift, and the frame
// shown at any moment is the one whose time has come. Not thread-safe: one
// owner, or a lock around it.
#include "emulator/UnitTimecode.h"

#include <chrono>
#include <cstdint>

namespace rz48::emu {

class Transport {
public:
    using Clock = std::chrono::steady_clock;

    explicit Transport(int type = 1);

    int type() const { return type_; }
    // A new type keeps the position's label where it can.
    void setType(int type, Clock::time_point now);

    void play(Clock::time_point now);
    void stop(Clock::time_point now);
    bool playing() const { return playing_; }
    // Goes to a frame (a count since 00:00:00:00); playing goes on from there.
    void locate(int64_t frame, Clock::time_point now);
    // Loops [first, end) while playing: after end - 1 comes first. Off when
    // end <= first.
    void setLoop(int64_t first, int64_t end, bool on);
    bool looping() const { return loopOn_ && loopEnd_ > loopFirst_; }

    // The frame shown at `now`.
    int64_t frameAt(Clock::time_point now) const;
    // The run's frames: the index of the one due at `now` (0 while stopped),
    // when the k-th is due, and which frame it shows.
    int64_t indexAt(Clock::time_point now) const;
    Clock::time_point dueOf(int64_t index) const;
    int64_t frameOfIndex(int64_t index) const;

private:
    int64_t wrapped(int64_t frame) const;

    int type_;
    bool playing_ = false;
    Clock::time_point anchor_ {};
    int64_t anchorFrame_ = 0;
    int64_t loopFirst_ = 0;
    int64_t loopEnd_ = 0;
    bool loopOn_ = false;
};

} // namespace rz48::emu
