#pragma once
// Where top-level windows go: inside the available area of their screen,
// frame included; beside the panel where they fit; and where the operator
// left them last time.
#include <QMargins>

class QWidget;

namespace rz48 {

// The window manager's frame (title bar and borders) around a window: the
// real one once the window is framed, else a typical one (none where the
// platform draws no frames, as offscreen).
QMargins frameOf(const QWidget* window);

// No larger than the area, and moved in where it sticks out.
void fitOnScreen(QWidget* window);

// Before a window first shows: where it was left last time (kept under its
// object name between runs), else beside `anchor` where it fits, else at the
// side with the most room, covering as little of `anchor` as its smallest
// size allows; an anchor placed afresh on this run (not where it was left)
// gives up as much as a quarter of its width where that makes room. The
// window keeps its place when it hides or closes, and is fitted again once
// the window manager has framed it.
void placeWindow(QWidget* window, QWidget* anchor = nullptr);

} // namespace rz48
