#pragma once
// Renders the streamer page's preview: the background, the streamer bar
// centred, and the end bar near the right edge, both between the same top
// and bottom; and debounces the page's transmit.
#include "pages/PreviewWorker.h"

#include <QColor>

// What the streamer preview draws, in picture pixels (y up).
struct StreamerPicture {
    int top = 1080;
    int bottom = 0;
    int width = 40;
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;
    QColor endBarColor = Qt::white;
};

class DrawStreamerThread : public PreviewOf<StreamerPicture> {
public:
    DrawStreamerThread();

    static constexpr int kEndBarX = 1728;
    static constexpr int kEndBarWidth = 40;
    static QImage render(const StreamerPicture& picture);
};
