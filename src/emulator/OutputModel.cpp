#include "emulator/OutputModel.h"

#include "emulator/UnitTimecode.h"

#include <algorithm>

namespace rz48::emu {
namespace {

constexpr int kStreamerNote0 = 124; // to 127: streamers 0 to 3
constexpr int kPunchNote0 = 120;    // to 123: punches 0 to 3
constexpr int kAccumulateNote = 119;
constexpr int kAnnunciatorPixels[] = {24, 36, 48};
constexpr int kTimecodePixels[] = {16, 24, 36, 48, 64};
constexpr int kTextPixels[] = {16, 24, 36, 48};
const char* const kModeTexts[] = {"Rehearse", "Record", "Playback"};

enum Line { TimecodeLine, WallLine };

struct Run {
    Line line;
    int64_t start; // ticks on its line
    int index;     // streamer (and punch) 0 to 3
    bool accumulate;
};

struct Flash {
    Line line;
    int64_t start;
    int index;
};

// A field as the unit's 32-bit registers hold it: never negative, never
// beyond 32 bits, so that the time arithmetic below stays in range.
int64_t u32(int64_t field)
{
    return std::clamp<int64_t>(field, 0, 0xFFFFFFFF);
}

template <size_t N>
int pixelsOf(const int (&table)[N], int64_t size)
{
    return table[size_t(std::clamp<int64_t>(size, 0, int64_t(N) - 1))];
}

// A 0 to 255 field as a share of the picture's 1080 lines, as the streamer page reckons it.
int linesOf(int64_t field)
{
    return int(std::clamp<int64_t>(field, 0, 255) * kOutputHeight / 255);
}

Shape rect(int x, int y, int w, int h, uint32_t rgb, int alpha)
{
    Shape s;
    s.kind = Shape::Kind::Rect;
    s.x = x, s.y = y, s.w = w, s.h = h, s.rgb = rgb, s.alpha = alpha;
    return s;
}

Shape textBox(int64_t x, int64_t y, std::string text, int pixels, int64_t pair)
{
    Shape s;
    s.kind = Shape::Kind::Text;
    s.x = int(std::clamp<int64_t>(x, 0, 255)) * 8;
    s.y = int(std::clamp<int64_t>(y, 0, 255)) * 4;
    s.text = std::move(text);
    s.pixels = pixels;
    s.rgb = rgbOfNumber(pair & 7);
    s.backRgb = rgbOfNumber((pair >> 4) & 15);
    return s;
}

std::vector<std::string> linesOfText(const std::string& text)
{
    std::vector<std::string> lines;
    size_t from = 0;
    for (size_t at; (at = text.find("\\n", from)) != std::string::npos; from = at + 2)
        lines.push_back(text.substr(from, at - from));
    lines.push_back(text.substr(from));
    return lines;
}

} // namespace

uint32_t rgbOfCode(int64_t code)
{
    return ((code & 2) ? 0u : 0xFF0000u) | ((code & 4) ? 0u : 0x00FF00u) | ((code & 1) ? 0u : 0x0000FFu);
}

uint32_t rgbOfNumber(int64_t number)
{
    static constexpr uint32_t kColors[] = {0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00, 0xFF00FF, 0xFF0000, 0x0000FF, 0x000000};
    return kColors[size_t(number & 7)];
}

int streamerLeft(int64_t width, int64_t duration, int64_t elapsed)
{
    const int64_t run = duration * kTicksPerFiftieth;
    if (run <= 0)
        return 0;
    // Rounded down, also when a bar wider than the way to the end bar runs
    // backwards from the left edge.
    const int64_t way = (kEndBarX - width) * elapsed;
    return int(way / run - (way % run < 0 ? 1 : 0));
}

OutputFrame composeFrame(const OutputState& state, int type, int64_t frame, int64_t wallTicks)
{
    OutputFrame out;
    out.background = int(state.barsAndGray & 3);
    out.timecode = labelOfFrame(frame, type);
    const FrameRate rate = frameRateOf(type);
    const int64_t tcTicks = frame * rate.periodTicks;
    auto now = [&](Line line) { return line == TimecodeLine ? tcTicks : wallTicks; };

    // Streamers: the triggered ones, and streamer 0 ending on every cue.
    const auto& c = state.streamer;
    const int64_t duration = u32(c[3]);
    const int64_t runTicks = duration * kTicksPerFiftieth;
    std::vector<Run> runs;
    std::vector<Flash> flashes;
    for (const OutputState::Trigger& t : state.triggers) {
        if (t.note >= kStreamerNote0 && t.note < kStreamerNote0 + 4)
            runs.push_back({WallLine, t.wallTicks, t.note - kStreamerNote0, false});
        else if (t.note == kAccumulateNote)
            runs.push_back({WallLine, t.wallTicks, 0, true});
        else if (t.note >= kPunchNote0 && t.note < kPunchNote0 + 4)
            flashes.push_back({WallLine, t.wallTicks, t.note - kPunchNote0});
    }
    for (const OutputState::CueIn& in : state.cueIns) {
        int64_t cue = 0;
        if (frameOfFields(in.hours, in.minutes, in.seconds, in.frames, type, &cue))
            runs.push_back({TimecodeLine, cue * rate.periodTicks - runTicks, 0, false});
    }
    if (state.reference & 4)
        for (const Run& r : runs)
            flashes.push_back({r.line, r.start + runTicks, r.index});

    const int width = int(std::clamp<int64_t>(c[1], 0, kOutputWidth));
    const int top = linesOf(c[5]);
    const int bottom = linesOf(255 - std::clamp<int64_t>(c[6], 0, 255));
    const int alpha = int(255 - std::clamp<int64_t>(c[7], 0, 255));
    bool running = false;
    if (runTicks > 0) {
        for (const Run& r : runs) {
            const int64_t elapsed = now(r.line) - r.start;
            if (elapsed < 0 || elapsed >= runTicks)
                continue;
            running = true;
            const int left = streamerLeft(width, duration, elapsed);
            const uint32_t rgb = rgbOfCode(c[0] >> (3 * r.index));
            if (r.accumulate)
                out.shapes.push_back(rect(0, kOutputHeight - top, left + width, top - bottom, rgb, alpha));
            else
                out.shapes.push_back(rect(left, kOutputHeight - top, width, top - bottom, rgb, alpha));
        }
    }
    if (running)
        out.shapes.push_back(rect(kEndBarX, kOutputHeight - top, kEndBarWidth, top - bottom, rgbOfCode(c[0] >> 12), alpha));

    // Punches, only while punch is enabled.
    const auto& e = state.punch;
    if ((e[7] & 1) && e[3] > 0 && u32(e[4]) > 0) {
        const int radius = int(8640 / e[3]);
        const int64_t lit = u32(e[4]) * rate.periodTicks;
        const int64_t interval = u32(e[5]) * kTicksPerHundredth;
        const int64_t count = std::max<int64_t>(u32(e[6]), 1);
        for (const Flash& f : flashes) {
            const int64_t elapsed = now(f.line) - f.start;
            if (elapsed < 0)
                continue;
            const int64_t k = interval > 0 ? std::min(elapsed / interval, count - 1) : 0;
            if (elapsed - k * interval >= lit)
                continue;
            int64_t code = e[0] >> (3 * f.index);
            if (e[0] & (int64_t(0x1000) << f.index))
                code ^= 7; // reversed: each component the other way
            Shape disc;
            disc.kind = Shape::Kind::Disc;
            disc.x = int(std::clamp<int64_t>(e[1], 0, 255)) * 8;
            disc.y = int(std::clamp<int64_t>(e[2], 0, 255)) * 4;
            disc.w = disc.h = 2 * radius;
            disc.rgb = rgbOfCode(code);
            out.shapes.push_back(disc);
        }
    }

    // The annunciator, the timecode window and the text lines.
    const auto& u = state.annunciator;
    if (u[0] >= 1 && u[0] <= 3)
        out.shapes.push_back(textBox(u[3], u[4], kModeTexts[u[0] - 1], pixelsOf(kAnnunciatorPixels, u[5]),
                                     state.annunciatorColors[size_t(u[0] - 1)]));
    const auto& m = state.timecodeWindow;
    if (m[0] & 128)
        out.shapes.push_back(textBox(m[1], m[2], out.timecode, pixelsOf(kTimecodePixels, m[0] & 7), m[3]));
    const auto& r = state.textLines;
    if (!state.text.empty()) {
        const int pixels = pixelsOf(kTextPixels, r[0]);
        int row = 0;
        for (std::string& line : linesOfText(state.text)) {
            Shape s = textBox(r[1], r[2], std::move(line), pixels, r[3]);
            s.line = row++;
            out.shapes.push_back(std::move(s));
        }
    }
    return out;
}

} // namespace rz48::emu
