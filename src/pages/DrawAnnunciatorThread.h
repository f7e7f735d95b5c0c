#pragma once
// Renders the overlay page's preview: a grey picture with the annunciator,
// the timecode window and two text lines, white on black bands at the fonts
// of their size numbers, each kept inside the picture (placed as
// OverlayBoxes says). After a box has been dragged it asks the page to send
// that box's position (kind 1 annunciator, 3 timecode, 4 text; only the last
// kind counts, so a redraw-only request cancels a pending send).
#include "pages/OverlayBoxes.h"
#include "pages/PreviewWorker.h"

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QSizeF>

// What the overlay preview draws: the boxes' corners and fonts, and colours.
struct OverlayPicture : rz48::pages::OverlayLayout {
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;
    QColor frameColor = QColor::fromRgbF(0.5f, 0.5f, 0.5f);
};

class DrawAnnunciatorThread : public PreviewOf<OverlayPicture> {
public:
    DrawAnnunciatorThread();

    // Size numbers for the picture's fonts, then a redraw; a number outside
    // the table keeps the font.
    void setAnnunciatorSize(int size);
    void setTcSize(int size);
    void setTextSize(int size);
    int annunciatorFontSize() const { return picture().fonts.annunciator; }
    int tcFontSize() const { return picture().fonts.timecode; }
    int textFontSize() const { return picture().fonts.text; }

    // The size of each text as measured with the picture's font.
    QSizeF annunciatorRectSize() const;
    QSizeF tcRectSize() const;
    QSizeF textRectSize() const;
    // Where the picture's boxes are drawn: x() the left edge, y() the bottom edge.
    QRectF annunciatorRect() const { return boxes().annunciator; }
    QRectF tcRect() const { return boxes().tc; }
    QRectF textRect() const { return boxes().text; }

    static constexpr const char* kAnnunciatorText = rz48::pages::kAnnunciatorText;
    static constexpr const char* kTcText = rz48::pages::kTcText;
    static constexpr const char* kTextLine1 = rz48::pages::kTextLine1;
    static constexpr const char* kTextLine2 = rz48::pages::kTextLine2;
    static QFont fontOfSize(int pixels) { return rz48::pages::overlayFont(pixels); }
    static QImage render(const OverlayPicture& picture);

private:
    rz48::pages::OverlayBoxes boxes() const { return rz48::pages::placeBoxes(picture()); }
    void setFont(rz48::pages::OverlayBox box, int size);
};
