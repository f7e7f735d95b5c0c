#pragma once
// The video drawn with OpenGL on the output player's thread: a context of
// that thread sharing its textures with the window's, and two framebuffers
// of the output's size, one shown by the window while the other is drawn.
// Made, used and destroyed on the player's thread; the surface and the
// shared context are the window's, made on the main thread.
#include "emulator/VideoFile.h"

#include <QString>

#include <memory>

class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLFramebufferObject;

class VideoTextures {
public:
    VideoTextures();
    ~VideoTextures(); // (not copied: it owns its context)

    // Makes the context, current on this thread from now on, and the
    // framebuffers; false with why when OpenGL cannot be used.
    bool begin(QOpenGLContext* share, QOffscreenSurface* surface, QString* why);
    bool ready() const { return buffers_[0] != nullptr; }
    // How the video player finds the context's functions.
    rz48::emu::OpenGlDrawing drawing() const;
    // The framebuffer not shown, to draw the next frame into.
    rz48::emu::Framebuffer spare() const;
    // The spare framebuffer is drawn: its drawing finished, it is the one
    // shown from now on; its texture.
    unsigned swap();

private:
    std::unique_ptr<QOpenGLContext> context_;
    std::unique_ptr<QOpenGLFramebufferObject> buffers_[2];
    int shown_ = 0;
};
