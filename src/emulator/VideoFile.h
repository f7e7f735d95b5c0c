#pragma once
// A video file under the unit's output: its frames by number, each drawn
// into the output's 1920 x 1080 picture (letterboxed when its shape differs)
// by libmpv's software renderer, so no display or GPU is needed; its rate,
// length and start timecode tag (read with libavformat, as libmpv does not
// give it). One VideoFile per thread.
#include <QImage>

#include <cstdint>
#include <memory>
#include <string>

namespace rz48::emu {

class VideoFile {
public:
    VideoFile();
    ~VideoFile(); // (not copied: it owns its player)

    // False with why when the file cannot be opened or has no video.
    bool open(const std::string& path, std::string* why);
    double fps() const { return fps_; }
    int64_t frameCount() const { return frames_; }
    // The file's start timecode tag ("01:00:00:00", ";" before the frames at
    // drop-frame), or empty.
    const std::string& timecodeTag() const { return timecode_; }
    // Frame `index` (0 is the first) drawn into `picture` (1920 x 1080
    // RGB32); black before the first frame and after the last. False with why
    // when the frame could not be decoded.
    bool frameAt(int64_t index, QImage& picture, std::string* why);

private:
    // Draws the renderer's frame into the picture.
    bool drawInto(QImage& picture);

    struct Player;
    std::unique_ptr<Player> player_;
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
