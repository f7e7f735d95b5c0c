#include "pages/DrawStreamerThread.h"

#include "common/Picture.h"

#include <QPainter>

DrawStreamerThread::DrawStreamerThread()
    : PreviewOf({.name = "streamer preview"}, &DrawStreamerThread::render)
{
}

QImage DrawStreamerThread::render(const StreamerPicture& p)
{
    const QRectF streamer((rz48::kPictureWidth - p.width) / 2, p.bottom, p.width, double(p.top) - p.bottom);
    const QRectF bar(kEndBarX, p.bottom, kEndBarWidth, double(p.top) - p.bottom);

    QImage image = newPicture();
    QPainter painter(&image);
    painter.fillRect(image.rect(), p.backColor);
    painter.fillRect(rz48::toImageRect(streamer), p.foreColor);
    painter.fillRect(rz48::toImageRect(bar), p.endBarColor);
    return image;
}
