#pragma once
// The sound of the video under the Unit output: a second player of the same
// file, sound only, that follows the transport: it plays while the transport
// plays, from where the picture stands, and is put back when it strays more
// than a frame or two; it is silent while the transport stands. Muting keeps
// it following.
#include <QString>

#include <chrono>
#include <memory>

class VideoSound {
public:
    // `output`: the sound output to use (empty: the system's default).
    explicit VideoSound(QString output = {});
    ~VideoSound();
    VideoSound(const VideoSound&) = delete;
    VideoSound& operator=(const VideoSound&) = delete;

    // The file whose sound plays (empty: none); false with why.
    bool open(const QString& path, QString* why);
    bool isOpen() const { return mpv_ != nullptr; }
    // The transport: playing or not, and where the picture stands in the file.
    void follow(bool playing, double seconds);
    void setMuted(bool muted);
    // Where the sound stands in the file, in seconds (for tests).
    double position() const;

private:
    void close();

    QString output_;
    struct mpv_handle* mpv_ = nullptr;
    bool playing_ = false;
    std::chrono::steady_clock::time_point settled_ {}; // not put back again before
};
