#include "output/TimecodeInput.h"

#include <QSocketNotifier>
#include <QTimer>

#ifdef RZ48_HAVE_ALSA
#include <alsa/asoundlib.h>
#include <poll.h>
#endif

using Clock = rz48::emu::MtcDecoder::Clock;

TimecodeInput::TimecodeInput(Source source, QObject* parent)
    : QObject(parent)
    , source_(source)
    , dropout_(new QTimer(this))
{
    dropout_->setInterval(50);
    connect(dropout_, &QTimer::timeout, this, [this] {
        const auto now = Clock::now();
        report(source_ == Source::Mtc ? mtc_.checkDropout(now) : ltc_.checkDropout(now));
    });
}

TimecodeInput::~TimecodeInput()
{
    close();
}

bool TimecodeInput::open(QString* why)
{
    if (device_)
        return true;
#ifdef RZ48_HAVE_ALSA
    return source_ == Source::Mtc ? openSequencer(why) : openCapture(why);
#else
    if (why)
        *why = source_ == Source::Mtc ? tr("This program was built without the ALSA sequencer: MIDI Time Code cannot be chased.")
                                      : tr("This program was built without ALSA: LTC cannot be chased.");
    return false;
#endif
}

void TimecodeInput::close()
{
    for (QSocketNotifier* n : notifiers_)
        delete n;
    notifiers_.clear();
    dropout_->stop();
    device_.reset();
}

void TimecodeInput::watch(std::shared_ptr<void> device, const std::vector<int>& descriptors)
{
    device_ = std::move(device);
    for (int fd : descriptors) {
        auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [this] {
            if (source_ == Source::Mtc)
                readSequencer();
            else
                readCapture();
        });
        notifiers_.push_back(notifier);
    }
    dropout_->start();
}

void TimecodeInput::pauseReading()
{
    for (QSocketNotifier* n : notifiers_)
        n->setEnabled(false);
    QTimer::singleShot(20, this, [this] {
        for (QSocketNotifier* n : notifiers_)
            n->setEnabled(true);
    });
}

std::optional<TimecodeInput::Position> TimecodeInput::position() const
{
    return source_ == Source::Mtc ? mtc_.position() : ltc_.position();
}

void TimecodeInput::report(bool changed)
{
    if (changed && handler_ && position())
        handler_(*position());
}

#ifdef RZ48_HAVE_ALSA

namespace {

std::vector<int> descriptorsOf(const std::vector<pollfd>& fds)
{
    std::vector<int> descriptors;
    for (const pollfd& fd : fds)
        descriptors.push_back(fd.fd);
    return descriptors;
}

// False, with `text` and ALSA's words for `err` (in place of %1) as why.
bool refused(QString* why, const QString& text, int err)
{
    if (why)
        *why = text.arg(QString::fromLocal8Bit(snd_strerror(err)));
    return false;
}

} // namespace

bool TimecodeInput::openSequencer(QString* why)
{
    snd_seq_t* handle = nullptr;
    if (const int err = snd_seq_open(&handle, "default", SND_SEQ_OPEN_INPUT, SND_SEQ_NONBLOCK); err < 0)
        return refused(why, tr("No MIDI sequencer on this machine (%1): MIDI Time Code cannot be chased."), err);
    std::shared_ptr<void> seq(handle, [](void* h) { snd_seq_close(static_cast<snd_seq_t*>(h)); });
    snd_seq_set_client_name(handle, "RZ48 panel");
    const int port = snd_seq_create_simple_port(handle, "RZ48 MTC in", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                                SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    if (port < 0)
        return refused(why, tr("The MIDI sequencer refused a port (%1)."), port);
    std::vector<pollfd> fds(size_t(std::max(snd_seq_poll_descriptors_count(handle, POLLIN), 0)));
    snd_seq_poll_descriptors(handle, fds.data(), unsigned(fds.size()), POLLIN);
    watch(std::move(seq), descriptorsOf(fds));
    return true;
}

bool TimecodeInput::openCapture(QString* why)
{
    snd_pcm_t* pcm = nullptr;
    if (const int err = snd_pcm_open(&pcm, "default", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK); err < 0)
        return refused(why, tr("No sound input on this machine (%1): LTC cannot be chased."), err);
    std::shared_ptr<void> capture(pcm, [](void* p) { snd_pcm_close(static_cast<snd_pcm_t*>(p)); });
    // 16-bit mono at 48 kHz, a tenth of a second of buffer.
    if (const int err = snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 1, kRate, 1, 100000); err < 0)
        return refused(why, tr("The sound input cannot record 48 kHz mono (%1): LTC cannot be chased."), err);
    snd_pcm_start(pcm);
    guard_.deviceWaited(RealTimeGuard::Clock::now());
    std::vector<pollfd> fds(size_t(std::max(snd_pcm_poll_descriptors_count(pcm), 0)));
    snd_pcm_poll_descriptors(pcm, fds.data(), unsigned(fds.size()));
    watch(std::move(capture), descriptorsOf(fds));
    return true;
}

void TimecodeInput::readSequencer()
{
    auto* handle = static_cast<snd_seq_t*>(device_.get());
    if (!handle)
        return;
    snd_seq_event_t* event = nullptr;
    while (snd_seq_event_input(handle, &event) >= 0 && event) {
        bool changed = false;
        const Clock::time_point now = Clock::now();
        if (event->type == SND_SEQ_EVENT_QFRAME) {
            const uint8_t bytes[2] = {0xF1, uint8_t(event->data.control.value & 0x7F)};
            changed = mtc_.feed(bytes, 2, now);
        } else if (event->type == SND_SEQ_EVENT_SYSEX && event->data.ext.ptr) {
            changed = mtc_.feed(static_cast<const uint8_t*>(event->data.ext.ptr), event->data.ext.len, now);
        }
        report(changed);
        event = nullptr;
    }
}

void TimecodeInput::readCapture()
{
    auto* pcm = static_cast<snd_pcm_t*>(device_.get());
    if (!pcm)
        return;
    int16_t buffer[1024];
    bool changed = false;
    const auto now = RealTimeGuard::Clock::now();
    for (int64_t allowed = guard_.allowance(now);;) {
        if (allowed <= 0) {
            // A device without a clock of its own has more at once than real
            // time gives: the rest is read a moment later.
            pauseReading();
            break;
        }
        const snd_pcm_sframes_t n = snd_pcm_readi(pcm, buffer, snd_pcm_uframes_t(std::min<int64_t>(allowed, 1024)));
        if (n == -EAGAIN || n == 0) {
            guard_.deviceWaited(now);
            break;
        }
        if (n < 0) {
            // An overrun (the window was busy): recovered, and the reading goes on.
            if (snd_pcm_recover(pcm, int(n), 1) < 0)
                break;
            snd_pcm_start(pcm);
            continue;
        }
        changed = ltc_.feed(buffer, size_t(n), Clock::now()) || changed;
        guard_.passed(n);
        allowed -= n;
    }
    report(changed);
}

#else

bool TimecodeInput::openSequencer(QString*) { return false; }
bool TimecodeInput::openCapture(QString*) { return false; }
void TimecodeInput::readSequencer() {}
void TimecodeInput::readCapture() {}

#endif
