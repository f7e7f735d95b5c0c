#pragma once
// What the streamer, punch and overlay pages share: the preview with its
// worker (started by the page, stopped when the window closes), the page's
// controls beside it, the link, and sending commands and MIDI triggers.
#include "codecs/ColorCode.h"
#include "pages/PreviewView.h"
#include "pages/PreviewWorker.h"

#include <QColor>

#include <memory>

namespace rz48::link {
class UnitLink;
}
class ReportRouter;

class CuePage : public PreviewView {
    Q_OBJECT
public:
    ~CuePage() override;

    // Sets the page's start-up values and starts its worker, which stops
    // when the window closes.
    void awakeFromNib();
    // The page's controls, laid out beside the preview by the window.
    QWidget* controls() const { return controls_; }
    void setLink(rz48::link::UnitLink* link) { link_ = link; }
    // The report letters the page owns.
    virtual void registerReports(ReportRouter& router) = 0;
    rz48::link::UnitLink* link() const { return link_; }
    // Hands the page's picture to its worker, then the draw request.
    void setDraw(int request);
    void windowClosing();

protected:
    using MakeWorker = std::unique_ptr<PreviewWorker> (*)();
    template <class Worker>
    static std::unique_ptr<PreviewWorker> make()
    {
        return std::make_unique<Worker>();
    }
    // `nilMessage` is printed when a draw is asked for before the worker
    // exists; `makeWorker` makes the page's worker at start-up.
    CuePage(const QString& objectName, const QString& controlsName, const char* nilMessage, MakeWorker makeWorker,
            QWidget* parent);

    PreviewWorker* worker() const { return worker_.get(); }
    // The page's start-up values, before its worker starts.
    virtual void reset() {}
    // The page's current picture, into its worker.
    virtual void updatePicture() = 0;

    void send(const QString& command);
    void trigger(int note);

    QWidget* controls_;

private:
    std::unique_ptr<PreviewWorker> worker_;
    rz48::link::UnitLink* link_ = nullptr;
    const char* nilMessage_;
    MakeWorker makeWorker_;
};

namespace rz48::pages {

inline codecs::Rgb rgbOf(const QColor& c)
{
    return {c.redF(), c.greenF(), c.blueF()};
}

inline QColor colorOf(const codecs::Rgb& c)
{
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), 1.0f);
}

} // namespace rz48::pages
