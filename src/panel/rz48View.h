#pragma once
// The controller of the panel window: creates the long-lived objects, finds
// the unit, sends the start-up queries, turns every received chunk into
// report lines and hands each to the owner of its letter (a report never
// sends anything back). The main tab, the pages, the update controller and
// the cue document each own their controls, reports and commands.
#include "link/MsgClass.h"
#include "panel/LinkOptions.h"

#include <QElapsedTimer>
#include <QWidget>

#include <memory>

class AnnunciatorView;
class ComThread;
class ConnectionController;
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

class rz48View : public QWidget {
    Q_OBJECT
public:
    explicit rz48View(QWidget* parent = nullptr);
    ~rz48View() override;

    // The start-up sequence, run once the window exists.
    void awakeFromNib(const LinkOptions& options = {});

    // The link's thread hands every chunk it reads to this, on the main thread.
    Q_INVOKABLE void threadHasMsg(MsgClass chunk);
    // The link's thread saw the port go away.
    Q_INVOKABLE void threadLinkLost();
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
    ComThread* comThread() const { return comThread_.get(); }
    MsgClass* msg() const { return msg_.get(); }
    int tag() const { return tag_; }
    QTimer* timer() const { return aTimer; }
    QTabWidget* tabView() const { return tabViewRz48; }
    MainTab* mainTab() const { return mainTab_; }
    UpdateController* updates() const { return updates_; }
    SetupController* setups() const { return setups_; }
    ConnectionController* connection() const { return connection_; }
    OutputController* outputs() const { return outputs_; }
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
    std::unique_ptr<MsgClass> msg_;
    std::unique_ptr<ComThread> comThread_;
    std::unique_ptr<CueDocument> cueDocument_;
    std::unique_ptr<ReportRouter> router_;
    QTimer* aTimer = nullptr;
    int tag_ = 0;
    QElapsedTimer lastRx_;
    QElapsedTimer sinceStart_;
    int linesProcessed_ = 0;
    bool started_ = false;

    QTabWidget* tabViewRz48 = nullptr;
    MainTab* mainTab_ = nullptr;
    UpdateController* updates_ = nullptr;
    SetupController* setups_ = nullptr;
    ConnectionController* connection_ = nullptr;
    OutputController* outputs_ = nullptr;
    QLabel* banner_ = nullptr;
    MonitorView* monitorView_ = nullptr;
    PunchView* punchView_ = nullptr;
    AnnunciatorView* annunciatorView_ = nullptr;
};
