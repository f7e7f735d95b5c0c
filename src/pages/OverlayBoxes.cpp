#include "pages/OverlayBoxes.h"

#include "common/Picture.h"

#include <QFontMetricsF>

#include <algorithm>
#include <array>

namespace rz48::pages {

namespace {

constexpr std::array<int, 3> kAnnunciatorSizes = {24, 36, 48};
constexpr std::array<int, 5> kTcSizes = {16, 24, 36, 48, 64};
constexpr std::array<int, 4> kTextSizes = {16, 24, 36, 48};

QSizeF measure(const char* text, int pixels)
{
    const QFontMetricsF metrics(overlayFont(pixels));
    return {metrics.horizontalAdvance(QString::fromLatin1(text)), metrics.height()};
}

// Keeps a box inside the picture: never past the right edge or the top,
// never a negative left or bottom edge. The point is the top-left corner.
QRectF keepInside(const QPointF& point, const QSizeF& size)
{
    const double bottom = std::max(std::min(point.y() - size.height(), kPictureHeight - size.height()), 0.0);
    const double left = std::max(std::min(point.x(), kPictureWidth - size.width()), 0.0);
    return {left, bottom, size.width(), size.height()};
}

template <size_t N>
int pick(const std::array<int, N>& table, int64_t size, int current)
{
    return size >= 0 && size < int64_t(N) ? table[size_t(size)] : current;
}

} // namespace

QFont overlayFont(int pixels)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    return font;
}

QSizeF boxSize(OverlayBox box, const OverlayFonts& fonts)
{
    switch (box) {
    case OverlayBox::Annunciator:
        return measure(kAnnunciatorText, fonts.annunciator);
    case OverlayBox::Timecode:
        return measure(kTcText, fonts.timecode);
    case OverlayBox::Text:
        break;
    }
    return measure(kTextLine1, fonts.text);
}

OverlayBoxes placeBoxes(const OverlayLayout& layout)
{
    OverlayBoxes boxes;
    boxes.annunciator = keepInside(layout.annunciatorPoint, boxSize(OverlayBox::Annunciator, layout.fonts));
    boxes.tc = keepInside(layout.tcPoint, boxSize(OverlayBox::Timecode, layout.fonts));
    boxes.text = keepInside(layout.textPoint, boxSize(OverlayBox::Text, layout.fonts));
    const QSizeF line2 = measure(kTextLine2, layout.fonts.text);
    boxes.textLine2 = QRectF(boxes.text.x(), boxes.text.y() - boxes.text.height(), line2.width(), line2.height());
    return boxes;
}

int fontForSize(OverlayBox box, int64_t size, int current)
{
    switch (box) {
    case OverlayBox::Annunciator:
        return pick(kAnnunciatorSizes, size, current);
    case OverlayBox::Timecode:
        return pick(kTcSizes, size, current);
    case OverlayBox::Text:
        break;
    }
    return pick(kTextSizes, size, current);
}

QPointF reportedPoint(OverlayBox box, int64_t x, int64_t y, const OverlayFonts& fonts)
{
    const OverlayBox measured = box == OverlayBox::Annunciator ? box : OverlayBox::Timecode;
    return {double(x) * 8, kPictureHeight - double(y) * 4 - boxSize(measured, fonts).height()};
}

bool closeToRect(const QPointF& p, const QRectF& r)
{
    const double left = r.x() - 20, bottom = r.y() - 20;
    const double right = left + r.width() + 40, top = bottom + r.height() + 40;
    return left <= p.x() && p.x() < right && bottom <= p.y() && p.y() < top;
}

QPointF toPicture(const QPointF& p, const QSizeF& area)
{
    return {p.x() * kPictureWidth / area.width(), p.y() * kPictureHeight / area.height()};
}

QPointF centredUnder(const QPointF& mouse, const QSizeF& box)
{
    return {mouse.x() - box.width() * 0.5, mouse.y() + box.height() * 0.5};
}

void takePositions(const OverlayBoxes& boxes, overlay::OverlaySettings& s)
{
    const auto take = [](const QRectF& r, overlay::BoxSettings& box) {
        box.x = overlay::positionX(r.x());
        box.y = overlay::positionY(r.y(), r.height());
    };
    take(boxes.annunciator, s.annunciator);
    take(boxes.tc, s.timecode);
    take(boxes.text, s.text);
}

} // namespace rz48::pages
