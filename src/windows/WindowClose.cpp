#include "windows/WindowClose.h"

#include <QEvent>

namespace {

class CloseWatch : public QObject {
public:
    CloseWatch(QWidget* owner, QWidget* window, std::function<void()> onClose)
        : QObject(owner)
        , window_(window)
        , onClose_(std::move(onClose))
    {
        window_->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == window_ && event->type() == QEvent::Close)
            onClose_();
        return false;
    }

private:
    QWidget* window_;
    std::function<void()> onClose_;
};

class CloseGuard : public QObject {
public:
    CloseGuard(QWidget* window, std::function<bool()> mayClose)
        : QObject(window)
        , mayClose_(std::move(mayClose))
    {
        window->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Close && watched == parent() && !mayClose_()) {
            event->ignore();
            return true;
        }
        return false;
    }

private:
    std::function<bool()> mayClose_;
};

} // namespace

void guardWindowClose(QWidget* window, std::function<bool()> mayClose)
{
    if (window)
        new CloseGuard(window, std::move(mayClose));
}

void onWindowClose(QWidget* widget, std::function<void()> onClose)
{
    if (widget && widget->window())
        new CloseWatch(widget, widget->window(), std::move(onClose));
}
