#pragma once
// The streamer page: the streamer's geometry, transparency, duration and
// delay, the colours of the four streamers and the end bar, and the trigger
// buttons; kept in step with the unit through the "C" command and report.
// The view itself shows the preview its worker draws.
#include "cues/CueCodecs.h"
#include "cues/PreviewView.h"

#include <memory>

class ColorWell;
class ComThread;
class DrawStreamerThread;
class QLineEdit;
class QPushButton;
class QSlider;
class Stepper;

class MonitorView : public PreviewView {
    Q_OBJECT
public:
    explicit MonitorView(QWidget* parent = nullptr);
    ~MonitorView() override;

    // The page's controls, laid out beside the preview by the window.
    QWidget* controls() const { return controls_; }

    void awakeFromNib();
    void setComThread(ComThread* link) { comThread_ = link; }
    ComThread* comThread() const { return comThread_; }
    // Applies one "C" report line.
    void fromString(const QString& line);
    // The streamer duration in seconds, as its text field shows it.
    double offset() const;
    QLineEdit* textStreamerDuration() const { return textStreamerDuration_; }

    // The worker's debounced transmit.
    Q_INVOKABLE void threadNeedsTx();
    void setDraw(int request);
    void streamerTx();
    void windowClosing();
    DrawStreamerThread* thread() const { return thread_.get(); }

    void onsliderStreamerWidthChanged() { setDraw(1); }
    void onsliderStreamerTopChanged() { setDraw(1); }
    void onsliderStreamerBottomChanged() { setDraw(1); }
    void onsliderStreamerTransparencyChanged() { setDraw(1); }
    void onTextStreamerDurationChanged();
    void onTextStreamerDelayChanged();
    void onStepperStreamerDurationChanged();
    void onStepperStreamerDelayChanged();
    void onColorStreamer0Changed();
    void onColorStreamer1Changed();
    void onColorStreamer2Changed();
    void onColorStreamer3Changed();
    void onColorEndBarChanged();
    void onButtonStreamer0() { trigger(0x7C); }
    void onButtonStreamer1() { trigger(0x7D); }
    void onButtonStreamer2() { trigger(0x7E); }
    void onButtonStreamer3() { trigger(0x7F); }
    void onButtonAccum() { trigger(0x77); }

    QColor streamerColor = Qt::white;
    QColor endBarColor = Qt::white;
    QColor backColor = Qt::black;

private:
    void buildControls();
    void trigger(int note);
    rz48::cues::StreamerSettings settingsFromControls() const;

    QWidget* controls_ = nullptr;
    std::unique_ptr<DrawStreamerThread> thread_;
    ComThread* comThread_ = nullptr;
    uint32_t reportScratch_ = 0; // the last field read from a "C" report

    QSlider* sliderStreamerWidth = nullptr;
    QSlider* sliderStreamerTop = nullptr;
    QSlider* sliderStreamerBottom = nullptr;
    QSlider* sliderStreamerTransparency = nullptr;
    Stepper* stepperStreamerDuration = nullptr;
    Stepper* stepperStreamerDelay = nullptr;
    QLineEdit* textStreamerDuration_ = nullptr;
    QLineEdit* textStreamerDelay = nullptr;
    std::array<ColorWell*, 4> colorWellStreamer {};
    ColorWell* colorWellEndBar = nullptr;
};
