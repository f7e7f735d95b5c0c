#include "emulator/VideoFile.h"

#include "emulator/OutputModel.h"
#include "emulator/UnitTimecode.h"

#include <mpv/client.h>
#include <mpv/render.h>
#include <mpv/render_gl.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

#include <algorithm>
#include <chrono>
#include <clocale>
#include <condition_variable>
#include <mutex>
#include <type_traits>
#include <cmath>
#include <cstdio>

namespace rz48::emu {

namespace {

std::string avError(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

// The file's rate, length and timecode tag, as libavformat reads them.
bool probe(const std::string& path, double* fps, int64_t* frames, std::string* timecode, std::string* why)
{
    AVFormatContext* context = nullptr;
    int status = avformat_open_input(&context, path.c_str(), nullptr, nullptr);
    if (status < 0) {
        *why = avError(status);
        return false;
    }
    struct Close {
        AVFormatContext** c;
        ~Close() { avformat_close_input(c); }
    } close {&context};
    if ((status = avformat_find_stream_info(context, nullptr)) < 0) {
        *why = avError(status);
        return false;
    }
    const int video = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (video < 0) {
        *why = "it has no video";
        return false;
    }
    const AVStream* stream = context->streams[video];
    AVRational rate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        *why = "its frame rate is not known";
        return false;
    }
    *fps = av_q2d(rate);
    if (stream->nb_frames > 0)
        *frames = stream->nb_frames;
    else if (stream->duration > 0)
        *frames = int64_t(std::llround(double(stream->duration) * av_q2d(stream->time_base) * *fps));
    else if (context->duration > 0)
        *frames = int64_t(std::llround(double(context->duration) / AV_TIME_BASE * *fps));
    // The tag on the video stream, on the container, or on a timecode track.
    const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "timecode", nullptr, 0);
    if (!tag)
        tag = av_dict_get(context->metadata, "timecode", nullptr, 0);
    for (unsigned i = 0; !tag && i < context->nb_streams; ++i)
        tag = av_dict_get(context->streams[i]->metadata, "timecode", nullptr, 0);
    timecode->clear();
    if (tag && tag->value)
        *timecode = tag->value;
    return true;
}

} // namespace

struct VideoFile::Player {
    mpv_handle* mpv = nullptr;
    mpv_render_context* render = nullptr;
    // Drawn with OpenGL: the functions that fill a framebuffer black.
    bool gl = false;
    void (*bindFramebuffer)(unsigned target, unsigned id) = nullptr;
    void (*viewport)(int x, int y, int width, int height) = nullptr;
    void (*clearColor)(float r, float g, float b, float a) = nullptr;
    void (*clear)(unsigned mask) = nullptr;
    std::mutex lock;
    std::condition_variable changed;
    bool update = false; // the renderer has something new
    int64_t shown = -1;  // the frame the renderer holds
    bool stepped = false; // the next frame was asked for ahead

    static void onUpdate(void* self)
    {
        auto* p = static_cast<Player*>(self);
        std::lock_guard guard(p->lock);
        p->update = true;
        p->changed.notify_all();
    }
    const std::atomic<bool>* abort = nullptr;
    bool aborted() const { return abort && abort->load(); }
    // Waits for the renderer's next frame; false when none came in time.
    bool waitForFrame(double seconds)
    {
        const auto until = std::chrono::steady_clock::now()
            + std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
        for (;;) {
            {
                std::unique_lock guard(lock);
                // A tenth of a second at a time, so that the abort flag is seen.
                while (!update && !aborted() && std::chrono::steady_clock::now() < until)
                    changed.wait_until(guard, std::min(until, std::chrono::steady_clock::now() + std::chrono::milliseconds(100)),
                                       [this] { return update; });
                if (!update)
                    return false;
                update = false;
            }
            if (mpv_render_context_update(render) & MPV_RENDER_UPDATE_FRAME)
                return true;
        }
    }
    ~Player()
    {
        if (render)
            mpv_render_context_free(render);
        if (mpv)
            mpv_terminate_destroy(mpv);
    }
    // Waits for an event; false on an error, the end of the file or the time running out.
    bool waitFor(mpv_event_id wanted, double seconds, std::string* why)
    {
        const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (std::chrono::steady_clock::now() < until) {
            if (aborted()) {
                *why = "stopped";
                return false;
            }
            const mpv_event* event = mpv_wait_event(mpv, 0.1);
            if (event->event_id == wanted)
                return true;
            if (event->event_id == MPV_EVENT_END_FILE) {
                const auto* end = static_cast<const mpv_event_end_file*>(event->data);
                *why = end && end->error < 0 ? mpv_error_string(end->error) : "the file ended";
                return false;
            }
        }
        *why = "the video did not answer in time";
        return false;
    }
};

VideoFile::VideoFile(const std::atomic<bool>* abort)
    : abort_(abort)
{
}

VideoFile::~VideoFile() = default;

bool VideoFile::open(const std::string& path, std::string* why, const OpenGlDrawing* gl)
{
    player_.reset();
    frames_ = 0;
    if (!probe(path, &fps_, &frames_, &timecode_, why))
        return false;
    auto player = std::make_unique<Player>();
    player->abort = abort_;
    // The player refuses to start under a locale whose numbers are not C's;
    // the program reads and writes its own numbers in the C locale anyway.
    std::setlocale(LC_NUMERIC, "C");
    player->mpv = mpv_create();
    if (!player->mpv) {
        *why = "the video player could not be made";
        return false;
    }
    for (const auto& [name, value] : {std::pair {"vo", "libmpv"}, {"ao", "null"}, {"audio", "no"}, {"sub", "no"},
                                      {"hwdec", "no"}, {"gpu-hwdec-interop", "no"}, {"pause", "yes"}, {"keep-open", "always"}, {"hr-seek", "yes"},
                                      {"hr-seek-framedrop", "no"}, {"untimed", "yes"}, {"osd-level", "0"}, {"terminal", "no"},
                                      {"config", "no"}, {"load-scripts", "no"}, {"ytdl", "no"}})
        mpv_set_option_string(player->mpv, name, value);
    if (mpv_initialize(player->mpv) < 0) {
        *why = "the video player could not start";
        return false;
    }
    if (gl) {
        auto find = [gl](auto& function, const char* name) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(gl->procAddress(gl->context, name));
            return function != nullptr;
        };
        player->gl = true;
        if (!find(player->bindFramebuffer, "glBindFramebuffer") || !find(player->viewport, "glViewport")
            || !find(player->clearColor, "glClearColor") || !find(player->clear, "glClear")) {
            *why = "OpenGL lacks the functions to draw a frame";
            return false;
        }
        mpv_opengl_init_params init {gl->procAddress, gl->context};
        mpv_render_param params[] = {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_OPENGL)},
                                     {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &init},
                                     {MPV_RENDER_PARAM_INVALID, nullptr}};
        if (mpv_render_context_create(&player->render, player->mpv, params) < 0) {
            *why = "the video player cannot draw with this OpenGL";
            return false;
        }
    } else {
        mpv_render_param params[] = {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_SW)},
                                     {MPV_RENDER_PARAM_INVALID, nullptr}};
        if (mpv_render_context_create(&player->render, player->mpv, params) < 0) {
            *why = "the video player has no software renderer";
            return false;
        }
    }
    mpv_render_context_set_update_callback(player->render, &Player::onUpdate, player.get());
    const char* load[] = {"loadfile", path.c_str(), nullptr};
    if (mpv_command(player->mpv, load) < 0 || !player->waitFor(MPV_EVENT_FILE_LOADED, 10, why))
        return false;
    player_ = std::move(player);
    // The first frame, shown on loading, is drawn away so it is not taken for
    // a later one (with OpenGL, into a pixel of the surface's own framebuffer).
    QImage first;
    Canvas away;
    if (!player_->gl)
        away.picture = &first;
    else
        away.target = {0, 1, 1};
    if (player_->waitForFrame(5) && drawInto(away))
        player_->shown = 0;
    return true;
}

namespace {

// The picture made the output's size and format where it is not.
void fitPicture(QImage& picture)
{
    if (picture.width() != kOutputWidth || picture.height() != kOutputHeight || picture.format() != QImage::Format_RGB32)
        picture = QImage(kOutputWidth, kOutputHeight, QImage::Format_RGB32);
}

} // namespace

bool VideoFile::drawInto(Canvas canvas)
{
    if (!canvas.picture) {
        mpv_opengl_fbo fbo {int(canvas.target.id), canvas.target.width, canvas.target.height, 0};
        int flip = 0;
        mpv_render_param params[] = {{MPV_RENDER_PARAM_OPENGL_FBO, &fbo},
                                     {MPV_RENDER_PARAM_FLIP_Y, &flip},
                                     {MPV_RENDER_PARAM_INVALID, nullptr}};
        return mpv_render_context_render(player_->render, params) >= 0;
    }
    QImage& picture = *canvas.picture;
    fitPicture(picture);
    int size[2] = {kOutputWidth, kOutputHeight};
    size_t stride = size_t(picture.bytesPerLine());
    mpv_render_param params[] = {{MPV_RENDER_PARAM_SW_SIZE, size},
                                 {MPV_RENDER_PARAM_SW_FORMAT, const_cast<char*>("bgr0")},
                                 {MPV_RENDER_PARAM_SW_STRIDE, &stride},
                                 {MPV_RENDER_PARAM_SW_POINTER, picture.bits()},
                                 {MPV_RENDER_PARAM_INVALID, nullptr}};
    if (mpv_render_context_render(player_->render, params) < 0)
        return false;
    // The renderer leaves the byte it does not use as it found it.
    auto* pixel = reinterpret_cast<uint32_t*>(picture.bits());
    for (qsizetype i = 0, n = qsizetype(picture.sizeInBytes() / 4); i < n; ++i)
        pixel[i] |= 0xFF000000u;
    return true;
}

void VideoFile::black(Canvas canvas)
{
    if (canvas.picture) {
        fitPicture(*canvas.picture);
        canvas.picture->fill(0xFF000000u);
    } else if (player_ && player_->gl) {
        constexpr unsigned kFramebuffer = 0x8D40, kColourBuffer = 0x4000;
        player_->bindFramebuffer(kFramebuffer, canvas.target.id);
        player_->viewport(0, 0, canvas.target.width, canvas.target.height);
        player_->clearColor(0, 0, 0, 1);
        player_->clear(kColourBuffer);
    }
}

bool VideoFile::frameAt(int64_t index, QImage& picture, std::string* why)
{
    if (player_ && player_->gl) {
        *why = "the video is drawn with OpenGL";
        return false;
    }
    Canvas canvas;
    canvas.picture = &picture;
    return frameOn(index, canvas, why);
}

bool VideoFile::frameAt(int64_t index, const Framebuffer& target, std::string* why)
{
    if (!player_ || !player_->gl) {
        *why = "the video is not drawn with OpenGL";
        return false;
    }
    Canvas canvas;
    canvas.target = target;
    return frameOn(index, canvas, why);
}

bool VideoFile::frameOn(int64_t index, Canvas canvas, std::string* why)
{
    if (!player_ || index < 0 || index >= frames_) {
        black(canvas);
        return true;
    }
    if (index == player_->shown) {
        // Drawn with OpenGL, the renderer draws its frame again; in software, the last picture is it.
        if (!canvas.picture)
            return drawInto(canvas);
        if (!last_.isNull()) {
            *canvas.picture = last_;
            return true;
        }
    }
    // The picture is drawn into in place: the last one is let go first, so
    // that drawing does not copy all of it.
    last_ = QImage();
    // The renderer may first redraw the frame it had: only a new frame is the one asked for.
    auto newFrame = [&](Canvas into) {
        for (;;) {
            if (!player_->waitForFrame(5)) {
                *why = "frame " + std::to_string(index) + " did not come";
                return false;
            }
            mpv_render_frame_info info {};
            mpv_render_param ask = {MPV_RENDER_PARAM_NEXT_FRAME_INFO, &info};
            const bool redraw = mpv_render_context_get_info(player_->render, ask) >= 0 && (info.flags & MPV_RENDER_FRAME_INFO_REDRAW);
            if (!drawInto(into)) {
                *why = "the frame could not be drawn";
                return false;
            }
            if (!redraw)
                return true;
        }
    };
    const char* step[] = {"frame-step", nullptr};
    if (index == player_->shown + 1 && player_->shown >= 0) {
        // Playing: the next frame, decoded on from the last (and most often
        // already while the last was shown), never sought.
        if (!player_->stepped && mpv_command(player_->mpv, step) < 0) {
            *why = "the next frame could not be asked for";
            return false;
        }
        player_->stepped = false;
        if (!newFrame(canvas))
            return false;
    } else {
        // The frame decoded ahead, and any other still waiting, are drawn away
        // first, so neither is taken for the new one.
        QImage away;
        Canvas drawnAway = canvas;
        if (canvas.picture)
            drawnAway.picture = &away;
        if (player_->stepped) {
            newFrame(drawnAway);
            player_->stepped = false;
        }
        if (mpv_render_context_update(player_->render) & MPV_RENDER_UPDATE_FRAME)
            drawInto(drawnAway);
        // An exact seek shows the first frame at or after its time: a quarter
        // of a frame before the frame's own, so rounding never shows its neighbour.
        char at[64];
        std::snprintf(at, sizeof at, "%.6f", std::max(0.0, (double(index) - 0.25) / fps_));
        const char* seek[] = {"seek", at, "absolute+exact", nullptr};
        if (mpv_command(player_->mpv, seek) < 0 || !player_->waitFor(MPV_EVENT_PLAYBACK_RESTART, 10, why) || !newFrame(canvas))
            return false;
    }
    // The next frame is decoded while this one is shown.
    if (index + 1 < frames_ && mpv_command(player_->mpv, step) >= 0)
        player_->stepped = true;
    player_->shown = index;
    if (canvas.picture)
        last_ = *canvas.picture;
    return true;
}

int64_t videoIndexAt(int64_t at, int64_t videoStart)
{
    return at < videoStart ? -1 : at - videoStart;
}

bool ratesMatch(double videoFps, int type)
{
    const FrameRate rate = frameRateOf(type);
    const double list = rate.dropFrame ? 30000.0 / 1001.0 : rate.nominal;
    auto near = [](double a, double b) { return std::abs(a - b) < 0.01; };
    return near(videoFps, list) || (near(videoFps, 24000.0 / 1001.0) && rate.nominal == 24 && !rate.dropFrame)
        || (near(videoFps, 30000.0 / 1001.0) && rate.nominal == 30);
}

} // namespace rz48::emu
