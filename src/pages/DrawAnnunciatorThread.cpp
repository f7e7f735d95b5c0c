#include "pages/DrawAnnunciatorThread.h"

#include "common/Picture.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>

namespace {

const PreviewWorker::Traits kOverlayTraits {
    .name = "overlay preview",
    .transmitFor = {nullptr, "threadNeedsTx", nullptr, "threadNeedsTxTc", "threadNeedsTxText"},
    .everyKindCounts = true,
    .abortTestedAtTop = true,
};

constexpr std::array<int, 3> kAnnunciatorSizes = {24, 36, 48};
constexpr std::array<int, 5> kTcSizes = {16, 24, 36, 48, 64};
constexpr std::array<int, 4> kTextSizes = {16, 24, 36, 48};

template <size_t N>
void pickSize(std::atomic<int>& font, const std::array<int, N>& table, int size)
{
    if (size >= 0 && size < int(N))
        font = table[size_t(size)];
}

QSizeF measure(const char* text, int pixels)
{
    const QFontMetricsF metrics(DrawAnnunciatorThread::fontOfSize(pixels));
    return {metrics.horizontalAdvance(QString::fromLatin1(text)), metrics.height()};
}

// Keeps a box inside the picture: never past the right edge or the top,
// never a negative left or bottom edge. The point is the top-left corner.
QRectF placeBox(const QPointF& point, const QSizeF& size)
{
    const double bottom = std::max(std::min(point.y() - size.height(), rz48::kPictureHeight - size.height()), 0.0);
    const double left = std::max(std::min(point.x(), rz48::kPictureWidth - size.width()), 0.0);
    return {left, bottom, size.width(), size.height()};
}

void drawBox(QPainter& painter, const QRectF& box, const char* text, int pixels)
{
    const QFont font = DrawAnnunciatorThread::fontOfSize(pixels);
    const QRectF rows = rz48::toImageRect(box);
    painter.fillRect(rows, Qt::black);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QPointF(rows.left(), rows.top() + QFontMetricsF(font).ascent()), QString::fromLatin1(text));
}

} // namespace

const char* const DrawAnnunciatorThread::kAnnunciatorText = "Rehearse";
const char* const DrawAnnunciatorThread::kTcText = "01:00:00:00";
const char* const DrawAnnunciatorThread::kTextLine1 = "Text line 1";
const char* const DrawAnnunciatorThread::kTextLine2 = "Text line 2";

DrawAnnunciatorThread::DrawAnnunciatorThread()
    : DrawAnnunciatorThread(std::make_shared<Boxes>())
{
}

DrawAnnunciatorThread::DrawAnnunciatorThread(std::shared_ptr<Boxes> boxes)
    : PreviewOf(kOverlayTraits, [boxes](const OverlayPicture& picture) { return render(picture, *boxes); })
    , boxes_(std::move(boxes))
{
}

QFont DrawAnnunciatorThread::fontOfSize(int pixels)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    return font;
}

void DrawAnnunciatorThread::setAnnunciatorSize(int size)
{
    pickSize(boxes_->annunciatorFont, kAnnunciatorSizes, size);
    setDraw(2);
}

void DrawAnnunciatorThread::setTcSize(int size)
{
    pickSize(boxes_->tcFont, kTcSizes, size);
    setDraw(2);
}

void DrawAnnunciatorThread::setTextSize(int size)
{
    pickSize(boxes_->textFont, kTextSizes, size);
    setDraw(2);
}

QSizeF DrawAnnunciatorThread::annunciatorRectSize() const
{
    return measure(kAnnunciatorText, boxes_->annunciatorFont);
}

QSizeF DrawAnnunciatorThread::tcRectSize() const
{
    return measure(kTcText, boxes_->tcFont);
}

QSizeF DrawAnnunciatorThread::textRectSize() const
{
    return measure(kTextLine1, boxes_->textFont);
}

QRectF DrawAnnunciatorThread::drawn(QRectF Boxes::*box) const
{
    std::lock_guard lock(boxes_->lock);
    return (*boxes_).*box;
}

QRectF DrawAnnunciatorThread::annunciatorRect() const { return drawn(&Boxes::annunciator); }
QRectF DrawAnnunciatorThread::tcRect() const { return drawn(&Boxes::tc); }
QRectF DrawAnnunciatorThread::textRect() const { return drawn(&Boxes::text); }

QImage DrawAnnunciatorThread::render(const OverlayPicture& picture, Boxes& boxes)
{
    const int annunciatorPixels = boxes.annunciatorFont, tcPixels = boxes.tcFont, textPixels = boxes.textFont;
    const QRectF annunciatorBox = placeBox(picture.annunciatorPoint, measure(kAnnunciatorText, annunciatorPixels));
    const QRectF tcBox = placeBox(picture.tcPoint, measure(kTcText, tcPixels));
    const QRectF textBox = placeBox(picture.textPoint, measure(kTextLine1, textPixels));
    // The second line sits one line lower at the first line's left edge, unclamped.
    const QSizeF line2 = measure(kTextLine2, textPixels);
    const QRectF line2Box(textBox.x(), textBox.y() - textBox.height(), line2.width(), line2.height());

    QImage image = newPicture();
    {
        QPainter painter(&image);
        painter.fillRect(image.rect(), picture.frameColor);
        painter.setRenderHint(QPainter::TextAntialiasing);
        drawBox(painter, annunciatorBox, kAnnunciatorText, annunciatorPixels);
        drawBox(painter, tcBox, kTcText, tcPixels);
        drawBox(painter, textBox, kTextLine1, textPixels);
        drawBox(painter, line2Box, kTextLine2, textPixels);
    }
    {
        std::lock_guard lock(boxes.lock);
        boxes.annunciator = annunciatorBox;
        boxes.tc = tcBox;
        boxes.text = textBox;
    }
    return image;
}
