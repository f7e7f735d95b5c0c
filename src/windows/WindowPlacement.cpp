#include "windows/WindowPlacement.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace rz48 {

namespace {

QString keyOf(const QWidget* window)
{
    return QStringLiteral("windows/%1").arg(window->objectName());
}

QRect availableArea(const QWidget* window)
{
    QScreen* screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect();
}

// The window's outer rectangle: its frame, real or typical.
QRect outerOf(const QWidget* window)
{
    return QRect(window->pos(), window->size().grownBy(frameOf(window)));
}

// Moves the window so that its outer rectangle's top left is `corner`: a
// top-level window's position is its frame's, once framed and before.
void moveOuter(QWidget* window, QPoint corner)
{
    window->move(corner);
}

// Keeps the window's place when it hides or closes, and fits it again once
// the window manager has framed it.
class PlaceKeeper : public QObject {
public:
    static constexpr const char* kName = "placeKeeper";
    explicit PlaceKeeper(QWidget* window)
        : QObject(window)
        , window_(window)
    {
        setObjectName(QLatin1String(kName));
        window->installEventFilter(this);
        connect(qApp, &QCoreApplication::aboutToQuit, this, &PlaceKeeper::keep);
    }

    // Whether the window took the place kept from an earlier run.
    bool restored = false;

    bool eventFilter(QObject*, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::Hide:
        case QEvent::Close:
            keep();
            break;
        case QEvent::Show:
            if (!framed_) {
                framed_ = true;
                // The frame is known only once the window manager has framed the window.
                QTimer::singleShot(kFramingMs, window_, [window = window_] { fitOnScreen(window); });
            }
            break;
        default:
            break;
        }
        return false;
    }

private:
    void keep()
    {
        // Its frame's corner and its size: where it goes back to, frame and all.
        if (window_->isVisible() && !window_->isFullScreen() && !window_->isMaximized()) {
            QSettings settings;
            settings.setValue(keyOf(window_), QRect(window_->pos(), window_->size()));
            // The window manager's frame, for the next run's windows before they are framed.
            if (const QWindow* handle = window_->windowHandle(); handle && !handle->frameMargins().isNull()) {
                const QMargins m = handle->frameMargins();
                settings.setValue(QStringLiteral("windows/frame"), QRect(m.left(), m.top(), m.right(), m.bottom()));
            }
        }
    }

    static constexpr int kFramingMs = 250;
    QWidget* window_;
    bool framed_ = false;
};

PlaceKeeper* keeperOf(QWidget* window)
{
    // Only a PlaceKeeper carries its name.
    return static_cast<PlaceKeeper*>(window->findChild<QObject*>(QLatin1String(PlaceKeeper::kName), Qt::FindDirectChildrenOnly));
}

} // namespace

QMargins frameOf(const QWidget* window)
{
    if (const QWindow* handle = window->windowHandle(); handle && window->isVisible()) {
        const QMargins real = handle->frameMargins();
        if (!real.isNull())
            return real;
    }
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        return {};
    // The frame the window manager gave the last run's windows.
    if (const QRect kept = QSettings().value(QStringLiteral("windows/frame")).toRect(); !kept.isNull())
        return {kept.x(), kept.y(), kept.width(), kept.height()};
    // A typical title bar and border until the window manager says.
    const int title = window->fontMetrics().height() + 12;
    return {4, title, 4, 4};
}

void fitOnScreen(QWidget* window)
{
    const QRect area = availableArea(window);
    if (area.isEmpty())
        return;
    const QMargins frame = frameOf(window);
    const QSize room = area.size().shrunkBy(frame);
    window->resize(window->size().boundedTo(room).expandedTo(window->minimumSize().boundedTo(room)));
    QRect outer = outerOf(window);
    outer.moveLeft(std::clamp(outer.left(), area.left(), std::max(area.left(), area.right() - outer.width() + 1)));
    outer.moveTop(std::clamp(outer.top(), area.top(), std::max(area.top(), area.bottom() - outer.height() + 1)));
    moveOuter(window, outer.topLeft());
}

void placeWindow(QWidget* window, QWidget* anchor)
{
    PlaceKeeper* keeper = keeperOf(window);
    if (!keeper)
        keeper = new PlaceKeeper(window);
    const QRect kept = QSettings().value(keyOf(window)).toRect();
    keeper->restored = kept.isValid();
    if (keeper->restored) {
        window->resize(kept.size());
        moveOuter(window, kept.topLeft());
        fitOnScreen(window);
        return;
    }
    const QRect area = availableArea(anchor ? anchor : window);
    if (!anchor || area.isEmpty()) {
        fitOnScreen(window);
        return;
    }
    const QMargins frame = frameOf(window);
    QRect beside = outerOf(anchor);
    int roomRight = area.right() - beside.right();
    int roomLeft = beside.left() - area.left();
    const bool right = roomRight >= roomLeft;
    // As wide as it would be where there is room, else as narrow as it can be.
    const int frameWidth = frame.left() + frame.right();
    const int smallest = window->minimumSizeHint().expandedTo(window->minimumSize()).width() + frameWidth;
    // Where the two cannot stand side by side, the anchor gives up what it
    // can spare (it scrolls rather than squeezes), so that nothing is hidden.
    if (const PlaceKeeper* placed = keeperOf(anchor); placed && !placed->restored) {
        // At most a quarter of its width, and only where that is all it takes.
        const int lacking = smallest - std::max(roomRight, roomLeft);
        const int spare = std::min(anchor->width() / 4, anchor->width() - std::max(anchor->minimumSizeHint().width(), anchor->minimumWidth()));
        if (lacking > 0 && lacking <= spare) {
            const int given = lacking;
            anchor->resize(anchor->width() - given, anchor->height());
            if (!right)
                anchor->move(anchor->pos() + QPoint(given, 0));
            beside = outerOf(anchor);
            roomRight = area.right() - beside.right();
            roomLeft = beside.left() - area.left();
        }
    }
    const int room = std::max(roomRight, roomLeft);
    const int outerWidth = std::min(window->width() + frameWidth, std::max(room, smallest));
    const int outerHeight = std::min(window->height() + frame.top() + frame.bottom(), area.height());
    window->resize(outerWidth - frameWidth, outerHeight - frame.top() - frame.bottom());
    const int x = right ? std::min(beside.right() + 1, area.right() - outerWidth + 1) : std::max(area.left(), beside.left() - outerWidth);
    const int y = std::clamp(beside.top(), area.top(), std::max(area.top(), area.bottom() - outerHeight + 1));
    moveOuter(window, QPoint(x, y));
    fitOnScreen(window);
}

} // namespace rz48
