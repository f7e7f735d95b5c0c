#pragma once
// Runs a function when the window that holds a widget is about to close.
#include <QWidget>

#include <functional>

// The watch lives as long as `widget`; `onClose` runs on each close event of
// the widget's top-level window.
void onWindowClose(QWidget* widget, std::function<void()> onClose);

// Asks `mayClose` before a window closes; when it answers false the close is
// refused and nothing else sees it. Install it after every other watch.
void guardWindowClose(QWidget* window, std::function<bool()> mayClose);
