#pragma once
// Plays an emulated unit's output: a worker thread that draws each frame of
// the transport when it is due (sleeping until then on the monotonic clock)
// and hands it to its parent's threadNeedsDisplay: as an image whose text
// "timecode" is the frame's label. While the transport stands, frames go on
// at the rate, since triggered elements run on the wall clock; a frame that
// would look like the last one is not drawn again. The transport's controls
// may be used from any thread.
#include "common/Worker.h"
#include "emulator/EmulatedUnit.h"
#include "emulator/MtcDecoder.h"
#include "emulator/Transport.h"

#include <QImage>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

class QOffscreenSurface;
class QOpenGLContext;

// A frame for the window: the whole picture drawn in software; or, with the
// video drawn with OpenGL, the shapes alone (clear where the picture shows)
// over the video's texture (0: black under them).
struct OutputShown {
    QImage image;
    unsigned texture = 0;
    uint64_t run = 0; // the player's run that drew it
};
Q_DECLARE_METATYPE(OutputShown)

class OutputPlayer {
public:
    explicit OutputPlayer(std::shared_ptr<rz48::emu::EmulatedUnit> unit);
    ~OutputPlayer();

    // The parent receives threadNeedsDisplay(OutputShown) and calls
    // frameTaken() when it has it: at most one frame waits for the parent at a
    // time, and until it is taken the texture shown before is not drawn into.
    void start(QObject* parent);
    // The video drawn with OpenGL, into textures shared with `share`, by a
    // context of the player's thread over `surface` (both the window's, kept
    // while the player runs); none: in software. Set while stopped. Where
    // OpenGL fails the player draws in software and the parent hears why.
    void drawWithOpenGl(QOpenGLContext* share, QOffscreenSurface* surface);
    // False when the thread did not end in time and was left to finish.
    bool stop();
    void frameTaken() { shared_->waiting = false; }
    // Each start is a new run; a frame of an earlier run (still on its way
    // when the player stopped) is neither shown nor taken: its texture is gone.
    uint64_t currentRun() const { return shared_->run; }

    void play();
    void halt();
    void locate(int64_t frame);
    void setLoop(int64_t first, int64_t end, bool on);
    void setType(int type);
    // Follows a MIDI Time Code source: its rate, its position, and playing
    // while it runs forwards.
    void chase(const rz48::emu::MtcDecoder::Position& position);

    int type() const;
    bool playing() const;
    int64_t frame() const;
    // The three at one instant.
    struct Standing {
        bool playing = false;
        int64_t frame = 0;
        int type = 1;
    };
    Standing standing() const;

    // A video under the output (an empty path: none). Its first frame stands
    // for `start` ("HH:MM:SS:FF" at the transport's type; empty: the file's
    // own timecode tag, else 00:00:00:00) plus `offset` frames. The parent
    // hears of the file (or why it cannot be shown) by threadVideoStatus(QString).
    void setVideo(const std::string& path, const std::string& start, int64_t offset);
    // Where the video stands at the transport's frame, in seconds into the
    // file (negative before its start); none while no video is shown.
    std::optional<double> videoSeconds() const;

private:
    struct Shared {
        explicit Shared(std::shared_ptr<rz48::emu::EmulatedUnit> u)
            : unit(std::move(u))
        {
        }
        std::shared_ptr<rz48::emu::EmulatedUnit> unit;
        mutable std::mutex lock; // guards the transport
        rz48::emu::Transport transport {1};
        std::atomic<bool> waiting {false};
        std::atomic<uint64_t> run {0};
        // The video, guarded by `lock` too; its revision counts the changes.
        std::string videoPath, videoStart;
        int64_t videoOffset = 0;
        uint64_t videoRevision = 0;
        // Set by the player's thread: the transport frame of the video's first frame, and its rate.
        int64_t videoFirst = 0;
        double videoFps = 0; // 0: no video shown
        // Set while the player is stopped.
        QOpenGLContext* shareContext = nullptr;
        QOffscreenSurface* surface = nullptr;
    };
    static void run(Shared& shared, rz48::WorkerContext& context);

    std::shared_ptr<Shared> shared_;
    rz48::Worker worker_ {"output player"};
};
