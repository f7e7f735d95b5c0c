#pragma once
// The output's picture in the Unit output window: at 16:9, as large as the
// widget allows, on black. Drawn with OpenGL where a graphics card gives it
// (the video's texture, then the frame's image over it), else in software
// (the frame's image). RZ48_VIDEO_DRAWING=software keeps it in software,
// =opengl takes OpenGL even where it draws in software itself.
#include "output/OutputPlayer.h"

#include <functional>

class QOffscreenSurface;
class QOpenGLContext;
class QWidget;

// The OpenGL picture tells `onContext` its context and a surface for the
// player's thread once it has them, and (nullptr, nullptr) before they go;
// there, false says the player's thread still uses the surface, which is
// then left to it rather than destroyed.
using PictureContext = std::function<bool(QOpenGLContext*, QOffscreenSurface*)>;

// The picture of `frame` (kept by the caller, which calls update() when it
// changes); whether it is drawn with OpenGL in `openGl`.
QWidget* makeOutputPicture(const OutputShown& frame, PictureContext onContext, QWidget* parent, bool* openGl);
