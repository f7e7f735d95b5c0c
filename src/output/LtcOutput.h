#pragma once
// The transport's timecode sent as LTC to a sound card's output (ALSA's
// default playback device, 48 kHz mono), so that a DAW or the unit can
// follow the panel: a frame of LTC for every frame of the transport while
// it plays, silence while it stands. The sound card's own clock paces it
// (a device without one is held to real time), and the frames run on one
// after another from where the transport stood when it started to play.
// Where the machine has no sound output (or the program was built without
// ALSA), start() says why.
#include "common/Worker.h"

#include <QString>

#include <functional>

class LtcOutput {
public:
    // Where the transport stands: playing or not, its frame and its type.
    struct Position {
        bool playing = false;
        int64_t frame = 0;
        int type = 1;
    };

    explicit LtcOutput(std::function<Position()> transport);
    ~LtcOutput();

    // Opens the sound output and starts sending; false with why.
    bool start(QString* why);
    void stop();

private:
    std::function<Position()> transport_;
    rz48::Worker worker_ {"LTC output"};
};
