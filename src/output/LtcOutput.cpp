#include "output/LtcOutput.h"

#include "output/RealTimeGuard.h"

#include "emulator/Ltc.h"
#include "emulator/UnitTimecode.h"

#include <QObject>

#ifdef RZ48_HAVE_ALSA
#include <alsa/asoundlib.h>
#endif

#include <memory>
#include <thread>

namespace {

constexpr int kRate = 48000;
// Frames the LTC may be ahead of (or behind) the transport and go on.
constexpr int64_t kMostAhead = 8;

#ifdef RZ48_HAVE_ALSA
struct PcmClose {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
#endif

} // namespace

LtcOutput::LtcOutput(std::function<Position()> transport)
    : transport_(std::move(transport))
{
}

LtcOutput::~LtcOutput()
{
    stop();
}

bool LtcOutput::start(QString* why)
{
    if (worker_.isRunning())
        return true;
#ifdef RZ48_HAVE_ALSA
    snd_pcm_t* opened = nullptr;
    if (const int err = snd_pcm_open(&opened, "default", SND_PCM_STREAM_PLAYBACK, 0); err < 0) {
        *why = QObject::tr("No sound output on this machine (%1): LTC cannot be sent.").arg(QString::fromLocal8Bit(snd_strerror(err)));
        return false;
    }
    std::shared_ptr<snd_pcm_t> pcm(opened, PcmClose());
    // A tenth of a second of buffer: the LTC leaves the panel that much after its frame.
    if (const int err = snd_pcm_set_params(pcm.get(), SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 1, kRate, 1, 100000); err < 0) {
        *why = QObject::tr("The sound output cannot play 48 kHz mono (%1): LTC cannot be sent.").arg(QString::fromLocal8Bit(snd_strerror(err)));
        return false;
    }
    std::function<Position()> transport = transport_;
    worker_.start(nullptr, [pcm, transport](rz48::WorkerContext& context) {
        rz48::emu::LtcWriter writer(kRate);
        RealTimeGuard guard(kRate, std::chrono::milliseconds(200));
        int64_t next = -1; // the frame the LTC goes on with (-1: from the transport's)
        int nextType = -1;
        while (!context.aborting()) {
            const Position at = transport();
            std::vector<int16_t> samples;
            if (at.playing) {
                // Frame after frame while the transport runs on (what is
                // written ahead goes out that much later), a frame skipped or
                // said again where the two clocks part; from the transport's
                // frame again after a locate or a change of rate.
                const int64_t day = rz48::emu::framesPerDay(at.type);
                int64_t frame = at.frame;
                if (next >= 0 && nextType == at.type) {
                    int64_t lead = ((next - at.frame) % day + day) % day;
                    if (lead > day / 2)
                        lead -= day;
                    if (lead < 0 && lead >= -kMostAhead)
                        frame = next + 1;
                    else if (lead > kMostAhead && lead <= 2 * kMostAhead)
                        frame = next - 1;
                    else if (lead >= 0 && lead <= kMostAhead)
                        frame = next;
                    frame = (frame % day + day) % day;
                }
                samples = writer.frame(frame, at.type);
                next = (frame + 1) % day;
                nextType = at.type;
            } else {
                next = -1;
                const rz48::emu::FrameRate rate = rz48::emu::frameRateOf(at.type);
                samples.assign(size_t(kRate * rate.periodTicks / rz48::emu::kTicksPerSecond), 0);
            }
            // The write waits for room: the sound card's clock paces the
            // frames; a device without one is held to the monotonic clock.
            std::this_thread::sleep_until(guard.dueFor(int64_t(samples.size())));
            for (size_t done = 0; done < samples.size() && !context.aborting();) {
                const auto before = RealTimeGuard::Clock::now();
                const snd_pcm_sframes_t n = snd_pcm_writei(pcm.get(), samples.data() + done, samples.size() - done);
                if (n < 0) {
                    if (snd_pcm_recover(pcm.get(), int(n), 1) < 0)
                        return;
                    continue;
                }
                if (const auto after = RealTimeGuard::Clock::now(); after - before > std::chrono::milliseconds(2))
                    guard.deviceWaited(after);
                guard.passed(n);
                done += size_t(n);
            }
        }
        snd_pcm_drop(pcm.get());
    });
    return true;
#else
    *why = QObject::tr("This program was built without ALSA: LTC cannot be sent.");
    return false;
#endif
}

void LtcOutput::stop()
{
    worker_.stop();
}
