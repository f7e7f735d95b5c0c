#include "windows/WindowPlacement.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace rz48 {

void fitOnScreen(QWidget* window)
{
    QScreen* screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    // The frame (title bar, borders) takes its share of the area.
    const QSize frame = window->frameGeometry().size() - window->geometry().size();
    const QSize room = area.size() - frame;
    window->resize(window->size().boundedTo(room).expandedTo(window->minimumSize().boundedTo(room)));
    QRect outer = window->frameGeometry();
    outer.moveLeft(std::clamp(outer.left(), area.left(), std::max(area.left(), area.right() - outer.width() + 1)));
    outer.moveTop(std::clamp(outer.top(), area.top(), std::max(area.top(), area.bottom() - outer.height() + 1)));
    window->move(outer.topLeft());
}

} // namespace rz48
