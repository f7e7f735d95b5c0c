#pragma once
// Linear timecode as audio: the transport's timecode written as LTC, and the
// timecodes read back from audio (forwards or backwards, at any level the
// reader can hear), through libltc.
#include "emulator/Wav.h"

#include <cstdint>
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
// LTC of the frames from `firstFrame` (a frame count of the timecode type,
// as the transport counts) for `seconds`, at `sampleRate`, 16-bit samples.
std::vector<int16_t> writeLtc(int64_t firstFrame, double seconds, int type, int sampleRate);

} // namespace rz48::emu
