#pragma once
// MIDI Time Code from the ALSA sequencer: a port named "RZ48 MTC in" that a
// DAW on the same machine connects to. Quarter frames and full-frame
// messages go through an MtcDecoder; every change of position is reported.
// Where the machine has no sequencer (or the program was built without
// ALSA), open() says why and nothing else is affected.
#include "emulator/MtcDecoder.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QSocketNotifier;
class QTimer;

class MtcInput : public QObject {
    Q_OBJECT
public:
    explicit MtcInput(QObject* parent = nullptr);
    ~MtcInput() override;

    // Opens the sequencer port; false with the reason when it cannot.
    bool open(QString* why);
    void close();
    // Called with each new position (and when the source stops).
    void onPosition(std::function<void(const rz48::emu::MtcDecoder::Position&)> handler) { handler_ = std::move(handler); }

private:
    void readEvents();

    struct Sequencer;
    std::unique_ptr<Sequencer> seq_;
    std::vector<QSocketNotifier*> notifiers_;
    QTimer* dropout_ = nullptr;
    rz48::emu::MtcDecoder decoder_;
    std::function<void(const rz48::emu::MtcDecoder::Position&)> handler_;
};
