#pragma once
// A video file under the unit's output: its frames by number, each drawn
// into the output's 1920 x 1080 picture (letterboxed when its shape differs)
// by libmpv's software renderer, so no display or GPU is needed, or by its
// OpenGL renderer into a framebuffer; its rate, length and start timecode tag
// (read with libavformat, as libmpv does not give it). One VideoFile per
// thread; drawn with OpenGL, the context it was opened in is current on it.
#include <QImage>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace rz48::emu {

// The OpenGL context a video is drawn with: how its functions are found.
struct OpenGlDrawing {
    void* (*procAddress)(void* context, const char* name) = nullptr;
    void* context = nullptr;
};

// An OpenGL framebuffer of the current context, drawn into whole.
struct Framebuffer {
    unsigned id = 0;
    int width = 0;
    int height = 0;
};

class VideoFile {
public:
    // Its waits for the player (a file loading, a seek, a frame) end early
    // once `abort` is set.
    explicit VideoFile(const std::atomic<bool>* abort = nullptr);
    ~VideoFile(); // (not copied: it owns its player)

    // False with why when the file cannot be opened or has no video. With
    // `gl`, frames are drawn with OpenGL (frameAt with a framebuffer), in the
    // context current now; else in software (frameAt with a picture).
    bool open(const std::string& path, std::string* why, const OpenGlDrawing* gl = nullptr);
    double fps() const { return fps_; }
    int64_t frameCount() const { return frames_; }
    // The file's start timecode tag ("01:00:00:00", ";" before the frames at
    // drop-frame), or empty.
    const std::string& timecodeTag() const { return timecode_; }
    // Frame `index` (0 is the first) drawn into `picture` (1920 x 1080
    // RGB32); black before the first frame and after the last. False with why
    // when the frame could not be decoded.
    bool frameAt(int64_t index, QImage& picture, std::string* why);
    // The same, drawn with OpenGL into `target`, letterboxed in its size.
    bool frameAt(int64_t index, const Framebuffer& target, std::string* why);

private:
    // Where a frame goes: a picture, or else a framebuffer.
    struct Canvas {
        QImage* picture = nullptr;
        Framebuffer target;
    };
    bool frameOn(int64_t index, Canvas canvas, std::string* why);
    // Draws the renderer's frame onto the canvas; black fills it.
    bool drawInto(Canvas canvas);
    void black(Canvas canvas);

    struct Player;
    std::unique_ptr<Player> player_;
    const std::atomic<bool>* abort_ = nullptr;
    QImage last_; // the picture of the frame shown last
    double fps_ = 0;
    int64_t frames_ = 0;
    std::string timecode_;
};

// The frame of a video that starts at `videoStart` (a frame count of the
// list's timecode type) shown at the list's frame `at`, label for label: the
// number of frames between them, or -1 before the start.
int64_t videoIndexAt(int64_t at, int64_t videoStart);
// Whether a video's rate plays label for label against a timecode type's:
// the same rate, or 23.976 against 24 and 29.97 non-drop against 30.
bool ratesMatch(double videoFps, int type);

} // namespace rz48::emu
