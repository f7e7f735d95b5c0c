#include "emulator/UnitTimecode.h"

#include "common/TimecodeLabel.h"

#include <cstdio>

namespace rz48::emu {
namespace {

constexpr int64_t kDropTenMinutes = 17982; // frames in ten drop-frame minutes
constexpr int64_t kDropMinute = 1798;      // frames in a minute that drops two labels

int64_t wrap(int64_t frame, int64_t day)
{
    frame %= day;
    return frame < 0 ? frame + day : frame;
}

} // namespace

FrameRate frameRateOf(int type)
{
    switch (type) {
    case 0: return {24, kTicksPerSecond / 24, false};
    case 1: return {25, kTicksPerSecond / 25, false};
    case 2: return {30, 1001, true};
    default: return {30, kTicksPerSecond / 30, false};
    }
}

int64_t framesPerDay(int type)
{
    const FrameRate rate = frameRateOf(type);
    if (rate.dropFrame)
        return 144 * kDropTenMinutes;
    return int64_t(24) * 3600 * rate.nominal;
}

int64_t frameOfLabel(int hours, int minutes, int seconds, int frames, int type)
{
    const FrameRate rate = frameRateOf(type);
    int64_t frame = (int64_t(hours) * 3600 + int64_t(minutes) * 60 + seconds) * rate.nominal + frames;
    if (rate.dropFrame) {
        const int64_t totalMinutes = int64_t(hours) * 60 + minutes;
        frame -= 2 * (totalMinutes - totalMinutes / 10);
    }
    return wrap(frame, framesPerDay(type));
}

std::string labelOfFrame(int64_t frame, int type)
{
    const FrameRate rate = frameRateOf(type);
    frame = wrap(frame, framesPerDay(type));
    if (rate.dropFrame) {
        const int64_t tens = frame / kDropTenMinutes;
        const int64_t rest = frame % kDropTenMinutes;
        frame += 18 * tens + (rest < 2 ? 0 : 2 * ((rest - 2) / kDropMinute));
    }
    const int64_t n = rate.nominal;
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", int(frame / (3600 * n)), int(frame / (60 * n) % 60),
                  int(frame / n % 60), rate.dropFrame ? ';' : ':', int(frame % n));
    return text;
}

bool parseLabel(std::string_view text, int type, int64_t* frame)
{
    if (text.size() != 11)
        return false;
    int fields[4] = {};
    for (int i = 0; i < 4; ++i) {
        const char hi = text[size_t(i) * 3];
        const char lo = text[size_t(i) * 3 + 1];
        if (hi < '0' || hi > '9' || lo < '0' || lo > '9')
            return false;
        fields[i] = (hi - '0') * 10 + (lo - '0');
        if (i < 3) {
            const char sep = text[size_t(i) * 3 + 2];
            if (sep != ':' && !(i == 2 && (sep == ';' || sep == '.')))
                return false;
        }
    }
    return frameOfFields(fields[0], fields[1], fields[2], fields[3], type, frame);
}

bool frameOfFields(int hours, int minutes, int seconds, int frames, int type, int64_t* frame)
{
    if (!rz48::labelExists(hours, minutes, seconds, frames, type < 0 || type > 3 ? 3 : type))
        return false;
    *frame = frameOfLabel(hours, minutes, seconds, frames, type);
    return true;
}

} // namespace rz48::emu
