#pragma once
// A text field and its stepper, kept in step. The stepper holds the value the
// page sends; the field shows it by the page's rule, and reads typed text
// back by the same page's rule. Typing (Return, or leaving the field) and
// stepping both end in `edited`, once the other side follows; a report sets
// both sides quietly.
#include "common/TextValue.h"

#include <QWidget>

#include <functional>
#include <optional>

class QLineEdit;
class Stepper;

// How a field shows its stepper's value and reads typed text back.
struct FieldRule {
    // The field's text for a stepper value.
    std::function<QString(qint64)> show = [](qint64 value) { return QString::number(value); };
    // The stepper value of typed text.
    std::function<qint64(const QString&)> read = &rz48::longValue;
    // A typed value above the maximum is written back into the field as the maximum.
    bool rewriteAboveMaximum = false;
};

class FieldStepper : public QWidget {
    Q_OBJECT
public:
    using Rule = FieldRule;

    // The field and the stepper carry the names given; `unit` is shown after them.
    FieldStepper(const QString& textName, const QString& stepperName, qint64 minimum, qint64 maximum, Rule rule = {},
                 const QString& unit = {}, QWidget* parent = nullptr);

    QLineEdit* text() const { return text_; }
    Stepper* stepper() const { return stepper_; }
    // What the page sends: the value a report set, as reported (even where
    // the stepper's range holds less), until the operator types or steps.
    qint64 value() const;
    // The value last typed (before the stepper's range applies) or stepped.
    qint64 entered() const { return entered_; }

    // On behalf of the unit: the field shows `value` as reported and the
    // stepper takes it (within its range); nothing is emitted.
    void setQuietly(qint64 value);
    // The field shows what the stepper holds; nothing is emitted.
    void showStepperQuietly();
    // Nothing known yet: the field is empty, with a dash as its placeholder.
    void clearQuietly();

signals:
    void edited();

private:
    void typed();
    void stepped();
    void show(const QString& text);

    Rule rule_;
    qint64 entered_ = 0;
    std::optional<qint64> reported_;
    QString shown_; // what the field says as the page last filled it in or read it
    QLineEdit* text_;
    Stepper* stepper_;
};
