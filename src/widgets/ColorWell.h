#pragma once
// A colour well offering the panel's eight named colours. Choosing one is the
// user's action and is reported by colorChosen; setting the colour from code
// (a report from the unit) reports nothing.
#include <QColor>
#include <QToolButton>

class ColorWell : public QToolButton {
    Q_OBJECT
public:
    explicit ColorWell(const QString& objectName, QWidget* parent = nullptr);

    QColor color() const { return color_; }
    void setColor(const QColor& color);
    // The user picked entry `index` of the colour list.
    void chooseNamedColor(int index);

signals:
    void colorChosen(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor color_ = Qt::white;
};
