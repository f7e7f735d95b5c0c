#include "widgets/ValueSlider.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QWheelEvent>

#include <algorithm>

ValueSlider::ValueSlider(const QString& objectName, int minimum, int maximum, int value, const QString& unit,
                         QWidget* parent)
    : QSlider(Qt::Horizontal)
    , row_(new QWidget(parent))
    , label_(new QLabel(row_))
    , unit_(unit)
{
    setObjectName(objectName);
    auto* layout = new QHBoxLayout(row_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(this, 1);
    layout->addWidget(label_);
    const QString widest = QString::number(maximum) + QLatin1Char(' ') + unit_;
    label_->setMinimumWidth(label_->fontMetrics().horizontalAdvance(widest));
    label_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    setRange(minimum, maximum);
    setValue(value);
    // Room to place a value by mouse, and steps the keys and the wheel can use:
    // one for the arrows and each notch of the wheel, a sixteenth of the range
    // for the page keys.
    setMinimumWidth(fontMetrics().averageCharWidth() * 24);
    setSingleStep(1);
    setPageStep(std::max(1, (maximum - minimum + 1) / 16));
    label_->setText((QString::number(this->value()) + QLatin1Char(' ') + unit_).trimmed());
}

void ValueSlider::sliderChange(SliderChange change)
{
    QSlider::sliderChange(change);
    if (change == SliderValueChange)
        label_->setText((QString::number(value()) + QLatin1Char(' ') + unit_).trimmed());
}

void ValueSlider::wheelEvent(QWheelEvent* event)
{
    const QPoint angle = event->angleDelta();
    wheelAngle_ += angle.y() != 0 ? angle.y() : angle.x();
    const int notches = wheelAngle_ / QWheelEvent::DefaultDeltasPerStep;
    wheelAngle_ -= notches * QWheelEvent::DefaultDeltasPerStep;
    if (notches != 0)
        setValue(value() + notches * singleStep());
    event->accept();
}
