#pragma once
// Linear timecode as audio: the transport's timecode written as LTC, and the
// timecodes read back from audio (forwards or backwards, at any level the
// reader can hear), through libltc.
#include "emulator/MtcDecoder.h"
#include "emulator/Wav.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rz48::emu {

struct LtcReading {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    bool dropFrame = false; // the frame says its labels are drop-frame
    bool reverse = false;   // read backwards
    double at = 0;          // where the frame starts in the audio, in seconds
};

// Every frame the audio holds, in the order read.
std::vector<LtcReading> readLtc(const Audio& audio);
// "HH:MM:SS:FF at 1.040 s"
std::string ltcLine(const LtcReading& reading);
// LTC read as it comes (from a sound card): the position it says, its rate
// (24, 25 or 30 from the length of a frame, 29.97 drop-frame from the
// frame's flag) and direction; a source that sends nothing readable for
// longer than the dropout time is taken as stopped.
class LtcStream {
public:
    using Clock = MtcDecoder::Clock;
    static constexpr std::chrono::milliseconds kDropout {200};

    explicit LtcStream(int sampleRate);
    ~LtcStream();
    LtcStream(const LtcStream&) = delete;
    LtcStream& operator=(const LtcStream&) = delete;

    // Feeds samples; true when the position or the direction changed.
    bool feed(const int16_t* samples, size_t count, Clock::time_point now);
    // True when the source just went quiet (its direction became 0).
    bool checkDropout(Clock::time_point now);
    std::optional<MtcDecoder::Position> position() const { return position_; }

private:
    struct Decoder;
    std::unique_ptr<Decoder> decoder_;
    int sampleRate_;
    int64_t fed_ = 0;
    std::optional<MtcDecoder::Position> position_;
    Clock::time_point lastFrame_ {};
};

// LTC one frame at a time, for a transport that may jump: each call gives
// the samples of one frame of a timecode type (a frame's worth of audio at
// the type's rate: 1920 samples at 25 frames a second and 48 kHz).
class LtcWriter {
public:
    explicit LtcWriter(int sampleRate);
    ~LtcWriter();
    LtcWriter(const LtcWriter&) = delete;
    LtcWriter& operator=(const LtcWriter&) = delete;

    std::vector<int16_t> frame(int64_t frame, int type);

private:
    struct Encoder;
    std::unique_ptr<Encoder> encoder_;
    int sampleRate_;
    int type_ = -1;
};

// LTC of the frames from `firstFrame` (a frame count of the timecode type,
// as the transport counts) for `seconds`, at `sampleRate`, 16-bit samples.
std::vector<int16_t> writeLtc(int64_t firstFrame, double seconds, int type, int sampleRate);

} // namespace rz48::emu
