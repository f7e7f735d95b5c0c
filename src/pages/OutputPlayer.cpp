#include "pages/OutputPlayer.h"

#include "emulator/OutputRenderer.h"

#include <thread>

using Clock = emu::Transport::Clock;

OutputPlayer::OutputPlayer(std::shared_ptr<emu::EmulatedUnit> unit)
    : shared_(std::make_shared<Shared>(std::move(unit)))
{
}

OutputPlayer::~OutputPlayer()
{
    stop();
}

void OutputPlayer::start(QObject* parent)
{
    std::shared_ptr<Shared> shared = shared_;
    worker_.start(parent, [shared](rz48::WorkerContext& context) { run(*shared, context); });
}

void OutputPlayer::stop()
{
    worker_.stop();
}

void OutputPlayer::play()
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.play(Clock::now());
    changed();
}

void OutputPlayer::halt()
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.stop(Clock::now());
    changed();
}

void OutputPlayer::locate(int64_t frame)
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.locate(frame, Clock::now());
    changed();
}

void OutputPlayer::setLoop(int64_t first, int64_t end, bool on)
{
    std::lock_guard lock(shared_->lock);
    shared_->transport.setLoop(first, end, on);
    changed();
}

void OutputPlayer::setType(int type)
{
    std::lock_guard lock(shared_->lock);
    if (type != shared_->transport.type())
        shared_->transport.setType(type, Clock::now());
    changed();
}

void OutputPlayer::chase(const emu::MtcDecoder::Position& position)
{
    std::lock_guard lock(shared_->lock);
    emu::Transport& t = shared_->transport;
    const Clock::time_point now = Clock::now();
    if (t.type() != position.type)
        t.setType(position.type, now);
    // Within a frame of the source: left running, so frames stay even.
    const int64_t off = t.frameAt(now) - position.frame;
    if (position.direction <= 0 || !t.playing() || off > 1 || off < -1) {
        t.locate(position.frame, now);
        changed();
    }
    if (position.direction > 0 && !t.playing()) {
        t.play(now);
        changed();
    } else if (position.direction <= 0 && t.playing()) {
        t.stop(now);
        changed();
    }
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

OutputPlayer::Stats OutputPlayer::stats() const
{
    std::lock_guard lock(shared_->lock);
    return shared_->stats;
}

void OutputPlayer::run(Shared& shared, rz48::WorkerContext& context)
{
    emu::OutputRenderer renderer;
    emu::OutputFrame last;
    bool drawn = false;
    int lastGeneration = -1;
    int64_t lastIndex = -1;
    while (!context.aborting()) {
        const Clock::time_point now = Clock::now();
        int type = 1;
        int64_t frame = 0;
        Clock::time_point due = now, next = now;
        bool playing = false;
        {
            std::lock_guard lock(shared.lock);
            const emu::Transport& t = shared.transport;
            type = t.type();
            playing = t.playing();
            const int64_t index = t.indexAt(now);
            frame = t.frameOfIndex(index);
            if (playing) {
                due = t.dueOf(index);
                next = t.dueOf(index + 1);
                Stats& s = shared.stats;
                if (shared.generation == lastGeneration && index == lastIndex)
                    ++s.doubled;
                else if (shared.generation == lastGeneration && index > lastIndex + 1)
                    s.dropped += index - lastIndex - 1;
                ++s.shown;
                s.worstLateNs = std::max<int64_t>(s.worstLateNs, std::chrono::duration_cast<std::chrono::nanoseconds>(now - due).count());
                lastIndex = index;
            } else {
                next = now + std::chrono::nanoseconds(emu::frameRateOf(type).periodTicks * 100000 / 3);
            }
            lastGeneration = shared.generation;
        }
        emu::OutputFrame composed = emu::composeFrame(shared.unit->outputState(), type, frame, emu::ticksOfClock(due));
        if ((!drawn || !(composed == last)) && !shared.waiting) {
            QImage image = renderer.render(composed);
            image.setText(QStringLiteral("timecode"), QString::fromStdString(composed.timecode));
            shared.waiting = true;
            if (!context.callParent("threadNeedsDisplay", image))
                shared.waiting = false;
            last = std::move(composed);
            drawn = true;
        }
        std::this_thread::sleep_until(next);
    }
}
