#pragma once
// WAV files of the LTC reader and writer: read with every size checked (PCM
// of 8, 16, 24 or 32 bits, or 32-bit float; of several channels the first is
// kept), written as 16-bit mono PCM.
#include <QByteArray>

#include <cstdint>
#include <string>
#include <vector>

namespace rz48::emu {

struct Audio {
    int sampleRate = 0;
    std::vector<int16_t> samples; // the first channel, as 16 bits
};

// The largest WAV file read (about 45 minutes of 48 kHz 16-bit stereo).
inline constexpr qint64 kMaxWavBytes = 512LL * 1024 * 1024;

// False with why when the bytes are not a WAV file this reader takes.
bool parseWav(const QByteArray& bytes, Audio& audio, std::string* why);
// A 16-bit mono PCM WAV file of the samples.
QByteArray wavOf(const std::vector<int16_t>& samples, int sampleRate);

} // namespace rz48::emu
