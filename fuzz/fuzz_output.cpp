// Bytes as the emulated unit receives them (commands, triggers, cue
// transfers) and as a MIDI Time Code source sends them, then the output
// frames at a few times: no crash, and no bar past the picture's right edge
// (a bar wider than the way to the end bar starts left of the picture).
#include "FuzzSupport.h"
#include "emulator/EmulatedUnit.h"
#include "emulator/MtcDecoder.h"
#include "emulator/UnitTimecode.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const int type = data[0] & 3;
    const auto now = rz48::emu::Clock::now();
    rz48::emu::EmulatedUnit unit;
    unit.receive(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1), now);
    rz48::emu::MtcDecoder mtc;
    mtc.feed(data + 1, size - 1, now);
    mtc.checkDropout(now + std::chrono::seconds(1));
    if (auto p = mtc.position(); p && (p->frame < 0 || p->frame >= rz48::emu::framesPerDay(p->type)))
        std::abort();
    const rz48::emu::OutputState state = unit.outputState();
    const int64_t wall = rz48::emu::ticksOfClock(now);
    for (int64_t frame : {int64_t(0), int64_t(size) * 997, rz48::emu::framesPerDay(type) - 1}) {
        for (int64_t later : {int64_t(0), rz48::emu::kTicksPerSecond / 3, 5 * rz48::emu::kTicksPerSecond}) {
            const rz48::emu::OutputFrame out = rz48::emu::composeFrame(state, type, frame, wall + later);
            if (out.timecode.size() != 11)
                std::abort();
            for (const rz48::emu::Shape& s : out.shapes)
                if (s.kind == rz48::emu::Shape::Kind::Rect && (s.x < -rz48::emu::kOutputWidth || s.w < 0 || s.x + s.w > rz48::emu::kOutputWidth))
                    std::abort();
        }
    }
    return 0;
}
