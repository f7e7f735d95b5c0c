#include "pages/DrawThread.h"

#include "common/Picture.h"

#include <QPainter>
#include <QPainterPath>

namespace {

PreviewWorker::Traits punchTraits()
{
    PreviewWorker::Traits traits;
    traits.name = "punch preview";
    traits.completionLine = "DrawThread run() complete";
    return traits;
}

} // namespace

DrawThread::DrawThread()
    : PreviewOf(punchTraits(), &DrawThread::render)
{
}

QImage DrawThread::render(const PunchPicture& p)
{
    const int r = p.radius;
    QImage image = newPicture();
    QPainter painter(&image);
    painter.fillRect(image.rect(), p.backColor);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath punch;
    punch.addEllipse(rz48::toImageRect(QRectF(p.punchPoint.x() - r, p.punchPoint.y() - r, 2.0 * r, 2.0 * r)));
    painter.fillPath(punch, p.foreColor);
    return image;
}
