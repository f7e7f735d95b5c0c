#pragma once
// An up/down stepper holding an integer, beside the text field that shows
// it. Arrow buttons (with auto-repeat), the mouse wheel and the Up/Down keys
// change it by the increment within its range; valueChanged is emitted on
// every change, so code that sets it on behalf of the unit blocks signals.
#include <QWidget>

class QToolButton;

class Stepper : public QWidget {
    Q_OBJECT
public:
    explicit Stepper(const QString& objectName, int minimum, int maximum, int increment = 1,
                     QWidget* parent = nullptr);

    int value() const { return value_; }
    int minimum() const { return minimum_; }
    int maximum() const { return maximum_; }
    void setValue(int value);
    void stepBy(int steps);

    QToolButton* upButton() const { return up_; }
    QToolButton* downButton() const { return down_; }

signals:
    void valueChanged(int value);

protected:
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int value_;
    int minimum_;
    int maximum_;
    int increment_;
    QToolButton* up_;
    QToolButton* down_;
};
