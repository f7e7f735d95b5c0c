#include "output/VideoTextures.h"

#include "emulator/OutputModel.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

VideoTextures::VideoTextures() = default;

VideoTextures::~VideoTextures()
{
    if (context_ && buffers_[0]) {
        buffers_[0].reset();
        buffers_[1].reset();
        context_->doneCurrent();
    }
}

bool VideoTextures::begin(QOpenGLContext* share, QOffscreenSurface* surface, QString* why)
{
    context_ = std::make_unique<QOpenGLContext>();
    context_->setShareContext(share);
    context_->setFormat(share->format());
    if (!context_->create() || !context_->shareContext()) {
        *why = QStringLiteral("no OpenGL context could share the window's");
        return false;
    }
    if (!context_->makeCurrent(surface)) {
        *why = QStringLiteral("the player's OpenGL context could not be made current");
        return false;
    }
    for (auto& buffer : buffers_) {
        buffer = std::make_unique<QOpenGLFramebufferObject>(rz48::emu::kOutputWidth, rz48::emu::kOutputHeight);
        if (!buffer->isValid()) {
            buffers_[0].reset();
            buffers_[1].reset();
            *why = QStringLiteral("no OpenGL framebuffer of 1920 x 1080 could be made");
            return false;
        }
    }
    return true;
}

rz48::emu::OpenGlDrawing VideoTextures::drawing() const
{
    rz48::emu::OpenGlDrawing gl;
    gl.procAddress = [](void* context, const char* name) {
        return reinterpret_cast<void*>(static_cast<QOpenGLContext*>(context)->getProcAddress(name));
    };
    gl.context = context_.get();
    return gl;
}

rz48::emu::Framebuffer VideoTextures::spare() const
{
    const QOpenGLFramebufferObject& buffer = *buffers_[1 - shown_];
    return {buffer.handle(), buffer.width(), buffer.height()};
}

unsigned VideoTextures::swap()
{
    // The window's context reads the texture: it is whole before it is handed on.
    context_->functions()->glFinish();
    shown_ = 1 - shown_;
    return buffers_[shown_]->texture();
}
