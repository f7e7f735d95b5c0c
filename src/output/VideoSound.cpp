#include "output/VideoSound.h"

#include <mpv/client.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdio>

namespace {

// Put back when it strays more than this from the picture.
constexpr double kStray = 0.08;

} // namespace

VideoSound::VideoSound(QString output)
    : output_(std::move(output))
{
}

VideoSound::~VideoSound()
{
    close();
}

void VideoSound::close()
{
    if (mpv_)
        mpv_terminate_destroy(mpv_);
    mpv_ = nullptr;
    playing_ = false;
}

bool VideoSound::open(const QString& path, QString* why)
{
    close();
    if (path.isEmpty())
        return true;
    std::setlocale(LC_NUMERIC, "C"); // the player refuses other numbers
    mpv_ = mpv_create();
    if (!mpv_) {
        *why = QStringLiteral("the sound player could not be made");
        return false;
    }
    const QByteArray ao = output_.toUtf8();
    for (const auto& [name, value] : {std::pair {"video", "no"}, {"sub", "no"}, {"pause", "yes"}, {"keep-open", "always"},
                                      {"hr-seek", "yes"}, {"terminal", "no"}, {"config", "no"}, {"load-scripts", "no"},
                                      {"ytdl", "no"}, {"audio-display", "no"}})
        mpv_set_option_string(mpv_, name, value);
    if (!ao.isEmpty())
        mpv_set_option_string(mpv_, "ao", ao.constData());
    if (mpv_initialize(mpv_) < 0) {
        close();
        *why = QStringLiteral("the sound player could not start");
        return false;
    }
    const QByteArray file = path.toUtf8();
    const char* load[] = {"loadfile", file.constData(), nullptr};
    if (mpv_command(mpv_, load) < 0) {
        close();
        *why = QStringLiteral("the sound player could not open the file");
        return false;
    }
    return true;
}

void VideoSound::follow(bool playing, double seconds)
{
    if (!mpv_)
        return;
    while (mpv_wait_event(mpv_, 0)->event_id != MPV_EVENT_NONE) {
    }
    int paused = 1;
    if (!playing || seconds < 0) {
        if (playing_)
            mpv_set_property(mpv_, "pause", MPV_FORMAT_FLAG, &paused);
        playing_ = false;
        return;
    }
    double at = 0;
    const bool known = mpv_get_property(mpv_, "time-pos", MPV_FORMAT_DOUBLE, &at) >= 0;
    const auto now = std::chrono::steady_clock::now();
    if (!playing_ || (now >= settled_ && (!known || std::abs(at - seconds) > kStray))) {
        settled_ = now + std::chrono::milliseconds(500); // a seek takes its moment
        char target[64];
        std::snprintf(target, sizeof target, "%.6f", seconds);
        const char* seek[] = {"seek", target, "absolute+exact", nullptr};
        mpv_command(mpv_, seek);
    }
    if (!playing_) {
        paused = 0;
        mpv_set_property(mpv_, "pause", MPV_FORMAT_FLAG, &paused);
        playing_ = true;
    }
}

void VideoSound::setMuted(bool muted)
{
    if (!mpv_)
        return;
    int flag = muted ? 1 : 0;
    mpv_set_property(mpv_, "mute", MPV_FORMAT_FLAG, &flag);
}

double VideoSound::position() const
{
    double at = -1;
    if (mpv_)
        mpv_get_property(mpv_, "time-pos", MPV_FORMAT_DOUBLE, &at);
    return at;
}
