#pragma once
// The timecode sources the Unit output can chase, from ALSA:
// - MIDI Time Code from the sequencer: a port named "RZ48 MTC in" that a DAW
//   on the same machine connects to; quarter frames and full-frame messages
//   go through an MtcDecoder;
// - LTC from the sound input (the default capture device, 48 kHz, the first
//   channel), read as it comes by an LtcStream.
// The device's descriptors are watched on the window's thread (no thread of
// their own), a source gone quiet is looked for every 50 ms, and each new
// position (and a stop) goes to the one handler. Where the machine has no
// such device (or the program was built without ALSA), open() says why and
// nothing else is affected.
#include "emulator/Ltc.h"
#include "emulator/MtcDecoder.h"
#include "output/RealTimeGuard.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QSocketNotifier;
class QTimer;

class TimecodeInput : public QObject {
    Q_OBJECT
public:
    enum class Source { Mtc, Ltc };
    using Position = rz48::emu::MtcDecoder::Position;

    explicit TimecodeInput(Source source, QObject* parent = nullptr);
    ~TimecodeInput() override;
    // Opens the device; false with the reason when it cannot.
    bool open(QString* why);
    void close();
    // Called with each new position (and when the source stops).
    void onPosition(std::function<void(const Position&)> handler) { handler_ = std::move(handler); }

private:
    bool openSequencer(QString* why);
    bool openCapture(QString* why);
    void readSequencer();
    void readCapture();
    // Reads whenever one of the descriptors has something, with dropouts looked for.
    void watch(std::shared_ptr<void> device, const std::vector<int>& descriptors);
    void report(bool changed);
    // The descriptors unwatched for a moment.
    void pauseReading();
    std::optional<Position> position() const;

    static constexpr int kRate = 48000;
    Source source_;
    std::shared_ptr<void> device_; // closed by its deleter
    std::vector<QSocketNotifier*> notifiers_;
    QTimer* dropout_ = nullptr;
    rz48::emu::MtcDecoder mtc_;
    rz48::emu::LtcStream ltc_ {kRate};
    RealTimeGuard guard_ {kRate, std::chrono::milliseconds(100)};
    std::function<void(const Position&)> handler_;
};
