#pragma once
// MIDI Time Code from the ALSA sequencer: a port named "RZ48 MTC in" that a
// DAW on the same machine connects to. Quarter frames and full-frame
// messages go through an MtcDecoder; every change of position is reported.
// Where the machine has no sequencer (or the program was built without
// ALSA), open() says why and nothing else is affected.
#include "output/TimecodeInput.h"

#include <memory>

class MtcInput : public TimecodeInput {
    Q_OBJECT
public:
    explicit MtcInput(QObject* parent = nullptr);
    ~MtcInput() override;

    // Opens the sequencer port; false with the reason when it cannot.
    bool open(QString* why) override;
    void close() override;

private:
    void readInput() override;
    bool droppedOut() override { return decoder_.checkDropout(rz48::emu::MtcDecoder::Clock::now()); }
    std::optional<Position> position() const override { return decoder_.position(); }

    struct Sequencer;
    std::unique_ptr<Sequencer> seq_;
    rz48::emu::MtcDecoder decoder_;
};
