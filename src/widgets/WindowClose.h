#pragma once
// Runs a function when the window that holds a widget is about to close.
#include <QWidget>

#include <functional>

// The watch lives as long as `widget`; `onClose` runs on each close event of
// the widget's top-level window.
void onWindowClose(QWidget* widget, std::function<void()> onClose);
