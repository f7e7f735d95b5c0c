#include "widgets/ColorWell.h"

#include "common/NamedColors.h"

#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QStyleOptionToolButton>

namespace {

QColor namedColor(int index)
{
    const auto& c = rz48::kNamedColors[size_t(index)];
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), 1.0f);
}

} // namespace

ColorWell::ColorWell(const QString& objectName, QWidget* parent)
    : QToolButton(parent)
{
    setObjectName(objectName);
    setPopupMode(QToolButton::InstantPopup);
    setMinimumSize(44, 24);
    auto* menu = new QMenu(this);
    menu->setObjectName(objectName + QStringLiteral("Colors"));
    for (int i = 0; i < int(rz48::kNamedColors.size()); ++i) {
        QPixmap swatch(16, 16);
        swatch.fill(namedColor(i));
        QAction* action = menu->addAction(QIcon(swatch), QString::fromLatin1(rz48::kNamedColors[size_t(i)].key));
        connect(action, &QAction::triggered, this, [this, i] { chooseNamedColor(i); });
    }
    setMenu(menu);
}

void ColorWell::setColor(const QColor& color)
{
    color_ = color;
    update();
}

void ColorWell::chooseNamedColor(int index)
{
    if (index < 0 || index >= int(rz48::kNamedColors.size()))
        return;
    setColor(namedColor(index));
    emit colorChosen(color_);
}

void ColorWell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    option.features &= ~QStyleOptionToolButton::HasMenu;
    style()->drawComplexControl(QStyle::CC_ToolButton, &option, &painter, this);
    painter.fillRect(rect().adjusted(5, 5, -5, -5), color_);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(5, 5, -6, -6));
}
