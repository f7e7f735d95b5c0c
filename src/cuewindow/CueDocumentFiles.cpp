// The cue list's files: the cue sheet of the File menu (New, Open, Save,
// Save As, in both windows) and the list offered back after a crash.
#include "cuewindow/CueDocument.h"

#include "common/FileIo.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueHistory.h"

#include <QAction>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>

void addSheetCommands(QMenu* menu, const std::function<CueDocument*()>& document)
{
    const std::tuple<const char*, QString, void (CueDocument::*)(), QKeySequence> commands[] = {
        {"menuFileNew", CueDocument::tr("&New cue list"), &CueDocument::menuFileNew, QKeySequence::New},
        {"menuFileOpen", CueDocument::tr("&Open cue sheet..."), &CueDocument::menuFileOpen, QKeySequence::Open},
        {"menuFileSave", CueDocument::tr("&Save cue sheet"), &CueDocument::menuFileSave, QKeySequence::Save},
        {"menuFileSaveAs", CueDocument::tr("Save cue sheet &as..."), &CueDocument::menuFileSaveAs, QKeySequence::SaveAs},
    };
    for (const auto& [name, title, command, keys] : commands) {
        QAction* action = menu->addAction(title, menu, [document, command = command] {
            if (CueDocument* d = document())
                (d->*command)();
        });
        action->setObjectName(QLatin1String(name));
        action->setShortcut(keys);
    }
}

bool CueDocument::saveSheet(const QString& path, QString* error)
{
    if (!rz48::writeFileAtomically(path, stringFromCueTable().toUtf8(), error))
        return false;
    filePath_ = path;
    history_->setFilePath(path);
    history_->markClean();
    setModified(false);
    return true;
}

bool CueDocument::openSheet(const QString& path, QString* error)
{
    QString text;
    if (!rz48::readUtf8File(path, rz48::cuesheet::kMaxSheetBytes, text, error))
        return false;
    // Open appends: the list keeps its file only when it was empty before.
    const bool wasEmpty = collection().isEmpty();
    history_->recordNow();
    history_->nameNextStep(tr("Open %1").arg(QFileInfo(path).fileName()));
    controller_->cueTableFromString(text, this);
    filePath_ = wasEmpty ? path : QString();
    history_->setFilePath(filePath_);
    if (wasEmpty) {
        history_->restart();
        history_->markClean();
        setModified(false);
    } else {
        history_->recordNow();
        setModified(true);
    }
    return true;
}

// ---------------------------------------------------------------- the File menu

void CueDocument::menuFileSave()
{
    if (filePath_.isEmpty()) {
        menuFileSaveAs();
        return;
    }
    QString error;
    if (!saveSheet(filePath_, &error))
        rz48::showAlert(tr("cannot save %1").arg(filePath_), error);
}

void CueDocument::menuFileSaveAs()
{
    const QString path = rz48::askSavePathWithExtension(tr("Save cue sheet"), QStringLiteral("txt"));
    if (path.isEmpty())
        return;
    QString error;
    const bool written = saveSheet(path, &error);
    rz48::diag("status: %d\n", written ? 1 : 0);
    if (!written)
        rz48::showAlert(tr("cannot save %1").arg(path), error);
}

void CueDocument::menuFileOpen()
{
    const QString path = rz48::askOpenPathWithExtension(tr("Open cue sheet"), QStringLiteral("txt"),
                                                        {QStringLiteral("TXT"), QStringLiteral("txt")});
    if (path.isEmpty())
        return;
    QString error;
    if (!openSheet(path, &error))
        rz48::showAlert(tr("cannot open %1").arg(path), error);
    showWindows();
}

bool CueDocument::settleChanges(const QString& question)
{
    if (!isModified())
        return true;
    switch (rz48::askSaveChanges(question)) {
    case rz48::SaveChoice::Discard:
        CueHistory::discardRecovery();
        return true;
    case rz48::SaveChoice::Cancel:
        return false;
    case rz48::SaveChoice::Save:
        menuFileSave();
        return !isModified(); // still unsaved: stay
    }
    return false;
}

bool CueDocument::mayClose()
{
    return settleChanges(tr("The cue list has changes that are not saved. Save them before quitting?"));
}

void CueDocument::menuFileNew()
{
    if (!settleChanges(tr("The cue list has changes that are not saved. Save them before starting a new one?")))
        return;
    controller_->setItems({});
    applyOptions(rz48::cuesheet::Options {});
    filePath_.clear();
    history_->setFilePath({});
    history_->restart();
    history_->markClean();
    setModified(false);
}

void CueDocument::offerRecovery()
{
    // Only an explicit, confirmed Discard deletes a recovered list:
    // dismissing the question keeps it for the next start.
    enum { Restore, NotNow, Discard };
    CueHistory::Recovered recovered;
    const QString waiting = CueHistory::waitingRecovery();
    if (!waiting.isEmpty() && CueHistory::readRecovery(waiting, recovered)) {
        const QString what = recovered.savedPath.isEmpty() ? tr("%n cue(s), never saved", nullptr, int(recovered.items.size()))
                                                           : tr("%n cue(s), from %1", nullptr, int(recovered.items.size())).arg(recovered.savedPath);
        int choice = rz48::askButtons(tr("The cue list had changes that were not saved when the panel last stopped. Restore them?"),
                                      what, {tr("Restore"), tr("Not now"), tr("Discard...")}, Restore, NotNow);
        if (choice == Discard
            && rz48::askButtons(tr("Discard the unsaved cue list for good?"), tr("It cannot be brought back afterwards."),
                                {tr("Discard"), tr("Keep it")}, 1, 1)
                != 0)
            choice = NotNow;
        if (choice == Restore) {
            CueHistory::adoptRecovery(waiting);
            controller_->setItems(recovered.items);
            for (const QString& line : recovered.options.split(u'\n', Qt::SkipEmptyParts))
                initValueFromString(line);
            filePath_ = recovered.savedPath;
            history_->setFilePath(filePath_);
            history_->restart();
            history_->markUnsaved();
        } else if (choice == Discard) {
            CueHistory::discardRecovery(waiting);
        } else if (!CueHistory::setRecoveryAside(waiting)) {
            rz48::showAlert(tr("The unsaved cue list could not be set aside: changes made now will replace it."),
                            CueHistory::recoveryPath());
        }
    }
    history_->startRecovery();
}
