#include "pages/DrawThread.h"

#include "common/Picture.h"

#include <QPainter>
#include <QPainterPath>

DrawThread::DrawThread()
    : PreviewOf({.name = "punch preview", .completionLine = "DrawThread run() complete"}, &DrawThread::render)
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
