#include "cues/DrawStreamerThread.h"

#include "cues/Picture.h"

#include <QPainter>

DrawStreamerThread::DrawStreamerThread()
    : PreviewWorker(Traits {})
{
}

DrawStreamerThread::~DrawStreamerThread()
{
    stopThread();
}

QImage DrawStreamerThread::render()
{
    int w, b, t;
    QColor back, fore, endBar;
    {
        std::lock_guard lock(ioLock());
        w = width;
        b = bottom;
        t = top;
        back = backColor;
        fore = foreColor;
        endBar = endBarColor;
    }
    const QRectF streamer((rz48::kPictureWidth - w) / 2, b, w, double(t) - b);
    const QRectF bar(kEndBarX, b, kEndBarWidth, double(t) - b);

    QImage image = newPicture();
    QPainter painter(&image);
    painter.fillRect(image.rect(), back);
    painter.fillRect(rz48::toImageRect(streamer), fore);
    painter.fillRect(rz48::toImageRect(bar), endBar);
    return image;
}
