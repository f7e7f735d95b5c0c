#include "widgets/WindowClose.h"

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

} // namespace

void onWindowClose(QWidget* widget, std::function<void()> onClose)
{
    if (widget && widget->window())
        new CloseWatch(widget, widget->window(), std::move(onClose));
}
