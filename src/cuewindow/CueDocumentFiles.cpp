// The cue list's files: the list's own file (.rz48cues, every field kept)
// and the cue sheet (.txt, five texts per cue) of the File menu (New, Open,
// Open Recent, Save, Save As, in both windows), and the list offered back
// after a crash.
#include "cuewindow/CueDocument.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FileIo.h"
#include "common/FilePanels.h"
#include "print/CueSheetPdf.h"
#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueFilter.h"
#include "cuewindow/CueHistory.h"

#include <QAction>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>
#include <QSettings>
#include <QStringDecoder>

namespace {

constexpr int kRecentFiles = 8;
const QString kNative = QLatin1String(rz48::native::kExtension);
const QString kSheet = QStringLiteral("txt");

bool isNativePath(const QString& path)
{
    return QFileInfo(path).suffix().compare(kNative, Qt::CaseInsensitive) == 0;
}

} // namespace

void addSheetCommands(QMenu* menu, const std::function<CueDocument*()>& document)
{
    const std::tuple<const char*, QString, void (CueDocument::*)(), QKeySequence> commands[] = {
        {"menuFileNew", CueDocument::tr("&New cue list"), &CueDocument::menuFileNew, QKeySequence::New},
        {"menuFileOpen", CueDocument::tr("&Open cue list..."), &CueDocument::menuFileOpen, QKeySequence::Open},
        {"menuFileSave", CueDocument::tr("&Save cue list"), &CueDocument::menuFileSave, QKeySequence::Save},
        {"menuFileSaveAs", CueDocument::tr("Save cue list &as..."), &CueDocument::menuFileSaveAs,
         QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S)}, // the standard key is empty under a plain X session
        {"menuFileImport", CueDocument::tr("&Import cues..."), &CueDocument::menuFileImport, QKeySequence(Qt::CTRL | Qt::Key_I)},
        {"menuFileExport", CueDocument::tr("&Export cues..."), &CueDocument::menuFileExport, QKeySequence(Qt::CTRL | Qt::Key_E)},
        {"menuFileExportPdf", CueDocument::tr("Export cue sheet as &PDF..."), &CueDocument::menuFileExportPdf, QKeySequence::Print},
    };
    for (const auto& [name, title, command, keys] : commands) {
        QAction* action = menu->addAction(title, menu, [document, command = command] {
            if (CueDocument* d = document())
                (d->*command)();
        });
        action->setObjectName(QLatin1String(name));
        action->setShortcut(keys);
        if (command == &CueDocument::menuFileOpen) {
            // The last files opened or saved, kept between runs.
            QMenu* recent = menu->addMenu(CueDocument::tr("Open &recent"));
            recent->setObjectName(QStringLiteral("menuFileOpenRecent"));
            QObject::connect(recent, &QMenu::aboutToShow, recent, [recent, document] {
                recent->clear();
                for (const QString& path : CueDocument::recentFiles())
                    recent->addAction(path, recent, [document, path] {
                        if (CueDocument* d = document())
                            d->openFile(path);
                    });
                recent->setEnabled(!recent->isEmpty());
            });
        }
    }
}

QStringList CueDocument::recentFiles()
{
    return QSettings().value(QStringLiteral("recentCueLists")).toStringList();
}

void CueDocument::rememberFile(const QString& path)
{
    QStringList recent = recentFiles();
    const QString absolute = QFileInfo(path).absoluteFilePath();
    recent.removeAll(absolute);
    recent.prepend(absolute);
    QSettings().setValue(QStringLiteral("recentCueLists"), recent.mid(0, kRecentFiles));
}

void CueDocument::setVideo(const rz48::native::ListVideo& video)
{
    if (video == kept_.video)
        return;
    kept_.video = video;
    history_->touch();
    setModified(true);
}

rz48::native::CueList CueDocument::nativeList() const
{
    rz48::native::CueList list = kept_;
    list.options = options();
    list.cues = collection();
    return list;
}

bool CueDocument::saveList(const QString& path, QString* error)
{
    const QByteArray bytes = isNativePath(path) ? rz48::native::writeCueList(nativeList()) : stringFromCueTable().toUtf8();
    if (!rz48::writeFileAtomically(path, bytes, error))
        return false;
    filePath_ = path;
    history_->setFilePath(path);
    history_->markClean();
    setModified(false);
    rememberFile(path);
    return true;
}

bool CueDocument::openList(const QString& path, QString* error)
{
    // The list's own file by its content, whatever its name; else a cue
    // sheet or any UTF-8 text with times.
    QByteArray bytes;
    if (!rz48::readFileBounded(path, rz48::native::kMaxBytes, bytes, error))
        return false;
    rz48::native::CueList list;
    const bool native = rz48::native::looksNative(bytes);
    if (native && !rz48::native::readCueList(bytes, list, error))
        return false;
    QString text;
    if (!native) {
        if (bytes.size() > rz48::cuesheet::kMaxSheetBytes)
            return rz48::readUtf8File(path, rz48::cuesheet::kMaxSheetBytes, text, error); // says why
        QStringDecoder decoder(QStringDecoder::Utf8);
        text = decoder.decode(bytes);
        if (decoder.hasError()) {
            if (error)
                *error = tr("the file is not UTF-8 text");
            return false;
        }
    }
    // Open appends: the list keeps its file only when it was empty before.
    const bool wasEmpty = collection().isEmpty();
    history_->recordNow();
    history_->nameNextStep(tr("Open %1").arg(QFileInfo(path).fileName()));
    if (native) {
        // The file's options and fields come with it into an empty list;
        // appended to a list, only its cues.
        if (wasEmpty) {
            applyOptions(list.options);
            kept_ = list;
            kept_.cues.clear();
            emit videoChanged(kept_.video);
        }
        controller_->appendItems(list.cues);
    } else {
        controller_->cueTableFromString(text, this);
    }
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
    rememberFile(path);
    return true;
}

bool CueDocument::openFile(const QString& path)
{
    QString error;
    const bool opened = openList(path, &error);
    if (opened)
        rz48::diag("cue list opened: %s\n", qPrintable(path));
    else
        rz48::showError(tr("cannot open %1").arg(path), error);
    showWindows();
    return opened;
}

// ---------------------------------------------------------------- the File menu

bool CueDocument::sheetMayDrop(const QString& path)
{
    // A sheet holds five texts per cue: what it would drop is named first.
    if (isNativePath(path))
        return true;
    const QStringList dropped = rz48::native::fieldsTheSheetDrops(nativeList());
    if (dropped.isEmpty())
        return true;
    enum { SaveAsList, SaveSheet, Cancel };
    const int choice = rz48::askButtons(
        tr("%1 is a cue sheet, which cannot hold the list's %2.").arg(QFileInfo(path).fileName(), dropped.join(tr(", "))),
        tr("Save the list as a cue list (.%1) to keep them, or save the sheet without them.").arg(kNative),
        {tr("Save as cue list..."), tr("Save sheet without them"), tr("Cancel")}, SaveAsList, Cancel);
    if (choice == SaveAsList) {
        const QString native = rz48::askSavePathAmong(tr("Save cue list"), {kNative});
        QString error;
        if (!native.isEmpty() && !saveList(native, &error))
            rz48::showError(tr("cannot save %1").arg(native), error);
    }
    return choice == SaveSheet;
}

void CueDocument::menuFileSave()
{
    if (filePath_.isEmpty()) {
        menuFileSaveAs();
        return;
    }
    if (!sheetMayDrop(filePath_))
        return;
    QString error;
    if (!saveList(filePath_, &error))
        rz48::showError(tr("cannot save %1").arg(filePath_), error);
}

void CueDocument::menuFileSaveAs()
{
    // A new list is saved as a cue list; one that came from a sheet is
    // offered as a sheet first.
    const bool sheetFirst = !filePath_.isEmpty() && !isNativePath(filePath_);
    const QString path = rz48::askSavePathAmong(tr("Save cue list"), sheetFirst ? QStringList {kSheet, kNative} : QStringList {kNative, kSheet});
    if (path.isEmpty() || !sheetMayDrop(path))
        return;
    QString error;
    const bool written = saveList(path, &error);
    rz48::diag("status: %d\n", written ? 1 : 0);
    if (!written)
        rz48::showError(tr("cannot save %1").arg(path), error);
}

void CueDocument::menuFileExportPdf()
{
    QString path = rz48::askSavePath(tr("Export the cue sheet as PDF"), QStringLiteral("pdf"));
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) != 0)
        path += QStringLiteral(".pdf");
    rz48::print::PdfOptions pdf;
    pdf.title = filePath_.isEmpty() ? tr("Untitled") : QFileInfo(filePath_).completeBaseName();
    rz48::native::CueList list = nativeList();
    if (const QList<int> shown = shownCues(); shown.size() != collection().size()) {
        // Filtered to a character (or a status): that sheet, the cues shown.
        list.cues.clear();
        for (int cue : shown)
            list.cues << collection()[cue];
        if (!filterCharacter().isEmpty())
            pdf.title += QStringLiteral(" - ") + filterCharacter();
    } else if (!rz48::cuewindow::charactersOf(collection()).isEmpty()) {
        const int layout = rz48::askButtons(tr("Print the cue sheet as one list, or one section per character?"), QString(),
                                            {tr("One list"), tr("A section per character"), tr("Cancel")}, 0, 2);
        if (layout == 2)
            return;
        pdf.byCharacter = layout == 1;
    }
    QString error;
    const QByteArray bytes = rz48::print::cueSheetPdf(list, pdf, nullptr, &error);
    if (bytes.isEmpty() || !rz48::writeFileAtomically(path, bytes, &error))
        rz48::showError(tr("cannot write %1").arg(path), error);
}

void CueDocument::menuFileOpen()
{
    const QString path = rz48::askOpenPathAmong(tr("Open cue list"), {kNative, kSheet});
    if (!path.isEmpty())
        openFile(path);
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
    kept_ = {};
    emit videoChanged({});
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
        const int cues = int(recovered.list.cues.size());
        const QString what = recovered.savedPath.isEmpty() ? tr("%n cue(s), never saved", nullptr, cues)
                                                           : tr("%n cue(s), from %1", nullptr, cues).arg(recovered.savedPath);
        int choice = rz48::askButtons(tr("The cue list had changes that were not saved when the panel last stopped. Restore them?"),
                                      what, {tr("Restore"), tr("Not now"), tr("Discard...")}, Restore, NotNow);
        if (choice == Discard
            && rz48::askButtons(tr("Discard the unsaved cue list for good?"), tr("It cannot be brought back afterwards."),
                                {tr("Discard"), tr("Keep it")}, 1, 1)
                != 0)
            choice = NotNow;
        if (choice == Restore) {
            CueHistory::adoptRecovery(waiting);
            controller_->setItems(recovered.list.cues);
            applyOptions(recovered.list.options);
            kept_ = recovered.list;
            kept_.cues.clear();
            emit videoChanged(kept_.video);
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
