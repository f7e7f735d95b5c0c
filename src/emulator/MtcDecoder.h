#pragma once
// Reads MIDI Time Code from a byte stream: quarter-frame messages (F1 0n dd,
// eight pieces for two frames, forwards 0 to 7 or backwards 7 to 0) and the
// full-frame message (F0 7F dev 01 01 hr mn sc fr F7). Real-time bytes may
// come between; other messages are skipped. A source that stops sending
// quarter frames for longer than the dropout time is taken as stopped.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace rz48::emu {

class MtcDecoder {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kDropout {150};

    struct Position {
        int64_t frame = 0; // count since 00:00:00:00 in the source's type
        int type = 1;      // timecode type: 0 24, 1 25, 2 29.97 drop-frame, 3 30
        int direction = 0; // 1 running forwards, -1 backwards, 0 standing
        bool operator==(const Position&) const = default;
    };

    // Feeds received bytes; true when the position or the direction changed.
    bool feed(const uint8_t* bytes, size_t count, Clock::time_point now);
    // True when the source just went quiet (its direction became 0).
    bool checkDropout(Clock::time_point now);
    std::optional<Position> position() const { return position_; }

private:
    bool quarterFrame(uint8_t data, Clock::time_point now);
    bool fullFrame();
    bool settle(int64_t frame, int type, int direction);

    std::optional<Position> position_;
    uint8_t pieces_[8] = {};
    int lastPiece_ = -1;
    int inOrder_ = 0;     // pieces received in a row in one direction
    int direction_ = 0;
    Clock::time_point lastQuarter_ {};
    int status_ = 0;      // the message being read: 0 none, 0xF1, 0xF0
    std::string sysex_;
};

} // namespace rz48::emu
