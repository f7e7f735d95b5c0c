#pragma once
// The application's delegate: nothing to do at launch, and the application
// quits when its last window closes.
#include <QObject>
#include <QPointer>
#include <QWidget>

class RZ48AppDelegate : public QObject {
    Q_OBJECT
    Q_PROPERTY(QWidget* window READ window WRITE setWindow)
public:
    using QObject::QObject;

    void applicationDidFinishLaunching() {}
    bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

    QWidget* window() const { return window_; }
    void setWindow(QWidget* window) { window_ = window; }

private:
    QPointer<QWidget> window_;
};
