#pragma once
// Where the overlay page's boxes lie in the 1920 x 1080 picture (y up): each
// box measured in the font of its size number and kept inside the picture.
// The page places, hit-tests and sends from it, and its preview worker draws
// from it, so both always agree.
#include "codecs/OverlayCodec.h"

#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace rz48::pages {

enum class OverlayBox { Annunciator, Timecode, Text };

// The pixel sizes of the three boxes' fonts.
struct OverlayFonts {
    int annunciator = 64;
    int timecode = 48;
    int text = 36;
};

// What the preview shows: each box's top-left corner, picture pixels, y up.
struct OverlayLayout {
    QPointF annunciatorPoint;
    QPointF tcPoint;
    QPointF textPoint;
    OverlayFonts fonts;
};

// Each box as placed: x() the left edge, y() the bottom edge (QRectF's
// bottom() means nothing here). The second text line sits one line under
// the first at its left edge, not kept inside.
struct OverlayBoxes {
    QRectF annunciator, tc, text, textLine2;
};

inline constexpr const char* kAnnunciatorText = "Rehearse";
inline constexpr const char* kTcText = "01:00:00:00";
inline constexpr const char* kTextLine1 = "Text line 1";
inline constexpr const char* kTextLine2 = "Text line 2";

QFont overlayFont(int pixels);
// The size of a box's text in its font.
QSizeF boxSize(OverlayBox box, const OverlayFonts& fonts);
OverlayBoxes placeBoxes(const OverlayLayout& layout);

// The font of a size number (annunciator 24/36/48, timecode 16 to 64, text
// 16 to 48); a number outside the box's table keeps `current`.
int fontForSize(OverlayBox box, int64_t size, int current);

// The top-left corner a report's position (x, y in the unit's steps) stands
// for: y counts the top edge from the picture's top, and the box lands one
// box lower than that edge. The text lines' y is measured with the timecode
// box's height, on purpose.
QPointF reportedPoint(OverlayBox box, int64_t x, int64_t y, const OverlayFonts& fonts);

// Layout editing: true when the point lies within 20 picture pixels of the
// box (left, bottom, width, height).
bool closeToRect(const QPointF& point, const QRectF& box);
// A point of a preview area of the given size (y up) in picture pixels.
QPointF toPicture(const QPointF& areaPoint, const QSizeF& area);
// The corner that puts a box of the given size centred under the mouse.
QPointF centredUnder(const QPointF& mouse, const QSizeF& box);

// The placed boxes' positions in the unit's steps, into the settings.
void takePositions(const OverlayBoxes& boxes, overlay::OverlaySettings& s);

} // namespace rz48::pages
