#include "output/TimecodeInput.h"

#include <QSocketNotifier>
#include <QTimer>

TimecodeInput::TimecodeInput(QObject* parent)
    : QObject(parent)
    , dropout_(new QTimer(this))
{
    dropout_->setInterval(50);
    connect(dropout_, &QTimer::timeout, this, [this] { report(droppedOut(), position()); });
}

TimecodeInput::~TimecodeInput() = default;

void TimecodeInput::close()
{
    for (QSocketNotifier* n : notifiers_)
        delete n;
    notifiers_.clear();
    dropout_->stop();
}

void TimecodeInput::watch(const std::vector<int>& descriptors)
{
    for (int fd : descriptors) {
        auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, [this] { readInput(); });
        notifiers_.push_back(notifier);
    }
    dropout_->start();
}

void TimecodeInput::report(bool changed, const std::optional<Position>& position)
{
    if (changed && handler_ && position)
        handler_(*position);
}
