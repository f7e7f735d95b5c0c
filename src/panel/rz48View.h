#pragma once
// The controller of the panel window: creates the long-lived objects, finds
// the unit, sends the start-up queries, turns every received chunk into
// report lines and hands each to the owner of its letter (a report never
// sends anything back). The main tab, the pages, the update controller and
// the cue document each own their controls, reports and commands.
#include "panel/LinkOptions.h"

#include <QElapsedTimer>

class MsgClass;
#include <QWidget>

#include <memory>

class AnnunciatorView;
class CueDocument;
class QLabel;
class MainTab;
class MonitorView;
class PunchView;
class QTabWidget;
class QTimer;
class ReportRouter;
class SetupController;
class OutputController;
class UpdateController;

namespace rz48::link {
class UnitLink;
}

class rz48View : public QWidget {
    Q_OBJECT
public:
    explicit rz48View(QWidget* parent = nullptr);
    ~rz48View() override;

    // The start-up sequence, run once the window exists.
    void awakeFromNib(const LinkOptions& options = {});

    // Every line the unit reports, as the link hands it on.
    void processRxString(const QString& line);
    void timer_service();
    // The panel's own window is closing: stop the link.
    void windowClosing();
    // Whether the panel may close: unsaved cue list edits are offered for saving.
    bool mayClose();

    // What a drag of file names over the panel is offered (the drop itself
    // is always refused).
    static Qt::DropAction dragOperationFor(const class QMimeData* data, Qt::DropActions allowed);

    // --- state ---
    // The link to the unit and where its connection stands; none once the window has closed.
    rz48::link::UnitLink* link() const { return link_.get(); }
    // What the link has received and not yet cut into lines.
    const MsgClass* msg() const;
    int tag() const { return tag_; }
    QTimer* timer() const { return aTimer; }
    QTabWidget* tabView() const { return tabViewRz48; }
    MainTab* mainTab() const { return mainTab_; }
    UpdateController* updates() const { return updates_; }
    SetupController* setups() const { return setups_; }
    OutputController* outputs() const { return outputs_; }
    // The unit is the panel's own emulated one (--simulate).
    bool isSimulated() const { return simulated_; }
    CueDocument* cueDocument() const { return cueDocument_.get(); }
    MonitorView* monitorView() const { return monitorView_; }
    PunchView* punchView() const { return punchView_; }
    AnnunciatorView* annunciatorView() const { return annunciatorView_; }
    // True once the start-up reports have come in and the link is quiet.
    bool startupSettled() const;
    int linesProcessed() const { return linesProcessed_; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void buildWindow();
    void registerReports();
    // The unit answered: the link starts and the start-up queries go out.
    void onConnected();
    void sendStartupQueries();
    void showConnection();

    // Long-lived objects.
    std::unique_ptr<rz48::link::UnitLink> link_;
    std::unique_ptr<CueDocument> cueDocument_;
    std::unique_ptr<ReportRouter> router_;
    QTimer* aTimer = nullptr;
    int tag_ = 0;
    QElapsedTimer sinceStart_;
    int linesProcessed_ = 0;
    bool started_ = false;
    bool simulated_ = false;

    QTabWidget* tabViewRz48 = nullptr;
    MainTab* mainTab_ = nullptr;
    UpdateController* updates_ = nullptr;
    SetupController* setups_ = nullptr;
    OutputController* outputs_ = nullptr;
    QLabel* banner_ = nullptr;
    MonitorView* monitorView_ = nullptr;
    PunchView* punchView_ = nullptr;
    AnnunciatorView* annunciatorView_ = nullptr;
};
