#pragma once
// Renders the overlay page's preview: a grey picture with the annunciator,
// the timecode window and two text lines, white on black bands at the fonts
// of their size numbers, each kept inside the picture. Remembers where it
// drew each box, and after a box has been dragged asks the page to send that
// box's position (kind 1 annunciator, 3 timecode, 4 text; only the last kind
// counts, so a redraw-only request cancels a pending send).
#include "pages/PreviewWorker.h"

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <atomic>
#include <mutex>

// What the overlay preview draws: top-left corners, picture pixels, y up.
struct OverlayPicture {
    QPointF annunciatorPoint;
    QPointF tcPoint;
    QPointF textPoint;
    QColor backColor = Qt::black;
    QColor foreColor = Qt::white;
    QColor frameColor = QColor::fromRgbF(0.5f, 0.5f, 0.5f);
};

class DrawAnnunciatorThread : public PreviewOf<OverlayPicture> {
public:
    DrawAnnunciatorThread();

    // Size numbers from the page; a number outside the table keeps the font.
    void setAnnunciatorSize(int size);
    void setTcSize(int size);
    void setTextSize(int size);
    int annunciatorFontSize() const { return boxes_->annunciatorFont; }
    int tcFontSize() const { return boxes_->tcFont; }
    int textFontSize() const { return boxes_->textFont; }

    // The size of each text as measured now with its font.
    QSizeF annunciatorRectSize() const;
    QSizeF tcRectSize() const;
    QSizeF textRectSize() const;
    // Where each box was last drawn, in picture coordinates: x() is the left
    // edge, y() the bottom edge (QRectF::bottom() means nothing here).
    QRectF annunciatorRect() const;
    QRectF tcRect() const;
    QRectF textRect() const;

    static const char* const kAnnunciatorText; // "Rehearse"
    static const char* const kTcText;          // "01:00:00:00"
    static const char* const kTextLine1;       // "Text line 1"
    static const char* const kTextLine2;       // "Text line 2"
    static QFont fontOfSize(int pixels);

private:
    // The fonts chosen and the boxes as last drawn, shared with the loop.
    struct Boxes {
        std::atomic<int> annunciatorFont {64};
        std::atomic<int> tcFont {48};
        std::atomic<int> textFont {36};
        mutable std::mutex lock; // the rectangles are read whole, never half-updated
        QRectF annunciator, tc, text;
    };
    explicit DrawAnnunciatorThread(std::shared_ptr<Boxes> boxes);
    static QImage render(const OverlayPicture& picture, Boxes& boxes);
    QRectF drawn(QRectF Boxes::*box) const;

    std::shared_ptr<Boxes> boxes_;
};
