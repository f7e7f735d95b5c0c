#include "emulator/Transport.h"

#include <algorithm>
#include <string>

namespace rz48::emu {
namespace {

// Nanoseconds of `count` ticks, rounded down: a tick is 100000 / 3 ns.
int64_t nanosOfTicks(int64_t count)
{
    return count / 3 * 100000 + count % 3 * 100000 / 3;
}

} // namespace

Transport::Transport(int type)
    : type_(type)
{
}

void Transport::setType(int type, Clock::time_point now)
{
    // The same label where the new type has it; a frame field beyond the new
    // rate becomes its last frame, a dropped label the first one kept.
    const std::string label = labelOfFrame(frameAt(now), type_);
    const FrameRate rate = frameRateOf(type);
    const int h = std::stoi(label.substr(0, 2)), m = std::stoi(label.substr(3, 2)), s = std::stoi(label.substr(6, 2));
    int f = std::min(std::stoi(label.substr(9, 2)), rate.nominal - 1);
    if (rate.dropFrame && s == 0 && f < 2 && m % 10 != 0)
        f = 2;
    type_ = type;
    locate(frameOfLabel(h, m, s, f, type), now);
}

void Transport::play(Clock::time_point now)
{
    if (playing_)
        return;
    anchorFrame_ = frameAt(now);
    anchor_ = now;
    playing_ = true;
}

void Transport::stop(Clock::time_point now)
{
    if (!playing_)
        return;
    anchorFrame_ = frameAt(now);
    playing_ = false;
}

void Transport::locate(int64_t frame, Clock::time_point now)
{
    const int64_t day = framesPerDay(type_);
    anchorFrame_ = (frame % day + day) % day;
    anchor_ = now;
}

void Transport::setLoop(int64_t first, int64_t end, bool on)
{
    loopFirst_ = first;
    loopEnd_ = end;
    loopOn_ = on;
}

int64_t Transport::indexAt(Clock::time_point now) const
{
    if (!playing_ || now <= anchor_)
        return 0;
    const int64_t elapsed = std::chrono::duration_cast<std::chrono::nanoseconds>(now - anchor_).count();
    // index = floor(elapsed / period), in whole numbers: elapsed x 3 / (period x 100000).
    const int64_t period = frameRateOf(type_).periodTicks * 100000;
    int64_t index = elapsed / period * 3 + (elapsed % period) * 3 / period;
    while (index > 0 && dueOf(index) > now)
        --index;
    while (dueOf(index + 1) <= now)
        ++index;
    return index;
}

Transport::Clock::time_point Transport::dueOf(int64_t index) const
{
    return anchor_ + std::chrono::nanoseconds(nanosOfTicks(index * frameRateOf(type_).periodTicks));
}

int64_t Transport::frameOfIndex(int64_t index) const
{
    return wrapped(anchorFrame_ + index);
}

int64_t Transport::frameAt(Clock::time_point now) const
{
    return frameOfIndex(indexAt(now));
}

int64_t Transport::wrapped(int64_t frame) const
{
    // From a start before the loop's end, play runs to the end and then
    // goes round from the loop's first frame.
    if (looping() && anchorFrame_ < loopEnd_ && frame >= loopEnd_)
        frame = loopFirst_ + (frame - loopEnd_) % (loopEnd_ - loopFirst_);
    const int64_t day = framesPerDay(type_);
    return (frame % day + day) % day;
}

} // namespace rz48::emu
