#include "cues/DrawThread.h"

#include "cues/Picture.h"

#include <QPainter>
#include <QPainterPath>

namespace {

PreviewWorker::Traits punchTraits()
{
    PreviewWorker::Traits traits;
    traits.completionLine = "DrawThread run() complete";
    return traits;
}

} // namespace

DrawThread::DrawThread()
    : PreviewWorker(punchTraits())
{
}

DrawThread::~DrawThread()
{
    stopThread();
}

QImage DrawThread::render()
{
    QPointF centre;
    int r;
    QColor back, fore;
    {
        std::lock_guard lock(ioLock());
        centre = punchPoint;
        r = radius;
        back = backColor;
        fore = foreColor;
    }
    QImage image = newPicture();
    QPainter painter(&image);
    painter.fillRect(image.rect(), back);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath punch;
    punch.addEllipse(rz48::toImageRect(QRectF(centre.x() - r, centre.y() - r, 2.0 * r, 2.0 * r)));
    painter.fillPath(punch, fore);
    return image;
}
