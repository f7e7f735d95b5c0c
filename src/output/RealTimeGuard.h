#pragma once
// A sound device without a clock of its own (ALSA's null device, a file
// plugin) takes and gives samples as fast as they are asked for: unguarded,
// LTC sent to it would fill a disk and LTC read from it would keep the
// window's thread busy for ever. This keeps such a device to real time on
// the monotonic clock, at most `ahead` beyond it, counted from when the device
// last made the program wait; a device with a clock does that every buffer,
// so the guard never holds it back.
#include <algorithm>
#include <chrono>
#include <cstdint>

class RealTimeGuard {
public:
    using Clock = std::chrono::steady_clock;

    RealTimeGuard(int rate, std::chrono::milliseconds ahead)
        : rate_(rate)
        , ahead_(ahead)
    {
    }
    // The device made the program wait (or had nothing yet): it keeps time.
    void deviceWaited(Clock::time_point now)
    {
        anchor_ = now;
        counted_ = 0;
    }
    void passed(int64_t samples) { counted_ += samples; }
    // How many more samples may pass by `now` (0: none).
    int64_t allowance(Clock::time_point now) const
    {
        const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(now - anchor_ + ahead_).count();
        return std::max<int64_t>(0, elapsed * rate_ / 1000000 - counted_);
    }
    // When `samples` more may pass.
    Clock::time_point dueFor(int64_t samples) const
    {
        return anchor_ - ahead_ + std::chrono::microseconds((counted_ + samples) * 1000000 / rate_);
    }

private:
    int rate_;
    std::chrono::milliseconds ahead_;
    Clock::time_point anchor_ = Clock::now();
    int64_t counted_ = 0;
};
