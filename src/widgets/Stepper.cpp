#include "widgets/Stepper.h"

#include <QKeyEvent>
#include <algorithm>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace {

// An arrow of the pair: half a line of text tall, whatever the scale; the
// style's own minimum (made for a full button) does not apply.
class ArrowButton : public QToolButton {
public:
    ArrowButton(Qt::ArrowType arrow, QWidget* parent)
        : QToolButton(parent)
    {
        setArrowType(arrow);
        setFixedSize(sizeHint());
    }
    QSize sizeHint() const override
    {
        const int h = std::max(11, (fontMetrics().height() + 6) / 2);
        return {h * 18 / 11, h};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace

Stepper::Stepper(const QString& objectName, qint64 minimum, qint64 maximum, int increment, QWidget* parent)
    : QWidget(parent)
    , value_(minimum)
    , minimum_(minimum)
    , maximum_(maximum)
    , increment_(increment)
{
    setObjectName(objectName);
    setFocusPolicy(Qt::WheelFocus);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    up_ = new ArrowButton(Qt::UpArrow, this);
    down_ = new ArrowButton(Qt::DownArrow, this);
    for (QToolButton* b : {up_, down_}) {
        b->setAutoRepeat(true);
        b->setFocusPolicy(Qt::NoFocus);
        layout->addWidget(b);
    }
    up_->setObjectName(objectName + QStringLiteral("Up"));
    down_->setObjectName(objectName + QStringLiteral("Down"));
    connect(up_, &QToolButton::clicked, this, [this] { stepBy(1); });
    connect(down_, &QToolButton::clicked, this, [this] { stepBy(-1); });
}

void Stepper::setValue(qint64 value)
{
    value = qBound(minimum_, value, maximum_);
    if (value == value_)
        return;
    value_ = value;
    emit valueChanged(value_);
}

void Stepper::stepBy(int steps)
{
    // The ranges stay far inside 64 bits: no step overflows.
    setValue(value_ + qint64(steps) * increment_);
}

void Stepper::wheelEvent(QWheelEvent* event)
{
    const int delta = event->angleDelta().y();
    if (delta != 0)
        stepBy(delta > 0 ? 1 : -1);
    event->accept();
}

void Stepper::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Up)
        stepBy(1);
    else if (event->key() == Qt::Key_Down)
        stepBy(-1);
    else
        QWidget::keyPressEvent(event);
}
