// Bytes as a WAV file, then the linear timecode in it: no crash, and every
// frame read is a label of 24 hours and where it starts lies in the audio.
#include "FuzzSupport.h"
#include "emulator/Ltc.h"
#include "emulator/Wav.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    rz48::emu::Audio audio;
    std::string why;
    if (!rz48::emu::parseWav(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)), audio, &why))
        return 0;
    const double length = double(audio.samples.size()) / audio.sampleRate;
    for (const rz48::emu::LtcReading& r : rz48::emu::readLtc(audio))
        if (r.hours > 23 || r.minutes > 59 || r.seconds > 59 || r.frames > 29 || r.at < 0 || r.at > length + 1)
            std::abort();
    return 0;
}
