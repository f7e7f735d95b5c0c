#include "emulator/OutputRenderer.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

#include <cstring>

namespace rz48::emu {
namespace {

QFont fontOf(int pixels)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    return font;
}

QColor colorOf(uint32_t rgb, int alpha = 255)
{
    return QColor(int(rgb >> 16 & 0xFF), int(rgb >> 8 & 0xFF), int(rgb & 0xFF), alpha);
}

// Seven bars at 75 %: white, yellow, cyan, green, purple, red, blue.
void drawBars(QPainter& painter, const QRect& area)
{
    static constexpr uint32_t kBars[] = {0xBFBFBF, 0xBFBF00, 0x00BFBF, 0x00BF00, 0xBF00BF, 0xBF0000, 0x0000BF};
    for (int i = 0; i < 7; ++i) {
        const int left = area.left() + area.width() * i / 7;
        const int right = area.left() + area.width() * (i + 1) / 7;
        painter.fillRect(QRect(left, area.top(), right - left, area.height()), colorOf(kBars[i]));
    }
}

// Ten steps from black to white.
void drawGray(QPainter& painter, const QRect& area)
{
    for (int i = 0; i < 10; ++i) {
        const int left = area.left() + area.width() * i / 10;
        const int right = area.left() + area.width() * (i + 1) / 10;
        const int level = 255 * i / 9;
        painter.fillRect(QRect(left, area.top(), right - left, area.height()), QColor(level, level, level));
    }
}

} // namespace

OutputRenderer::OutputRenderer()
{
    for (int g = 1; g < 4; ++g) {
        QImage& image = backgrounds_[g];
        image = QImage(kOutputWidth, kOutputHeight, QImage::Format_RGB32);
        QPainter painter(&image);
        const QRect all(0, 0, kOutputWidth, kOutputHeight);
        if (g == 1)
            drawBars(painter, all);
        else if (g == 2)
            drawGray(painter, all);
        else {
            // Both: the bars over the top two thirds, the grey scale below.
            drawBars(painter, QRect(0, 0, kOutputWidth, kOutputHeight * 2 / 3));
            drawGray(painter, QRect(0, kOutputHeight * 2 / 3, kOutputWidth, kOutputHeight - kOutputHeight * 2 / 3));
        }
    }
}

QSize OutputRenderer::textSize(const std::string& text, int pixels)
{
    const QFontMetrics metrics(fontOf(pixels));
    return {metrics.horizontalAdvance(QString::fromLatin1(text.data(), qsizetype(text.size()))), metrics.height()};
}

void OutputRenderer::render(const OutputFrame& frame, QImage& image, const QImage* picture)
{
    if (image.width() != kOutputWidth || image.height() != kOutputHeight || image.format() != QImage::Format_RGB32)
        image = QImage(kOutputWidth, kOutputHeight, QImage::Format_RGB32);
    const int background = frame.background & 3;
    const bool video = picture && picture->size() == image.size() && picture->format() == QImage::Format_RGB32;
    if (background == 0 && video)
        std::memcpy(image.bits(), picture->constBits(), size_t(image.sizeInBytes()));
    else if (background == 0)
        image.fill(0xFF000000u);
    else
        std::memcpy(image.bits(), backgrounds_[background].constBits(), size_t(image.sizeInBytes()));
    QPainter painter(&image);
    drawShapes(painter, frame);
}

void OutputRenderer::renderOverlay(const OutputFrame& frame, QImage& image)
{
    if (image.width() != kOutputWidth || image.height() != kOutputHeight || image.format() != QImage::Format_ARGB32_Premultiplied)
        image = QImage(kOutputWidth, kOutputHeight, QImage::Format_ARGB32_Premultiplied);
    const int background = frame.background & 3;
    if (background == 0)
        image.fill(Qt::transparent);
    else
        image = backgrounds_[background].convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    drawShapes(painter, frame);
}

void OutputRenderer::drawShapes(QPainter& painter, const OutputFrame& frame)
{
    for (const Shape& s : frame.shapes) {
        switch (s.kind) {
        case Shape::Kind::Rect:
            if (s.w > 0 && s.h > 0)
                painter.fillRect(QRect(s.x, s.y, s.w, s.h), colorOf(s.rgb, s.alpha));
            break;
        case Shape::Kind::Disc:
            painter.setRenderHint(QPainter::Antialiasing, true);
            painter.setPen(Qt::NoPen);
            painter.setBrush(colorOf(s.rgb, s.alpha));
            painter.drawEllipse(QRect(s.x, s.y, s.w, s.h));
            painter.setRenderHint(QPainter::Antialiasing, false);
            break;
        case Shape::Kind::Text: {
            const QFont font = fontOf(s.pixels);
            const QFontMetrics metrics(font);
            const QString text = QString::fromLatin1(s.text.data(), qsizetype(s.text.size()));
            const QRect box(s.x, s.y + s.line * metrics.height(), metrics.horizontalAdvance(text), metrics.height());
            painter.fillRect(box, colorOf(s.backRgb));
            painter.setFont(font);
            painter.setPen(colorOf(s.rgb));
            painter.drawText(QPoint(box.left(), box.top() + metrics.ascent()), text);
            break;
        }
        }
    }
}

QImage OutputRenderer::render(const OutputFrame& frame)
{
    QImage image;
    render(frame, image);
    return image;
}

} // namespace rz48::emu
