#pragma once
// An up/down stepper holding an integer (64 bits, so that any 32-bit field of
// the unit, signed or not, fits its range), beside the text field that shows
// it. Arrow buttons (with auto-repeat), the mouse wheel and the Up/Down keys
// change it by the increment within its range; valueChanged is emitted on
// every change, so code that sets it on behalf of the unit blocks signals.
#include <QWidget>

class QToolButton;

class Stepper : public QWidget {
    Q_OBJECT
public:
    explicit Stepper(const QString& objectName, qint64 minimum, qint64 maximum, int increment = 1,
                     QWidget* parent = nullptr);

    qint64 value() const { return value_; }
    qint64 minimum() const { return minimum_; }
    qint64 maximum() const { return maximum_; }
    void setValue(qint64 value);
    void stepBy(int steps);

    QToolButton* upButton() const { return up_; }
    QToolButton* downButton() const { return down_; }

signals:
    void valueChanged(qint64 value);

protected:
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    qint64 value_;
    qint64 minimum_;
    qint64 maximum_;
    int increment_;
    QToolButton* up_;
    QToolButton* down_;
};
