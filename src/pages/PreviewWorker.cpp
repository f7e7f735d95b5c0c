#include "pages/PreviewWorker.h"

#include "common/Diagnostics.h"
#include "common/Picture.h"

#include <unistd.h>

PreviewWorker::PreviewWorker(Traits traits, std::function<QImage()> render)
    : loop_(std::make_shared<Loop>())
    , worker_(traits.name)
{
    loop_->traits = traits;
    loop_->render = std::move(render);
}

void PreviewWorker::startThread(QObject* parent)
{
    if (worker_.isRunning())
        return;
    loop_->draw = 2;
    worker_.start(parent, [loop = loop_](rz48::WorkerContext& context) { run(*loop, context); });
}

QImage PreviewWorker::newPicture()
{
    return QImage(rz48::kPictureWidth, rz48::kPictureHeight, QImage::Format_ARGB32_Premultiplied);
}

void PreviewWorker::run(Loop& loop, rz48::WorkerContext& context)
{
    const Traits& traits = loop.traits;
    auto finish = [&traits] {
        if (traits.completionLine)
            rz48::diag("%s\n", traits.completionLine);
    };
    if (!traits.abortTestedAtTop && context.aborting()) {
        finish();
        return;
    }
    int countdown = 0;
    int lastKind = 0;
    for (;;) {
        if (traits.abortTestedAtTop && context.aborting())
            break;
        const int request = loop.draw.exchange(0);
        if (request != 0) {
            const bool transmits = request > 0 && request < int(traits.transmitFor.size())
                && traits.transmitFor[size_t(request)] != nullptr;
            if (transmits)
                countdown = kCountdown;
            if (transmits || traits.everyKindCounts)
                lastKind = request;
            context.callParent("threadNeedsDisplay", loop.render());
        }
        if (countdown != 0) {
            if (countdown == 1 && lastKind > 0 && lastKind < int(traits.transmitFor.size())) {
                if (const char* callback = traits.transmitFor[size_t(lastKind)])
                    context.callParent(callback);
            }
            --countdown;
        }
        ::usleep(kPeriodMicroseconds);
        if (!traits.abortTestedAtTop && context.aborting())
            break;
    }
    finish();
}
