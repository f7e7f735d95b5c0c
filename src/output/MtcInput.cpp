#include "output/MtcInput.h"

#ifdef RZ48_HAVE_ALSA
#include <alsa/asoundlib.h>
#include <poll.h>
#endif

using Clock = rz48::emu::MtcDecoder::Clock;

struct MtcInput::Sequencer {
#ifdef RZ48_HAVE_ALSA
    snd_seq_t* handle = nullptr;
    ~Sequencer()
    {
        if (handle)
            snd_seq_close(handle);
    }
#endif
};

MtcInput::MtcInput(QObject* parent)
    : TimecodeInput(parent)
{
}

MtcInput::~MtcInput()
{
    close();
}

bool MtcInput::open(QString* why)
{
    if (seq_)
        return true;
#ifdef RZ48_HAVE_ALSA
    auto seq = std::make_unique<Sequencer>();
    if (const int err = snd_seq_open(&seq->handle, "default", SND_SEQ_OPEN_INPUT, SND_SEQ_NONBLOCK); err < 0) {
        seq->handle = nullptr;
        if (why)
            *why = tr("No MIDI sequencer on this machine (%1): MIDI Time Code cannot be chased.").arg(QString::fromLocal8Bit(snd_strerror(err)));
        return false;
    }
    snd_seq_set_client_name(seq->handle, "RZ48 panel");
    const int port = snd_seq_create_simple_port(seq->handle, "RZ48 MTC in", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                                SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    if (port < 0) {
        if (why)
            *why = tr("The MIDI sequencer refused a port (%1).").arg(QString::fromLocal8Bit(snd_strerror(port)));
        return false;
    }
    const int count = snd_seq_poll_descriptors_count(seq->handle, POLLIN);
    std::vector<pollfd> fds(size_t(std::max(count, 0)));
    snd_seq_poll_descriptors(seq->handle, fds.data(), unsigned(fds.size()), POLLIN);
    seq_ = std::move(seq);
    std::vector<int> descriptors;
    for (const pollfd& fd : fds)
        descriptors.push_back(fd.fd);
    watch(descriptors);
    return true;
#else
    if (why)
        *why = tr("This program was built without the ALSA sequencer: MIDI Time Code cannot be chased.");
    return false;
#endif
}

void MtcInput::close()
{
    TimecodeInput::close();
    seq_.reset();
}

void MtcInput::readInput()
{
#ifdef RZ48_HAVE_ALSA
    if (!seq_)
        return;
    snd_seq_event_t* event = nullptr;
    while (snd_seq_event_input(seq_->handle, &event) >= 0 && event) {
        bool changed = false;
        const Clock::time_point now = Clock::now();
        if (event->type == SND_SEQ_EVENT_QFRAME) {
            const uint8_t bytes[2] = {0xF1, uint8_t(event->data.control.value & 0x7F)};
            changed = decoder_.feed(bytes, 2, now);
        } else if (event->type == SND_SEQ_EVENT_SYSEX && event->data.ext.ptr) {
            changed = decoder_.feed(static_cast<const uint8_t*>(event->data.ext.ptr), event->data.ext.len, now);
        }
        report(changed, decoder_.position());
        event = nullptr;
    }
#endif
}
