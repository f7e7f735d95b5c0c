#pragma once
// Renders the punch page's preview: one filled circle, the punch, on the
// background; and debounces the page's transmit.
#include "cues/PreviewWorker.h"

#include <QColor>
#include <QPointF>

class DrawThread : public PreviewWorker {
public:
    DrawThread();
    ~DrawThread() override;

    // Written by the parent under ioLock().
    QPointF punchPoint {960.0, 540.0}; // picture coordinates, y up
    int radius = 64;
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;

protected:
    QImage render() override;
};
