#include "emulator/MtcDecoder.h"

#include "emulator/UnitTimecode.h"

namespace rz48::emu {
namespace {

constexpr size_t kMaxSysEx = 64;

} // namespace

bool MtcDecoder::feed(const uint8_t* bytes, size_t count, Clock::time_point now)
{
    bool changed = false;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t b = bytes[i];
        if (b >= 0xF8)
            continue; // real-time bytes may come anywhere
        if (b == 0xF7 && status_ == 0xF0) {
            sysex_.push_back(char(b));
            changed |= fullFrame();
            status_ = 0;
            continue;
        }
        if (b & 0x80) {
            status_ = b;
            sysex_.clear();
            if (b == 0xF0)
                sysex_.push_back(char(b));
            continue;
        }
        if (status_ == 0xF1) {
            changed |= quarterFrame(b, now);
            status_ = 0;
        } else if (status_ == 0xF0) {
            if (sysex_.size() < kMaxSysEx)
                sysex_.push_back(char(b));
        }
    }
    return changed;
}

bool MtcDecoder::quarterFrame(uint8_t data, Clock::time_point now)
{
    const int piece = (data >> 4) & 7;
    pieces_[piece] = data & 0x0F;
    int direction = 0;
    if (lastPiece_ >= 0 && piece == (lastPiece_ + 1) % 8)
        direction = 1;
    else if (lastPiece_ >= 0 && piece == (lastPiece_ + 7) % 8)
        direction = -1;
    // The first piece of a run has no direction yet; the second gives it.
    inOrder_ = direction != 0 && (direction == direction_ || (direction_ == 0 && inOrder_ == 1)) ? inOrder_ + 1 : 1;
    direction_ = direction;
    lastPiece_ = piece;
    lastQuarter_ = now;
    // A whole set: it ends at piece 7 going forwards, at piece 0 backwards.
    const bool complete = inOrder_ >= 8 && ((direction == 1 && piece == 7) || (direction == -1 && piece == 0));
    if (!complete)
        return false;
    const int frames = pieces_[0] | (pieces_[1] & 1) << 4;
    const int seconds = pieces_[2] | (pieces_[3] & 3) << 4;
    const int minutes = pieces_[4] | (pieces_[5] & 3) << 4;
    const int hours = pieces_[6] | (pieces_[7] & 1) << 4;
    const int type = (pieces_[7] >> 1) & 3;
    if (hours > 23 || minutes > 59 || seconds > 59 || frames >= frameRateOf(type).nominal)
        return false;
    // The set tells the time at its first piece; two frames have gone by since.
    const int64_t frame = frameOfLabel(hours, minutes, seconds, frames, type) + 2 * direction;
    return settle(frame, type, direction);
}

bool MtcDecoder::fullFrame()
{
    // F0 7F dev 01 01 hr mn sc fr F7
    if (sysex_.size() != 10 || uint8_t(sysex_[1]) != 0x7F || sysex_[3] != 1 || sysex_[4] != 1)
        return false;
    const int hr = uint8_t(sysex_[5]);
    const int type = (hr >> 5) & 3;
    const int hours = hr & 0x1F, minutes = sysex_[6], seconds = sysex_[7], frames = sysex_[8];
    if (hours > 23 || minutes > 59 || seconds > 59 || frames >= frameRateOf(type).nominal)
        return false;
    inOrder_ = 0;
    lastPiece_ = -1;
    direction_ = 0;
    return settle(frameOfLabel(hours, minutes, seconds, frames, type), type, 0);
}

bool MtcDecoder::checkDropout(Clock::time_point now)
{
    if (!position_ || position_->direction == 0 || now - lastQuarter_ <= kDropout)
        return false;
    position_->direction = 0;
    inOrder_ = 0;
    lastPiece_ = -1;
    direction_ = 0;
    return true;
}

bool MtcDecoder::settle(int64_t frame, int type, int direction)
{
    const int64_t day = framesPerDay(type);
    const Position next {(frame % day + day) % day, type, direction};
    if (position_ && *position_ == next)
        return false;
    position_ = next;
    return true;
}

} // namespace rz48::emu
