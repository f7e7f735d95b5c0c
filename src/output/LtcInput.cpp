#include "output/LtcInput.h"

#ifdef RZ48_HAVE_ALSA
#include <alsa/asoundlib.h>
#include <poll.h>
#endif

using Clock = rz48::emu::LtcStream::Clock;

struct LtcInput::Capture {
#ifdef RZ48_HAVE_ALSA
    snd_pcm_t* pcm = nullptr;
    ~Capture()
    {
        if (pcm)
            snd_pcm_close(pcm);
    }
#endif
};

LtcInput::LtcInput(QObject* parent)
    : TimecodeInput(parent)
{
}

LtcInput::~LtcInput()
{
    close();
}

bool LtcInput::open(QString* why)
{
    if (capture_)
        return true;
#ifdef RZ48_HAVE_ALSA
    auto capture = std::make_unique<Capture>();
    if (const int err = snd_pcm_open(&capture->pcm, "default", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK); err < 0) {
        capture->pcm = nullptr;
        if (why)
            *why = tr("No sound input on this machine (%1): LTC cannot be chased.").arg(QString::fromLocal8Bit(snd_strerror(err)));
        return false;
    }
    // 16-bit mono at 48 kHz, a tenth of a second of buffer.
    if (const int err = snd_pcm_set_params(capture->pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 1, kRate, 1, 100000);
        err < 0) {
        if (why)
            *why = tr("The sound input cannot record 48 kHz mono (%1): LTC cannot be chased.").arg(QString::fromLocal8Bit(snd_strerror(err)));
        return false;
    }
    snd_pcm_start(capture->pcm);
    const int count = snd_pcm_poll_descriptors_count(capture->pcm);
    std::vector<pollfd> fds(size_t(std::max(count, 0)));
    snd_pcm_poll_descriptors(capture->pcm, fds.data(), unsigned(fds.size()));
    capture_ = std::move(capture);
    std::vector<int> descriptors;
    for (const pollfd& fd : fds)
        descriptors.push_back(fd.fd);
    watch(descriptors);
    return true;
#else
    if (why)
        *why = tr("This program was built without ALSA: LTC cannot be chased.");
    return false;
#endif
}

void LtcInput::close()
{
    TimecodeInput::close();
    capture_.reset();
}

void LtcInput::readInput()
{
#ifdef RZ48_HAVE_ALSA
    if (!capture_)
        return;
    int16_t buffer[1024];
    bool changed = false;
    for (;;) {
        const snd_pcm_sframes_t n = snd_pcm_readi(capture_->pcm, buffer, sizeof buffer / sizeof buffer[0]);
        if (n == -EAGAIN || n == 0)
            break;
        if (n < 0) {
            // An overrun (the window was busy): recovered, and the reading goes on.
            if (snd_pcm_recover(capture_->pcm, int(n), 1) < 0)
                break;
            snd_pcm_start(capture_->pcm);
            continue;
        }
        changed = stream_.feed(buffer, size_t(n), Clock::now()) || changed;
    }
    report(changed, stream_.position());
#endif
}
