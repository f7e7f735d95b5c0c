#include "pages/DrawAnnunciatorThread.h"

#include "common/Picture.h"

#include <QFontMetricsF>
#include <QPainter>

using rz48::pages::OverlayBox;

namespace {

const PreviewWorker::Traits kOverlayTraits {
    .name = "overlay preview",
    .transmitFor = {nullptr, "threadNeedsTx", nullptr, "threadNeedsTxTc", "threadNeedsTxText"},
    .everyKindCounts = true,
    .abortTestedAtTop = true,
};

void drawBox(QPainter& painter, const QRectF& box, const char* text, int pixels)
{
    const QFont font = rz48::pages::overlayFont(pixels);
    const QRectF rows = rz48::toImageRect(box);
    painter.fillRect(rows, Qt::black);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QPointF(rows.left(), rows.top() + QFontMetricsF(font).ascent()), QString::fromLatin1(text));
}

} // namespace

DrawAnnunciatorThread::DrawAnnunciatorThread()
    : PreviewOf(kOverlayTraits, &DrawAnnunciatorThread::render)
{
}

void DrawAnnunciatorThread::setFont(OverlayBox box, int size)
{
    OverlayPicture p = picture();
    int& font = box == OverlayBox::Annunciator ? p.fonts.annunciator : box == OverlayBox::Timecode ? p.fonts.timecode : p.fonts.text;
    font = rz48::pages::fontForSize(box, size, font);
    setPicture(p);
    setDraw(2);
}

void DrawAnnunciatorThread::setAnnunciatorSize(int size) { setFont(OverlayBox::Annunciator, size); }
void DrawAnnunciatorThread::setTcSize(int size) { setFont(OverlayBox::Timecode, size); }
void DrawAnnunciatorThread::setTextSize(int size) { setFont(OverlayBox::Text, size); }

QSizeF DrawAnnunciatorThread::annunciatorRectSize() const { return boxSize(OverlayBox::Annunciator, picture().fonts); }
QSizeF DrawAnnunciatorThread::tcRectSize() const { return boxSize(OverlayBox::Timecode, picture().fonts); }
QSizeF DrawAnnunciatorThread::textRectSize() const { return boxSize(OverlayBox::Text, picture().fonts); }

QImage DrawAnnunciatorThread::render(const OverlayPicture& picture)
{
    const rz48::pages::OverlayBoxes boxes = rz48::pages::placeBoxes(picture);
    const rz48::pages::OverlayFonts& fonts = picture.fonts;
    QImage image = newPicture();
    {
        QPainter painter(&image);
        painter.fillRect(image.rect(), picture.frameColor);
        painter.setRenderHint(QPainter::TextAntialiasing);
        drawBox(painter, boxes.annunciator, kAnnunciatorText, fonts.annunciator);
        drawBox(painter, boxes.tc, kTcText, fonts.timecode);
        drawBox(painter, boxes.text, kTextLine1, fonts.text);
        drawBox(painter, boxes.textLine2, kTextLine2, fonts.text);
    }
    return image;
}
