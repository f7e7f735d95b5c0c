// The MIDI import listing of any file: chunks, events, SysEx decoding.
#include "FuzzSupport.h"
#include "common/Diagnostics.h"
#include "cuelist/MidiTrack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    rz48::DiagCapture quiet;
    MidiTrack track;
    track.importListing(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    MidiTrack::decode78(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    return 0;
}
