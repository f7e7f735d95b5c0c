#pragma once
// The punch page: size and position of the punch (placed with the mouse in
// the preview), the colours and reverse flags of the four punches, duration,
// repeats and enables; kept in step with the unit through the "E" command and
// report. The view itself shows the preview its worker draws; its y axis
// points up, as the picture's does.
#include "cues/CueCodecs.h"
#include "cues/PreviewView.h"

#include <QPointF>

#include <memory>

class ColorWell;
class ComThread;
class DrawThread;
class QCheckBox;
class QLineEdit;
class QSlider;
class Stepper;

class PunchView : public PreviewView {
    Q_OBJECT
public:
    explicit PunchView(QWidget* parent = nullptr);
    ~PunchView() override;

    QWidget* controls() const { return controls_; }

    void awakeFromNib();
    void setComThread(ComThread* link) { comThread_ = link; }
    ComThread* comThread() const { return comThread_; }
    void fromString(const QString& line);

    Q_INVOKABLE void threadNeedsTx();
    void setDraw(int request);
    void punchTx();
    void windowClosing();
    DrawThread* thread() const { return thread_.get(); }

    QPointF punchPoint() const { return punchPoint_; }
    void setPunchPoint(const QPointF& p) { punchPoint_ = p; }

    void onSliderPunchSizeChanged() { setDraw(1); }
    void onColorPunch0Changed();
    void onColorPunch1Changed() { punchTx(); trigger(0x79); }
    void onColorPunch2Changed() { punchTx(); trigger(0x7A); }
    void onColorPunch3Changed() { punchTx(); trigger(0x7B); }
    void onButtonPunch0() { trigger(0x78); }
    void onButtonPunch1() { trigger(0x79); }
    void onButtonPunch2() { trigger(0x7A); }
    void onButtonPunch3() { trigger(0x7B); }
    void onCheckBoxRev0();
    void onCheckBoxRev1() { punchTx(); }
    void onCheckBoxRev2() { punchTx(); }
    void onCheckBoxRev3() { punchTx(); }
    void onStepperDurationFramesChanged();
    void onStepperRepeatCountChanged();
    void onStepperRepeatSecondsChanged();
    void onTextDurationFramesChanged();
    void onTextRepeatCountChanged();
    void onTextRepeatSecondsChanged();
    void onCheckBoxPunchEnable() { punchTx(); }
    void onCheckBoxBeepsEnable() { punchTx(); }
    void onCheckBoxBlackCueBlack() { punchTx(); }
    void onCheckBoxPictureWhenStopped() { punchTx(); }

    QColor backColor = Qt::black;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void buildControls();
    void trigger(int note);
    // The view point as a picture point (y up).
    QPointF toPicture(const QPointF& viewPoint) const;
    rz48::cues::PunchSettings settingsFromControls() const;

    QWidget* controls_ = nullptr;
    std::unique_ptr<DrawThread> thread_;
    ComThread* comThread_ = nullptr;
    QPointF punchPoint_ {960.0, 540.0};

    QSlider* sliderPunchSize = nullptr;
    std::array<ColorWell*, 4> colorWellPunch {};
    std::array<QCheckBox*, 4> checkBoxRev {};
    Stepper* durationFrames = nullptr;
    Stepper* repeatCount = nullptr;
    Stepper* repeatSeconds = nullptr;
    QLineEdit* textDurationFrames = nullptr;
    QLineEdit* textRepeatCount = nullptr;
    QLineEdit* textRepeatSeconds = nullptr;
    QCheckBox* checkBoxPunchEnable = nullptr;
    QCheckBox* checkBoxBeepsEnable = nullptr;
    QCheckBox* checkBoxBlackCueBlack = nullptr;
    QCheckBox* checkBoxPictureWhenStopped = nullptr;
};
