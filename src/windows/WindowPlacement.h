#pragma once
// Keeps a top-level window inside the available area of its screen: no
// larger than the area, and moved in where it sticks out.
class QWidget;

namespace rz48 {

void fitOnScreen(QWidget* window);

} // namespace rz48
