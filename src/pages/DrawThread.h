#pragma once
// Renders the punch page's preview: one filled circle, the punch, on the
// background; and debounces the page's transmit.
#include "pages/PreviewWorker.h"

#include <QColor>
#include <QPointF>

// What the punch preview draws.
struct PunchPicture {
    QPointF punchPoint {960.0, 540.0}; // picture coordinates, y up
    int radius = 64;
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;
};

class DrawThread : public PreviewOf<PunchPicture> {
public:
    DrawThread();

    static QImage render(const PunchPicture& picture);
};
