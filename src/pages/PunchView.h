#pragma once
// The punch page: size and position of the punch (placed with the mouse in
// the preview), the colours and reverse flags of the four punches, duration,
// repeats and enables; kept in step with the unit through the "E" command and
// report. The view itself shows the preview its worker draws; its y axis
// points up, as the picture's does.
#include "codecs/PunchCodec.h"
#include "pages/CuePage.h"
#include "pages/DrawThread.h"

#include <QPointF>

class ColorWell;
class FieldStepper;
class QCheckBox;
class ValueSlider;

class PunchView : public CuePage {
    Q_OBJECT
public:
    explicit PunchView(QWidget* parent = nullptr);

    void registerReports(ReportRouter& router) override;
    void fromString(const QString& line);

    Q_INVOKABLE void threadNeedsTx();
    void punchTx();
    DrawThread* thread() const { return static_cast<DrawThread*>(worker()); }

    QPointF punchPoint() const { return {settings_.x, settings_.y}; }
    void setPunchPoint(const QPointF& p)
    {
        settings_.x = p.x();
        settings_.y = p.y();
    }
    const rz48::codecs::PunchSettings& settings() const { return settings_; }

    void onColorPunchChanged(int punch);
    void onButtonPunch(int punch) { trigger(0x78 + punch); }
    void onCheckBoxRev(int punch);

    QColor backColor = Qt::black;

protected:
    void reset() override;
    void updatePicture() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    // The view point as a picture point (y up).
    QPointF toPicture(const QPointF& viewPoint) const;
    // Shows the settings, every control quietly.
    void showSettings();

    // The page's state: what it sends and draws.
    rz48::codecs::PunchSettings settings_;

    ValueSlider* sliderPunchSize = nullptr;
    std::array<ColorWell*, 4> colorWellPunch {};
    std::array<QCheckBox*, 4> checkBoxRev {};
    FieldStepper* durationFrames = nullptr;
    FieldStepper* repeatCount = nullptr;
    FieldStepper* repeatSeconds = nullptr;
    // Punch enabled, beeps, black-cue-black, picture when stopped: bits 0 to 3.
    std::array<QCheckBox*, 4> enables_ {};
};
