#include "widgets/FieldStepper.h"

#include "widgets/Stepper.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>

FieldStepper::FieldStepper(const QString& textName, const QString& stepperName, qint64 minimum, qint64 maximum, Rule rule,
                           const QString& unit, QWidget* parent)
    : QWidget(parent)
    , rule_(std::move(rule))
    , text_(new QLineEdit(this))
    , stepper_(new Stepper(stepperName, minimum, maximum, 1, this))
{
    text_->setObjectName(textName);
    text_->setMaximumWidth(80);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(text_);
    row->addWidget(stepper_);
    if (!unit.isEmpty())
        row->addWidget(new QLabel(unit, this));
    row->addStretch(1);
    showStepperQuietly();
    connect(text_, &QLineEdit::editingFinished, this, &FieldStepper::typed);
    connect(stepper_, &Stepper::valueChanged, this, &FieldStepper::stepped);
}

qint64 FieldStepper::value() const
{
    return reported_ ? *reported_ : stepper_->value();
}

void FieldStepper::setQuietly(qint64 value)
{
    const QSignalBlocker blockText(text_), blockStepper(stepper_);
    show(rule_.show(value));
    stepper_->setValue(value);
    reported_ = value;
}

void FieldStepper::showStepperQuietly()
{
    const QSignalBlocker block(text_);
    show(rule_.show(stepper_->value()));
}

void FieldStepper::clearQuietly()
{
    const QSignalBlocker block(text_);
    text_->setPlaceholderText(QStringLiteral("\u2013"));
    show(QString());
}

void FieldStepper::show(const QString& text)
{
    text_->setText(text);
    shown_ = text;
}

void FieldStepper::typed()
{
    // Leaving a field the page (or a report) filled in sends nothing: only
    // what the operator typed does.
    if (text_->text() == shown_)
        return;
    qint64 value = rule_.read(text_->text());
    shown_ = text_->text();
    if (rule_.rewriteAboveMaximum && value > stepper_->maximum()) {
        value = stepper_->maximum();
        const QSignalBlocker block(text_);
        show(rule_.show(value));
    }
    entered_ = value;
    reported_.reset();
    {
        const QSignalBlocker block(stepper_);
        stepper_->setValue(value);
    }
    emit edited();
}

void FieldStepper::stepped()
{
    entered_ = stepper_->value();
    reported_.reset();
    showStepperQuietly();
    emit edited();
}
