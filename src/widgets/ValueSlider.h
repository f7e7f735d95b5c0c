#pragma once
// A horizontal slider that shows its value, with its unit, beside it, however
// the value was set (by the operator or, signals blocked, by a report).
#include <QSlider>

class QLabel;

class ValueSlider : public QSlider {
    Q_OBJECT
public:
    ValueSlider(const QString& objectName, int minimum, int maximum, int value, const QString& unit, QWidget* parent);
    // The slider with its value beside it, to lay out.
    QWidget* row() const { return row_; }
    QLabel* valueLabel() const { return label_; }

protected:
    void sliderChange(SliderChange change) override;
    // One step a notch of the wheel (the toolkit's own moves three).
    void wheelEvent(QWheelEvent* event) override;

private:
    QWidget* row_;
    QLabel* label_;
    QString unit_;
    int wheelAngle_ = 0; // what the wheel turned short of a notch
};
