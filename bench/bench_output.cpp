// The emulated unit's output: one 1920 x 1080 frame with a streamer, a punch,
// the annunciator, the timecode window and two text lines; and the transport
// over ten simulated minutes at 25 and 29.97 frames a second (frames shown
// against frames due), then a real-time run that draws every frame when it
// is due, for the largest lateness on this machine; and ten minutes of LTC
// written and read back (frames read, and read more than a frame from where
// they were written).
#include "emulator/EmulatedUnit.h"
#include "emulator/Ltc.h"
#include "emulator/OutputRenderer.h"
#include "emulator/Transport.h"
#include "emulator/UnitTimecode.h"
#include "emulator/VideoFile.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QOpenGLPaintDevice>
#include <QOpenGLTextureBlitter>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <cstdlib>
#include <thread>

namespace {

// A streamer half way to its cue at 01:00:11:00 and the punch of the cue at
// 01:00:10:00 both on the picture at 01:00:10:00, with the rest.
rz48::emu::EmulatedUnit& busyUnit()
{
    static rz48::emu::EmulatedUnit unit;
    static bool made = false;
    if (!made) {
        for (const char* line : {"C 1a 28 0 32 0 ff ff 40", "E 5 70 77 87 5 64 3 1", "A 4", "U 2 0 6 10 20 2",
                                 "m 131 96 8 112", "r 2 60 200 112", "V First line\\nSecond line", "h 0",
                                 "f 01:00:10:00 ", "f 01:00:11:00 "})
            unit.receive(std::string(line) + "\r\n", rz48::emu::Clock::now());
        made = true;
    }
    return unit;
}

void BM_OutputFrame(benchmark::State& state)
{
    rz48::emu::OutputRenderer renderer;
    QImage image;
    const rz48::emu::OutputState output = busyUnit().outputState();
    const int64_t frame = rz48::emu::frameOfLabel(1, 0, 10, 0, 1);
    for (auto _ : state) {
        renderer.render(rz48::emu::composeFrame(output, 1, frame, 0), image);
        benchmark::DoNotOptimize(image.constBits());
    }
    state.counters["shapes"] = double(rz48::emu::composeFrame(output, 1, frame, 0).shapes.size());
}
BENCHMARK(BM_OutputFrame)->Unit(benchmark::kMillisecond);

// Ten minutes on a simulated clock that wakes at each frame's due time plus
// a jitter of up to 80 % of a period: every frame shown once, none dropped.
void BM_TransportTenMinutes(benchmark::State& state)
{
    const int type = int(state.range(0));
    int64_t due = 0, shown = 0, dropped = 0, doubled = 0;
    for (auto _ : state) {
        rz48::emu::Transport transport(type);
        const auto start = rz48::emu::Transport::Clock::time_point(std::chrono::hours(1));
        transport.play(start);
        const auto end = start + std::chrono::minutes(10);
        const int64_t period = rz48::emu::frameRateOf(type).periodTicks * 100000 / 3;
        uint32_t noise = 12345;
        int64_t last = -1;
        due = shown = dropped = doubled = 0;
        for (int64_t k = 0; transport.dueOf(k) < end; ++k) {
            noise = noise * 1103515245u + 12345u;
            const auto wake = transport.dueOf(k) + std::chrono::nanoseconds(int64_t(noise >> 8) % (period * 8 / 10));
            const int64_t index = transport.indexAt(wake);
            ++due;
            if (index == last)
                ++doubled;
            else {
                ++shown;
                dropped += index - last - 1;
            }
            last = index;
        }
    }
    state.counters["due"] = double(due);
    state.counters["shown"] = double(shown);
    state.counters["dropped"] = double(dropped);
    state.counters["doubled"] = double(doubled);
}
BENCHMARK(BM_TransportTenMinutes)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(1);

// Frames of a timecode type drawn when due for `seconds` from `first`, as
// the Unit output window's player does: frames due, shown, dropped (a frame
// due while the last was still being drawn) and doubled, and the largest
// lateness.
struct RealTime {
    int64_t due = 0, shown = 0, dropped = 0, doubled = 0;
    double worstMs = 0;
};
template <class Draw> RealTime playRealTime(int type, int64_t first, int seconds, Draw draw)
{
    RealTime r;
    rz48::emu::Transport transport(type);
    const auto start = rz48::emu::Transport::Clock::now();
    transport.locate(first, start);
    transport.play(start);
    int64_t last = -1;
    for (int64_t k = 1; transport.dueOf(k) < start + std::chrono::seconds(seconds); ++k) {
        std::this_thread::sleep_until(transport.dueOf(k));
        const auto now = rz48::emu::Transport::Clock::now();
        const int64_t index = transport.indexAt(now);
        draw(transport.frameOfIndex(index), now);
        const double lateMs = std::chrono::duration<double, std::milli>(rz48::emu::Transport::Clock::now() - transport.dueOf(index)).count();
        r.worstMs = std::max(r.worstMs, lateMs);
        ++r.due;
        if (index == last)
            ++r.doubled;
        else {
            ++r.shown;
            r.dropped += last < 0 ? 0 : index - last - 1;
        }
        last = index;
    }
    return r;
}

void reportRealTime(benchmark::State& state, const RealTime& r)
{
    state.counters["due"] = double(r.due);
    state.counters["shown"] = double(r.shown);
    state.counters["dropped"] = double(r.dropped);
    state.counters["doubled"] = double(r.doubled);
    state.counters["worst_late_ms"] = r.worstMs;
}

// Real time: RZ48_BENCH_PLAY_SECONDS (default 20) of frames drawn when due,
// as the Unit output window's player does.
void BM_PlayRealTime(benchmark::State& state)
{
    const int type = int(state.range(0));
    const char* env = std::getenv("RZ48_BENCH_PLAY_SECONDS");
    const int seconds = env ? std::atoi(env) : 20;
    rz48::emu::OutputRenderer renderer;
    QImage image;
    const rz48::emu::OutputState output = busyUnit().outputState();
    RealTime r;
    for (auto _ : state)
        r = playRealTime(type, rz48::emu::frameOfLabel(1, 0, 9, 0, type), seconds, [&](int64_t frame, auto now) {
            renderer.render(rz48::emu::composeFrame(output, type, frame, rz48::emu::ticksOfClock(now)), image);
        });
    reportRealTime(state, r);
}
// A 1080p25 H.264 clip made with ffmpeg (a moving test pattern, a keyframe
// every `gop` frames) in the temporary folder; empty when ffmpeg is missing.
std::string benchClip(int seconds, int gop)
{
    const std::string path = (std::filesystem::temp_directory_path() / ("rz48-bench-" + std::to_string(seconds) + "s-g"
                                                                          + std::to_string(gop) + ".mp4")).string();
    if (std::filesystem::exists(path))
        return path;
    const std::string command = "ffmpeg -v error -y -f lavfi -i testsrc2=size=1920x1080:rate=25:duration=" + std::to_string(seconds)
        + " -timecode 01:00:00:00 -c:v libx264 -preset veryfast -g " + std::to_string(gop) + " -pix_fmt yuv420p " + path;
    return std::system(command.c_str()) == 0 ? path : std::string();
}

// Real time over a video: RZ48_BENCH_VIDEO_SECONDS (default 60) of the 1080p25
// clip with a keyframe every 12 frames opened (with `gl`, for OpenGL), each
// due frame handed to `draw` with its frame of the video; the frames counted,
// and those whose video frame could not be drawn.
template <class Draw> void playClip(benchmark::State& state, const rz48::emu::OpenGlDrawing* gl, Draw draw)
{
    const char* env = std::getenv("RZ48_BENCH_VIDEO_SECONDS");
    const int seconds = env ? std::atoi(env) : 60;
    const std::string clip = benchClip(seconds + 2, 12);
    rz48::emu::VideoFile video;
    std::string why;
    if (clip.empty() || !video.open(clip, &why, gl)) {
        state.SkipWithError(("no clip: " + why).c_str());
        return;
    }
    const int64_t first = rz48::emu::frameOfLabel(1, 0, 0, 0, 1);
    int64_t failed = 0;
    RealTime r;
    for (auto _ : state)
        r = playRealTime(1, first, seconds, [&](int64_t at, auto now) {
            if (!draw(video, at, rz48::emu::videoIndexAt(at, first), rz48::emu::ticksOfClock(now)))
                ++failed;
        });
    reportRealTime(state, r);
    state.counters["failed"] = double(failed);
}

// Each due frame its video frame with the overlay drawn over it (libmpv's
// software renderer, as rz48-emu render and the window's player use).
void BM_VideoPlayRealTime(benchmark::State& state)
{
    rz48::emu::OutputRenderer renderer;
    QImage image, picture;
    const rz48::emu::OutputState output = busyUnit().outputState();
    std::string why;
    playClip(state, nullptr, [&](rz48::emu::VideoFile& video, int64_t at, int64_t index, int64_t ticks) {
        const bool drawn = video.frameAt(index, picture, &why);
        renderer.render(rz48::emu::composeFrame(output, 1, at, ticks), image, &picture);
        return drawn;
    });
}
BENCHMARK(BM_VideoPlayRealTime)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// The same through OpenGL, as the window draws where it has OpenGL: each due
// frame drawn by libmpv's OpenGL renderer into a 1920 x 1080 texture, the
// shapes drawn apart, then both laid into a 960 x 540 picture as the window
// lays them, all on this one thread. Needs an OpenGL context (scripts/bench
// runs it under its own X server, whose OpenGL is Mesa's, in software).
void BM_VideoPlayOpenGl(benchmark::State& state)
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface)) {
        state.SkipWithError("no OpenGL here (scripts/bench gives it an X server)");
        return;
    }
    rz48::emu::OpenGlDrawing gl;
    gl.procAddress = [](void* c, const char* name) {
        return reinterpret_cast<void*>(static_cast<QOpenGLContext*>(c)->getProcAddress(name));
    };
    gl.context = &context;
    QOpenGLFramebufferObject frame(rz48::emu::kOutputWidth, rz48::emu::kOutputHeight);
    QOpenGLFramebufferObject window(960, 540);
    QOpenGLPaintDevice device(window.size());
    QOpenGLTextureBlitter blitter;
    blitter.create();
    rz48::emu::OutputRenderer renderer;
    QImage shapes;
    const rz48::emu::OutputState output = busyUnit().outputState();
    std::string why;
    playClip(state, &gl, [&](rz48::emu::VideoFile& video, int64_t at, int64_t index, int64_t ticks) {
        const bool drawn = video.frameAt(index, {frame.handle(), frame.width(), frame.height()}, &why);
        renderer.renderOverlay(rz48::emu::composeFrame(output, 1, at, ticks), shapes);
        window.bind();
        QPainter painter(&device);
        painter.beginNativePainting();
        context.functions()->glViewport(0, 0, window.width(), window.height());
        blitter.bind();
        blitter.blit(frame.texture(), QMatrix4x4(), QOpenGLTextureBlitter::OriginTopLeft);
        blitter.release();
        painter.endNativePainting();
        painter.drawImage(QRect(QPoint(0, 0), window.size()), shapes);
        painter.end();
        context.functions()->glFinish();
        return drawn;
    });
}
BENCHMARK(BM_VideoPlayOpenGl)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// Locates in a 20 s 1080p25 clip with a keyframe every `gop` frames (12, and
// 250 for a long-GOP clip): the time until the exact frame is drawn, on
// average and at the most, over 20 places spread through the clip.
void BM_VideoLocate(benchmark::State& state)
{
    const int gop = int(state.range(0));
    const std::string clip = benchClip(20, gop);
    rz48::emu::VideoFile video;
    std::string why;
    if (clip.empty() || !video.open(clip, &why)) {
        state.SkipWithError(("no clip: " + why).c_str());
        return;
    }
    QImage picture;
    double total = 0, worst = 0;
    int count = 0;
    for (auto _ : state) {
        for (int i = 0; i < 20; ++i) {
            const int64_t index = (int64_t(i) * 7919 + 11) % (video.frameCount() - 1);
            const auto t0 = std::chrono::steady_clock::now();
            video.frameAt(index, picture, &why);
            const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
            total += ms;
            worst = std::max(worst, ms);
            ++count;
        }
    }
    state.counters["mean_ms"] = total / std::max(count, 1);
    state.counters["worst_ms"] = worst;
}
BENCHMARK(BM_VideoLocate)->Arg(12)->Arg(250)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// Ten minutes of LTC at 25 (1) and 29.97 drop-frame (2) frames a second,
// from 00:59:00:00, written at 48 kHz and read back.
void BM_LtcTenMinutes(benchmark::State& state)
{
    const int type = int(state.range(0));
    const double fps = type == 1 ? 25.0 : 30000.0 / 1001.0;
    int64_t first = 0;
    rz48::emu::parseLabel(type == 1 ? "00:59:00:00" : "00:59:00;00", type, &first);
    size_t read = 0, off = 0, wrong = 0;
    for (auto _ : state) {
        rz48::emu::Audio audio;
        audio.sampleRate = 48000;
        audio.samples = rz48::emu::writeLtc(first, 600.0, type, 48000);
        const std::vector<rz48::emu::LtcReading> frames = rz48::emu::readLtc(audio);
        read = frames.size();
        off = wrong = 0;
        for (size_t i = 0; i < frames.size(); ++i) {
            const rz48::emu::LtcReading& r = frames[i];
            int64_t frame = -1;
            if (!rz48::emu::frameOfFields(r.hours, r.minutes, r.seconds, r.frames, type, &frame) || frame != first + int64_t(i))
                ++wrong;
            if (std::abs(r.at - double(i) / fps) > 1.0 / fps)
                ++off;
        }
    }
    state.counters["written"] = std::ceil(600.0 * fps);
    state.counters["read"] = double(read);
    state.counters["wrong_label"] = double(wrong);
    state.counters["over_a_frame_off"] = double(off);
}
BENCHMARK(BM_LtcTenMinutes)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(1);

BENCHMARK(BM_PlayRealTime)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

} // namespace
