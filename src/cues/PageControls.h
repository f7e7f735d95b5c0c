#pragma once
// Small helpers the pages use to build their controls and read them.
#include "cues/CueCodecs.h"

#include <QColor>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSlider>

namespace rz48::pages {

inline QSlider* slider(const char* name, int minimum, int maximum, int value, QWidget* parent)
{
    auto* s = new QSlider(Qt::Horizontal, parent);
    s->setObjectName(QLatin1String(name));
    s->setRange(minimum, maximum);
    s->setValue(value);
    return s;
}

inline QLineEdit* textField(const char* name, QWidget* parent)
{
    auto* t = new QLineEdit(parent);
    t->setObjectName(QLatin1String(name));
    t->setMaximumWidth(80);
    return t;
}

inline cues::Rgb rgbOf(const QColor& c)
{
    return {c.redF(), c.greenF(), c.blueF()};
}

inline QColor colorOf(const cues::Rgb& c)
{
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), 1.0f);
}

// Sets a control on behalf of the unit: its signals stay silent.
template <class Widget, class Setter>
void setQuietly(Widget* widget, Setter&& set)
{
    const QSignalBlocker block(widget);
    set(widget);
}

} // namespace rz48::pages
