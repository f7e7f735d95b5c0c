// The emulated unit's side of its video output: what it keeps of the cue
// transfer and hands to the output model.
#include "emulator/EmulatedUnit.h"

namespace rz48::emu {
namespace {

constexpr size_t kMaxCues = 100000;

} // namespace

void EmulatedUnit::addCue(const std::string& fields)
{
    // "f HH:MM:SS:FF [HH:MM:SS:FF]" after an "h": the In time's four fields,
    // whatever separates them; anything else is not a cue.
    if (!cueListStarted_ || cueIns_.size() >= kMaxCues || fields.size() < 11)
        return;
    int values[4] = {};
    for (int i = 0; i < 4; ++i) {
        const char hi = fields[size_t(i) * 3], lo = fields[size_t(i) * 3 + 1];
        if (hi < '0' || hi > '9' || lo < '0' || lo > '9')
            return;
        values[i] = (hi - '0') * 10 + (lo - '0');
    }
    cueIns_.push_back({values[0], values[1], values[2], values[3]});
}

OutputState EmulatedUnit::outputState() const
{
    std::lock_guard lock(mutex_);
    OutputState state;
    auto copy = [this](char letter, auto& into) {
        const std::vector<int64_t>& values = settings_.at(letter).values;
        for (size_t i = 0; i < into.size() && i < values.size(); ++i)
            into[i] = values[i];
    };
    copy('C', state.streamer);
    copy('E', state.punch);
    copy('U', state.annunciator);
    copy('t', state.annunciatorColors);
    copy('m', state.timecodeWindow);
    copy('r', state.textLines);
    state.reference = settings_.at('A').values.at(0);
    state.barsAndGray = settings_.at('G').values.at(0);
    state.text = text_;
    state.triggers = recentTriggers_;
    state.cueIns = cueIns_;
    return state;
}

uint64_t EmulatedUnit::outputRevision() const
{
    std::lock_guard lock(mutex_);
    return outputRevision_;
}

} // namespace rz48::emu
