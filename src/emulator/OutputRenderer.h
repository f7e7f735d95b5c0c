#pragma once
// Draws an output frame (OutputModel) as the unit's 1920 x 1080 picture:
// black, or the unit's colour bars and grey scale, then the shapes in their
// order. Text is DejaVu Sans at the frame's pixel sizes, each line on a band
// of its background colour as wide as the text. One renderer per thread.
#include "emulator/OutputModel.h"

#include <QImage>

#include <map>

class QFont;
class QPainter;

namespace rz48::emu {

class OutputRenderer {
public:
    OutputRenderer();
    // Draws into `image`, made 1920 x 1080 RGB32 when it is not. Under the
    // shapes: `picture` (the video, 1920 x 1080 RGB32) where given and the
    // colour bars and grey scale are off, else black.
    void render(const OutputFrame& frame, QImage& image, const QImage* picture = nullptr);
    QImage render(const OutputFrame& frame);
    // The shapes alone, to be laid over a picture drawn elsewhere: 1920 x 1080
    // premultiplied ARGB, clear where nothing is drawn (the bars and grey
    // scale, when on, cover it all).
    void renderOverlay(const OutputFrame& frame, QImage& image);

    // The size of a line of text at a pixel size, as the renderer draws it.
    static QSize textSize(const std::string& text, int pixels);

private:
    static void drawShapes(QPainter& painter, const OutputFrame& frame);

    QImage backgrounds_[4]; // by "G"'s two bits; [0] unused (black)
};

} // namespace rz48::emu
