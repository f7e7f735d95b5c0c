#pragma once
// The streamer page: the streamer's geometry, transparency, duration and
// delay, the colours of the four streamers and the end bar, and the trigger
// buttons; kept in step with the unit through the "C" command and report.
// The view itself shows the preview its worker draws.
#include "codecs/StreamerCodec.h"
#include "pages/CuePage.h"
#include "pages/DrawStreamerThread.h"

class ColorWell;
class FieldStepper;
class QLineEdit;
class ValueSlider;

class MonitorView : public CuePage {
    Q_OBJECT
public:
    explicit MonitorView(QWidget* parent = nullptr);

    void registerReports(ReportRouter& router) override;
    // Applies one "C" report line.
    void fromString(const QString& line);
    // The streamer duration in seconds, as its text field shows it.
    double offset() const;
    QLineEdit* textStreamerDuration() const;

    // The worker's debounced transmit.
    Q_INVOKABLE void threadNeedsTx();
    void streamerTx();
    DrawStreamerThread* thread() const { return static_cast<DrawStreamerThread*>(worker()); }
    const rz48::codecs::StreamerSettings& settings() const { return settings_; }

    void onColorStreamerChanged(int streamer);
    void onColorEndBarChanged();
    void onButtonStreamer(int streamer) { trigger(0x7C + streamer); }
    void onButtonAccum() { trigger(0x77); }

    QColor backColor = Qt::black;

signals:
    // A "C" report set the streamer duration, in seconds as the field shows it.
    void durationReported(double seconds);

protected:
    void reset() override;
    void updatePicture() override;

private:
    // Shows the settings, every control quietly.
    void showSettings();
    // A colour well can be set from code without a word (ColorWell::setColor):
    // its colour is taken into the settings before they go out or are drawn.
    void takeWellColors();

    // The page's state: what it sends and draws.
    rz48::codecs::StreamerSettings settings_;
    uint32_t reportScratch_ = 0; // the last field read from a "C" report

    ValueSlider* sliderStreamerWidth = nullptr;
    ValueSlider* sliderStreamerTop = nullptr;
    ValueSlider* sliderStreamerBottom = nullptr;
    ValueSlider* sliderStreamerTransparency = nullptr;
    FieldStepper* duration_ = nullptr;
    FieldStepper* delay_ = nullptr;
    std::array<ColorWell*, 4> colorWellStreamer {};
    ColorWell* colorWellEndBar = nullptr;
};
