#include "widgets/ValueSlider.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>

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
    label_->setText((QString::number(this->value()) + QLatin1Char(' ') + unit_).trimmed());
}

void ValueSlider::sliderChange(SliderChange change)
{
    QSlider::sliderChange(change);
    if (change == SliderValueChange)
        label_->setText((QString::number(value()) + QLatin1Char(' ') + unit_).trimmed());
}
