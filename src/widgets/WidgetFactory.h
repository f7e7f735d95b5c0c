#pragma once
// The widget set-ups the panel's pages repeat: named controls made in one
// line, and setting a control on behalf of the unit without a signal.
#include "common/NamedColors.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>

namespace rz48::widgets {

inline QCheckBox* checkBox(const QString& name, const QString& title, QWidget* parent)
{
    auto* box = new QCheckBox(title, parent);
    box->setObjectName(name);
    return box;
}

inline QPushButton* button(const QString& name, const QString& title, QWidget* parent)
{
    auto* b = new QPushButton(title, parent);
    b->setObjectName(name);
    return b;
}

inline QComboBox* comboBox(const QString& name, const QStringList& items, QWidget* parent)
{
    auto* combo = new QComboBox(parent);
    combo->setObjectName(name);
    combo->addItems(items);
    return combo;
}

// A list of the eight named colours, each with its swatch.
inline QComboBox* colorCombo(const char* name, QWidget* parent)
{
    auto* combo = new QComboBox(parent);
    combo->setObjectName(QLatin1String(name));
    for (const auto& c : kNamedColors) {
        QPixmap swatch(12, 12);
        swatch.fill(QColor::fromRgbF(float(c.red), float(c.green), float(c.blue)));
        combo->addItem(QIcon(swatch), QString::fromLatin1(c.key));
    }
    return combo;
}

// Sets a control on behalf of the unit: its signals stay silent.
template <class Widget, class Setter>
void setQuietly(Widget* widget, Setter&& set)
{
    const QSignalBlocker block(widget);
    set(widget);
}

} // namespace rz48::widgets
