#pragma once
// Linear timecode from a sound card's input (ALSA's default capture device,
// 48 kHz, the first channel): every change of the position it says is
// reported, and a source that goes quiet is reported as stopped. Where the
// machine has no capture device (or the program was built without ALSA),
// open() says why and nothing else is affected.
#include "emulator/Ltc.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QSocketNotifier;
class QTimer;

class LtcInput : public QObject {
    Q_OBJECT
public:
    explicit LtcInput(QObject* parent = nullptr);
    ~LtcInput() override;

    // Opens the capture device; false with the reason when it cannot.
    bool open(QString* why);
    void close();
    // Called with each new position (and when the source stops).
    void onPosition(std::function<void(const rz48::emu::MtcDecoder::Position&)> handler) { handler_ = std::move(handler); }

private:
    void readSamples();

    struct Capture;
    std::unique_ptr<Capture> capture_;
    std::vector<QSocketNotifier*> notifiers_;
    QTimer* dropout_ = nullptr;
    rz48::emu::LtcStream stream_ {kRate};
    std::function<void(const rz48::emu::MtcDecoder::Position&)> handler_;
    static constexpr int kRate = 48000;
};
