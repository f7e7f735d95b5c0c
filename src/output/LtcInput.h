#pragma once
// Linear timecode from a sound card's input (ALSA's default capture device,
// 48 kHz, the first channel): every change of the position it says is
// reported, and a source that goes quiet is reported as stopped. Where the
// machine has no capture device (or the program was built without ALSA),
// open() says why and nothing else is affected.
#include "emulator/Ltc.h"
#include "output/TimecodeInput.h"

#include <memory>

class LtcInput : public TimecodeInput {
    Q_OBJECT
public:
    explicit LtcInput(QObject* parent = nullptr);
    ~LtcInput() override;

    // Opens the capture device; false with the reason when it cannot.
    bool open(QString* why) override;
    void close() override;

private:
    void readInput() override;
    bool droppedOut() override { return stream_.checkDropout(rz48::emu::LtcStream::Clock::now()); }
    std::optional<Position> position() const override { return stream_.position(); }

    static constexpr int kRate = 48000;
    struct Capture;
    std::unique_ptr<Capture> capture_;
    rz48::emu::LtcStream stream_ {kRate};
};
