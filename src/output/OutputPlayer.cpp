#include "output/OutputPlayer.h"

#include "emulator/OutputRenderer.h"

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

void OutputPlayer::run(Shared& shared, rz48::WorkerContext& context)
{
    rz48::emu::OutputRenderer renderer;
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
        {
            std::lock_guard lock(shared.lock);
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
        rz48::emu::OutputFrame composed = rz48::emu::composeFrame(state, type, frame, rz48::emu::ticksOfClock(due));
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
