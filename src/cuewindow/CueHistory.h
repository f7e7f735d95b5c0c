#pragma once
// What keeps a cue list from being lost: every change to the list is one
// step of an undo stack (the list before and after it), and while the list
// has changes that are not saved, the list (exactly, not through the cue
// sheet's format, which loses some of it) is written in its own file's format to a recovery file in
// the user's data directory (every few seconds and on every step), which the
// next start offers to restore after a crash.
#include "cuelist/CueItem.h"
#include "cuelist/NativeCueList.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>

class CueArrayController;
class QTimer;
class QUndoStack;

class CueHistory : public QObject {
    Q_OBJECT
public:
    // `list` gives the whole list as its own file keeps it (the recovery
    // file is one).
    CueHistory(CueArrayController* model, std::function<rz48::native::CueList()> list, QObject* parent = nullptr);

    QUndoStack* stack() const { return stack_; }
    // The name of the step the next change of the list makes ("Paste", "Sort"...).
    void nameNextStep(const QString& name) { nextName_ = name; }
    // Makes the change now pending a step, without waiting for the event loop.
    void recordNow();
    // The list as it stands is where history starts (a new or opened sheet).
    void restart();
    // The list was saved (or its changes discarded): clean, no recovery file.
    void markClean();
    // The list as it stands is not saved anywhere (a restored list).
    void markUnsaved();
    // Recovery files are written from now on (once a waiting one was offered back).
    void startRecovery();

    // Where this panel's recovery file is kept.
    static QString recoveryPath();
    // The recovery file to offer at start: one left by a run that stopped,
    // else the newest one set aside with "Not now"; empty when there is none.
    static QString waitingRecovery();
    // What a recovery file holds: the list, and the file it was saved to (or empty).
    struct Recovered {
        rz48::native::CueList list;
        QString savedPath;
    };
    // False when there is none (or it cannot be read).
    static bool readRecovery(const QString& path, Recovered& recovered);
    static void discardRecovery(const QString& path);
    static void discardRecovery(); // this panel's
    // Keeps a waiting recovery file for a later start, out of the way of this
    // panel's own; false when it cannot be moved.
    static bool setRecoveryAside(const QString& path);
    // A restored recovery file becomes this panel's own.
    static bool adoptRecovery(const QString& path);
    // Something the recovery file holds changed (an option, say): written with the next turn.
    void touch() { recoveryDirty_ = true; }
    // The list's own file, kept in the recovery file's companion.
    void setFilePath(const QString& path) { filePath_ = path; }

signals:
    // Unsaved changes appeared or went (undoing back to the saved list clears them).
    void cleanChanged(bool clean);

private:
    void schedule();
    void writeRecovery();

    CueArrayController* model_;
    std::function<rz48::native::CueList()> list_;
    QUndoStack* stack_;
    QTimer* recoveryTimer_;
    QList<CueItem> snapshot_;
    QString nextName_;
    QString filePath_;
    bool scheduled_ = false;
    bool recovering_ = false;
    bool recoveryDirty_ = true; // the recovery file is written only when it would change
    bool applying_ = false;
    bool recoveryFailed_ = false; // said once, until a write succeeds again
    bool wroteRecovery_ = false;  // the recovery file is this panel's to remove
};
