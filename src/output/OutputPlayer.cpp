#include "output/OutputPlayer.h"

#include "emulator/OutputRenderer.h"
#include "emulator/VideoFile.h"
#include "output/VideoTextures.h"

#include <climits>
#include <thread>

using Clock = rz48::emu::Transport::Clock;

OutputPlayer::OutputPlayer(std::shared_ptr<rz48::emu::EmulatedUnit> unit)
    : shared_(std::make_shared<Shared>(std::move(unit)))
{
}

OutputPlayer::~OutputPlayer()
{
    stop();
}

void OutputPlayer::start(QObject* parent)
{
    if (worker_.isRunning())
        return;
    ++shared_->run;
    std::shared_ptr<Shared> shared = shared_;
    worker_.start(parent, [shared](rz48::WorkerContext& context) { run(*shared, context); });
}

bool OutputPlayer::stop()
{
    return worker_.stop();
}

void OutputPlayer::drawWithOpenGl(QOpenGLContext* share, QOffscreenSurface* surface)
{
    std::lock_guard lock(shared_->lock);
    shared_->shareContext = share && surface ? share : nullptr;
    shared_->surface = share && surface ? surface : nullptr;
}

void OutputPlayer::play()
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.play(Clock::now());
}

void OutputPlayer::halt()
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.stop(Clock::now());
}

void OutputPlayer::locate(int64_t frame)
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.locate(frame, Clock::now());
}

void OutputPlayer::setLoop(int64_t first, int64_t end, bool on)
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.setLoop(first, end, on);
}

void OutputPlayer::setType(int type)
{
    std::lock_guard lock(shared_->lock);
    if (type != shared_->transport.type())
        shared_->transport.setType(type, Clock::now());
}

void OutputPlayer::chase(const rz48::emu::MtcDecoder::Position& position)
{
    std::lock_guard lock(shared_->lock);
    rz48::emu::Transport& t = shared_->transport;
    const Clock::time_point now = Clock::now();
    if (t.type() != position.type)
        t.setType(position.type, now);
    // Within a frame of the source: left running, so frames stay even.
    const int64_t off = t.frameAt(now) - position.frame;
    if (position.direction <= 0 || !t.playing() || off > 1 || off < -1) {
        t.locate(position.frame, now);
        }
    if (position.direction > 0 && !t.playing()) {
        t.play(now);
        } else if (position.direction <= 0 && t.playing()) {
        t.stop(now);
        }
}

void OutputPlayer::setVideo(const std::string& path, const std::string& start, int64_t offset)
{
    std::lock_guard lock(shared_->lock);
    shared_->videoPath = path;
    shared_->videoStart = start;
    shared_->videoOffset = offset;
    ++shared_->videoRevision;
}

std::optional<double> OutputPlayer::videoSeconds() const
{
    std::lock_guard lock(shared_->lock);
    if (shared_->videoFps <= 0)
        return std::nullopt;
    return double(shared_->transport.frameAt(Clock::now()) - shared_->videoFirst) / shared_->videoFps;
}

OutputPlayer::Standing OutputPlayer::standing() const
{
    std::lock_guard lock(shared_->lock);
    const rz48::emu::Transport& t = shared_->transport;
    return {t.playing(), t.frameAt(Clock::now()), t.type()};
}

int OutputPlayer::type() const
{
    std::lock_guard lock(shared_->lock);
    return shared_->transport.type();
}

bool OutputPlayer::playing() const
{
    std::lock_guard lock(shared_->lock);
    return shared_->transport.playing();
}

int64_t OutputPlayer::frame() const
{
    std::lock_guard lock(shared_->lock);
    return shared_->transport.frameAt(Clock::now());
}

namespace {

// The video the player shows: opened on the player's own thread, its first
// frame placed on the transport's frames, the picture (or, drawn with OpenGL,
// the texture) of the frame shown.
struct VideoUnder {
    VideoTextures* gl = nullptr; // drawn with OpenGL when ready
    const std::atomic<bool>* abort = nullptr; // the player's: it ends the file's waits
    std::unique_ptr<rz48::emu::VideoFile> file;
    QString inSoftware; // why this OpenGL could not draw the video, once it could not
    uint64_t revision = 0;
    int type = -1;
    int64_t first = 0;
    QImage picture;
    unsigned texture = 0;
    int64_t shown = INT64_MIN;

    // Follows the player's settings; what it says goes to the parent.
    void follow(const std::string& path, const std::string& start, int64_t offset, uint64_t r, int transportType,
                rz48::WorkerContext& context)
    {
        const bool changed = r != revision;
        if (changed) {
            revision = r;
            file.reset();
            shown = INT64_MIN;
            if (!path.empty()) {
                auto opened = std::make_unique<rz48::emu::VideoFile>(abort);
                std::string why;
                const rz48::emu::OpenGlDrawing drawing = gl ? gl->drawing() : rz48::emu::OpenGlDrawing();
                bool open = opened->open(path, &why, gl ? &drawing : nullptr);
                if (!open && gl) {
                    // A file that opens in software but not with this OpenGL:
                    // the video is drawn in software from now on, and the
                    // status says so. A file that opens in neither says why.
                    auto plain = std::make_unique<rz48::emu::VideoFile>(abort);
                    std::string plainWhy;
                    if (plain->open(path, &plainWhy)) {
                        inSoftware = QString::fromStdString(why);
                        gl = nullptr;
                        opened = std::move(plain);
                        open = true;
                    }
                }
                if (open)
                    file = std::move(opened);
                else
                    context.callParent("threadVideoStatus", QStringLiteral("%1 cannot be shown: %2")
                                                                .arg(QString::fromStdString(path), QString::fromStdString(why)));
            }
        }
        if (!file || (!changed && transportType == type))
            return;
        type = transportType;
        shown = INT64_MIN;
        const std::string label = !start.empty() ? start : !file->timecodeTag().empty() ? file->timecodeTag() : "00:00:00:00";
        int64_t at = 0;
        QString said;
        if (!rz48::emu::parseLabel(label, type, &at)) {
            said = QStringLiteral("The video's start %1 is not a timecode at this rate: it starts at 00:00:00:00.")
                       .arg(QString::fromStdString(label));
            at = 0;
        } else {
            said = QStringLiteral("Video: %1 frames at %2 fps from %3%4.")
                       .arg(file->frameCount())
                       .arg(file->fps(), 0, 'f', 3)
                       .arg(QString::fromStdString(rz48::emu::labelOfFrame(at + offset, type)))
                       .arg(start.empty() && !file->timecodeTag().empty() ? QStringLiteral(" (its timecode tag)") : QString());
        }
        if (!rz48::emu::ratesMatch(file->fps(), type))
            said += QStringLiteral(" Its rate is not the timecode's: its frames are taken label for label, so it drifts "
                                   "from the timecode's time.");
        if (!inSoftware.isEmpty())
            said += QStringLiteral(" Drawn in software: %1.").arg(inSoftware);
        first = at + offset;
        context.callParent("threadVideoStatus", said);
    }
    // The picture at the transport's frame; null without a video or when it
    // is drawn with OpenGL (its texture then holds the frame, 0 for black).
    const QImage* at(int64_t frame, rz48::WorkerContext& context)
    {
        if (!file)
            return nullptr;
        const int64_t index = rz48::emu::videoIndexAt(frame, first);
        const int64_t wanted = index >= file->frameCount() ? -1 : index;
        if (wanted != shown) {
            std::string why;
            bool drawn = true;
            if (!gl)
                drawn = file->frameAt(wanted, picture, &why);
            else if (wanted < 0)
                texture = 0;
            else if ((drawn = file->frameAt(wanted, gl->spare(), &why)))
                texture = gl->swap();
            if (!drawn) {
                context.callParent("threadVideoStatus", QStringLiteral("The video's frame %1 could not be shown: %2")
                                                            .arg(wanted)
                                                            .arg(QString::fromStdString(why)));
                picture.fill(0xFF000000u);
                texture = 0;
            }
            shown = wanted;
        }
        return gl ? nullptr : &picture;
    }
};

} // namespace

void OutputPlayer::run(Shared& shared, rz48::WorkerContext& context)
{
    rz48::emu::OutputRenderer renderer;
    // Drawn with OpenGL, the textures outlive the video drawn into them.
    VideoTextures textures;
    VideoUnder video;
    QOpenGLContext* share = nullptr;
    QOffscreenSurface* surface = nullptr;
    {
        std::lock_guard lock(shared.lock);
        share = shared.shareContext;
        surface = shared.surface;
    }
    if (share && textures.begin(share, surface, &video.inSoftware))
        video.gl = &textures;
    video.abort = &context.abort;
    const uint64_t thisRun = shared.run;
    int64_t videoDrawn = INT64_MIN;
    rz48::emu::OutputState state;
    uint64_t revision = 0;
    bool fetched = false;
    rz48::emu::OutputFrame last;
    bool drawn = false;
    while (!context.aborting()) {
        const Clock::time_point now = Clock::now();
        int type = 1;
        int64_t frame = 0;
        Clock::time_point due = now, next = now;
        std::string videoPath, videoStart;
        int64_t videoOffset = 0;
        uint64_t videoRevision = 0;
        {
            std::lock_guard lock(shared.lock);
            videoPath = shared.videoPath;
            videoStart = shared.videoStart;
            videoOffset = shared.videoOffset;
            videoRevision = shared.videoRevision;
            const rz48::emu::Transport& t = shared.transport;
            type = t.type();
            const int64_t index = t.indexAt(now);
            frame = t.frameOfIndex(index);
            if (t.playing()) {
                due = t.dueOf(index);
                next = t.dueOf(index + 1);
            } else {
                next = now + std::chrono::nanoseconds(rz48::emu::frameRateOf(type).periodTicks * 100000 / 3);
            }
        }
        // The unit's state is copied only when it has received something since.
        if (const uint64_t r = shared.unit->outputRevision(); !fetched || r != revision) {
            state = shared.unit->outputState();
            revision = r;
            fetched = true;
        }
        video.follow(videoPath, videoStart, videoOffset, videoRevision, type, context);
        {
            std::lock_guard lock(shared.lock);
            shared.videoFirst = video.first;
            shared.videoFps = video.file ? video.file->fps() : 0;
        }
        rz48::emu::OutputFrame composed = rz48::emu::composeFrame(state, type, frame, rz48::emu::ticksOfClock(due));
        const bool videoMoved = video.file && rz48::emu::videoIndexAt(frame, video.first) != videoDrawn;
        if ((!drawn || !(composed == last) || videoMoved) && !shared.waiting) {
            OutputShown shown;
            shown.run = thisRun;
            const QImage* picture = video.at(frame, context);
            if (video.gl) {
                renderer.renderOverlay(composed, shown.image);
                shown.texture = video.file ? video.texture : 0;
            } else {
                renderer.render(composed, shown.image, picture);
            }
            videoDrawn = video.file ? rz48::emu::videoIndexAt(frame, video.first) : INT64_MIN;
            shown.image.setText(QStringLiteral("timecode"), QString::fromStdString(composed.timecode));
            shared.waiting = true;
            if (!context.callParent("threadNeedsDisplay", shown))
                shared.waiting = false;
            last = std::move(composed);
            drawn = true;
        }
        std::this_thread::sleep_until(next);
    }
}
