#include "pages/PreviewView.h"

#include <QPainter>

PreviewView::PreviewView(QWidget* parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus); // accepts first responder
    setMinimumSize(320, 180);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void PreviewView::threadNeedsDisplay(QImage image)
{
    image_ = std::move(image);
    ++imagesReceived_;
    update();
}

void PreviewView::paintEvent(QPaintEvent*)
{
    if (image_.isNull())
        return;
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), image_);
    // A frame, so that a white full-height element does not melt into the page.
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}
