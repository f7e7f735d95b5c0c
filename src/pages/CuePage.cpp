#include "pages/CuePage.h"

#include "common/Diagnostics.h"
#include "link/UnitLink.h"
#include "windows/WindowClose.h"

CuePage::CuePage(const QString& objectName, const QString& controlsName, const char* nilMessage, MakeWorker makeWorker,
                 QWidget* parent)
    : PreviewView(parent)
    , controls_(new QWidget)
    , nilMessage_(nilMessage)
    , makeWorker_(makeWorker)
{
    setObjectName(objectName);
    controls_->setObjectName(controlsName);
}

CuePage::~CuePage()
{
    if (worker_)
        worker_->stopThread();
}

void CuePage::awakeFromNib()
{
    reset();
    onWindowClose(this, [this] { windowClosing(); });
    worker_ = makeWorker_();
    worker_->startThread(this);
}

void CuePage::windowClosing()
{
    if (worker_)
        worker_->stopThread();
}

void CuePage::setDraw(int request)
{
    if (!worker_) {
        rz48::diag("%s", nilMessage_);
        return;
    }
    updatePicture();
    worker_->setDraw(request);
}

void CuePage::send(const QString& command)
{
    if (link_)
        link_->sendString(command);
}

void CuePage::trigger(int note)
{
    if (link_)
        link_->sendMidiTrigger(note);
}
