#pragma once
// The unit's picture: 1920 x 1080 with the origin at the bottom left and y
// pointing up. Previews draw in these coordinates into images whose rows run
// from the top, so every rectangle goes through toImageRect.
#include <QRectF>

namespace rz48 {

inline constexpr int kPictureWidth = 1920;
inline constexpr int kPictureHeight = 1080;

// A rectangle in picture coordinates (x, y = bottom edge, w, h) as image
// rows and columns. Negative sizes are turned round.
inline QRectF toImageRect(const QRectF& picture)
{
    const QRectF r = picture.normalized();
    return QRectF(r.x(), kPictureHeight - (r.y() + r.height()), r.width(), r.height());
}

} // namespace rz48
