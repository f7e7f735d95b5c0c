#include "output/OutputPicture.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLTextureBlitter>
#include <QOpenGLWidget>
#include <QPainter>

#include <memory>

namespace {

QRect sixteenByNine(const QSize& within)
{
    QSize size(16, 9);
    size.scale(within, Qt::KeepAspectRatio);
    return {QPoint((within.width() - size.width()) / 2, (within.height() - size.height()) / 2), size};
}

void setUp(QWidget* picture)
{
    picture->setObjectName(QStringLiteral("outputPicture"));
    picture->setMinimumSize(320, 180);
    picture->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void drawImage(QPainter& painter, const QRect& target, const QImage& image)
{
    if (image.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter.drawImage(target, image);
}

class SoftwarePicture : public QWidget {
public:
    SoftwarePicture(const OutputShown& frame, QWidget* parent)
        : QWidget(parent)
        , frame_(frame)
    {
        setUp(this);
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::black);
        drawImage(painter, sixteenByNine(size()), frame_.image);
    }

private:
    const OutputShown& frame_;
};

class OpenGlPicture : public QOpenGLWidget, private QOpenGLFunctions {
public:
    OpenGlPicture(const OutputShown& frame, PictureContext onContext, QWidget* parent)
        : QOpenGLWidget(parent)
        , frame_(frame)
        , onContext_(std::move(onContext))
    {
        setUp(this);
    }
    ~OpenGlPicture() override
    {
        contextGoes();
        if (context())
            disconnect(context(), &QOpenGLContext::aboutToBeDestroyed, this, nullptr);
    }

protected:
    void initializeGL() override
    {
        initializeOpenGLFunctions();
        blitter_.create();
        surface_ = std::make_unique<QOffscreenSurface>();
        surface_->setFormat(context()->format());
        surface_->create();
        connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &OpenGlPicture::contextGoes, Qt::DirectConnection);
        onContext_(context(), surface_.get());
    }

    void paintGL() override
    {
        QPainter painter(this);
        const QRect target = sixteenByNine(size());
        painter.beginNativePainting();
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        if (frame_.texture && blitter_.isCreated()) {
            const qreal scale = devicePixelRatioF();
            const QRect viewport(QPoint(0, 0), size() * scale);
            const QRect onDevice(target.topLeft() * scale, target.size() * scale);
            blitter_.bind();
            blitter_.blit(frame_.texture, QOpenGLTextureBlitter::targetTransform(onDevice, viewport),
                          QOpenGLTextureBlitter::OriginTopLeft);
            blitter_.release();
        }
        painter.endNativePainting();
        drawImage(painter, target, frame_.image);
    }

private:
    // The player lets the context go first: it shares the textures.
    void contextGoes()
    {
        if (!surface_)
            return;
        const bool free = onContext_(nullptr, nullptr);
        makeCurrent();
        blitter_.destroy();
        doneCurrent();
        if (!free)
            (void)surface_.release(); // still the player's: never destroyed under it
        surface_.reset();
    }

    const OutputShown& frame_;
    PictureContext onContext_;
    QOpenGLTextureBlitter blitter_;
    std::unique_ptr<QOffscreenSurface> surface_;
};

// OpenGL where the platform has it from a graphics card: an OpenGL that
// draws in software (Mesa's llvmpipe, as on a machine without a driver)
// draws the video slower than the software renderer, so that one is used
// there, unless RZ48_VIDEO_DRAWING=opengl asks for OpenGL all the same.
bool openGlUsable()
{
    const QString asked = qEnvironmentVariable("RZ48_VIDEO_DRAWING");
    if (asked == QLatin1String("software"))
        return false;
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        return false;
    QOpenGLContext probe;
    QOffscreenSurface surface;
    surface.create();
    if (!probe.create() || !probe.makeCurrent(&surface))
        return false;
    const auto* name = reinterpret_cast<const char*>(probe.functions()->glGetString(GL_RENDERER));
    const QString renderer = QString::fromLatin1(name ? name : "");
    probe.doneCurrent();
    if (asked == QLatin1String("opengl"))
        return true;
    for (const char* software : {"llvmpipe", "softpipe", "swrast", "Software Rasterizer"})
        if (renderer.contains(QLatin1String(software), Qt::CaseInsensitive))
            return false;
    return true;
}

} // namespace

QWidget* makeOutputPicture(const OutputShown& frame, PictureContext onContext, QWidget* parent, bool* openGl)
{
    *openGl = openGlUsable();
    if (*openGl)
        return new OpenGlPicture(frame, std::move(onContext), parent);
    return new SoftwarePicture(frame, parent);
}
