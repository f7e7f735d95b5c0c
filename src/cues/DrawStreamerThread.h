#pragma once
// Renders the streamer page's preview: the background, the streamer bar
// centred, and the end bar near the right edge, both between the same top
// and bottom; and debounces the page's transmit.
#include "cues/PreviewWorker.h"

#include <QColor>

class DrawStreamerThread : public PreviewWorker {
public:
    DrawStreamerThread();
    ~DrawStreamerThread() override;

    // Written by the parent under ioLock().
    int top = 1080;   // picture lines from the bottom
    int bottom = 0;
    int width = 40;   // pixels
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;
    QColor endBarColor = Qt::white;

    static constexpr int kEndBarX = 1728;
    static constexpr int kEndBarWidth = 40;

protected:
    QImage render() override;
};
