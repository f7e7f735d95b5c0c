#include "cues/PreviewWorker.h"

#include "common/Diagnostics.h"
#include "common/WorkerCallback.h"
#include "cues/Picture.h"

#include <unistd.h>

PreviewWorker::PreviewWorker(Traits traits)
    : traits_(traits)
{
}

PreviewWorker::~PreviewWorker()
{
    stopThread();
}

void PreviewWorker::startThread(QObject* parent)
{
    if (thread_.joinable())
        return;
    draw_ = 2;
    thread_ = std::thread([this, parent] { run(parent); });
}

void PreviewWorker::stopThread()
{
    if (!thread_.joinable())
        return;
    abort_ = true;
    thread_.join();
}

QImage PreviewWorker::newPicture()
{
    return QImage(rz48::kPictureWidth, rz48::kPictureHeight, QImage::Format_ARGB32_Premultiplied);
}

void PreviewWorker::run(QObject* parent)
{
    auto finish = [this] {
        if (traits_.completionLine)
            rz48::diag("%s\n", traits_.completionLine);
    };
    if (!traits_.abortTestedAtTop && abort_) {
        finish();
        return;
    }
    int countdown = 0;
    int lastKind = 0;
    for (;;) {
        if (traits_.abortTestedAtTop && abort_)
            break;
        const int request = draw_.exchange(0);
        if (request != 0) {
            const bool transmits = request > 0 && request < int(traits_.transmitFor.size())
                && traits_.transmitFor[size_t(request)] != nullptr;
            if (transmits)
                countdown = kCountdown;
            if (transmits || traits_.everyKindCounts)
                lastKind = request;
            rz48::callParent(parent, "threadNeedsDisplay", render());
        }
        if (countdown != 0) {
            if (countdown == 1 && lastKind > 0 && lastKind < int(traits_.transmitFor.size())) {
                if (const char* callback = traits_.transmitFor[size_t(lastKind)])
                    rz48::callParent(parent, callback);
            }
            --countdown;
        }
        ::usleep(kPeriodMicroseconds);
        if (!traits_.abortTestedAtTop && abort_)
            break;
    }
    finish();
}
