// Cues from other programs' files and back: File > Import... (a DAW's
// session text, EDLs, spreadsheets and marker lists, subtitles, MIDI
// markers) through a preview, and File > Export... (a spreadsheet, an EDL of
// locators, MIDI markers). A drop or paste that one of these formats claims
// goes through the same preview; cue sheets, PDFs and plain text stay
// immediate.
#include "cuewindow/CueDocument.h"

#include "common/Alerts.h"
#include "common/FileIo.h"
#include "common/FilePanels.h"
#include "cuelist/CueFormats.h"
#include "cuelist/CueSheet.h"
#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueHistory.h"
#include "cuewindow/ImportPreview.h"

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>

namespace {

const QStringList kImported {QStringLiteral("txt"), QStringLiteral("csv"), QStringLiteral("tsv"), QStringLiteral("edl"),
                             QStringLiteral("srt"), QStringLiteral("vtt"), QStringLiteral("mid"), QStringLiteral("midi")};

} // namespace

QString CueDocument::claimedFormat(const QByteArray& bytes, const QString& fileName)
{
    // The cue sheet, PDFs, plain text and the list's own file are read as they always were.
    const QString reader = rz48::formats::chooseReader(bytes, fileName);
    return rz48::formats::readerNames().contains(reader) ? reader : QString();
}

bool CueDocument::previewImport(const QByteArray& bytes, const QString& fileName)
{
    ImportPreview preview(bytes, fileName, options().tctype, window_);
    const bool accepted = previewRunner ? previewRunner(preview) : preview.exec() == QDialog::Accepted;
    if (!accepted)
        return false;
    const QList<CueItem> cues = preview.cues();
    if (cues.isEmpty())
        return true;
    // An empty list takes the file's rate.
    if (collection().isEmpty() && preview.tctype() != options().tctype) {
        rz48::cuesheet::Options o = options();
        o.tctype = preview.tctype();
        applyOptions(o);
    }
    history_->recordNow();
    history_->nameNextStep(tr("Import %1").arg(QFileInfo(fileName).fileName()));
    controller_->appendItems(cues);
    history_->recordNow(); // the whole import, one step
    setModified(true);
    return true;
}

bool CueDocument::importFile(const QString& path)
{
    QByteArray bytes;
    QString error;
    if (!rz48::readFileBounded(path, rz48::native::kMaxBytes, bytes, &error)) {
        rz48::showError(tr("cannot import %1").arg(path), error);
        return false;
    }
    if (claimedFormat(bytes, path).isEmpty()) {
        // Not another program's format: the list's own ways (a sheet, a PDF, text).
        return controller_->acceptDrop({path}, true);
    }
    return previewImport(bytes, path);
}

void CueDocument::menuFileImport()
{
    const QString path = rz48::askOpenPath(tr("Import cues"), kImported);
    if (!path.isEmpty())
        importFile(path);
    showWindows();
}

void CueDocument::menuFileExport()
{
    const QString path = rz48::askSavePathAmong(tr("Export cues"), {QStringLiteral("csv"), QStringLiteral("edl"), QStringLiteral("mid")});
    if (path.isEmpty())
        return;
    const QString suffix = QFileInfo(path).suffix().toLower();
    const rz48::cuesheet::Options o = options();
    const QByteArray bytes = suffix == QLatin1String("csv") ? rz48::formats::writeCsv(arrangedObjects(), o.tctype)
                           : suffix == QLatin1String("edl")
                               ? rz48::formats::writeEdlLocators(arrangedObjects(), o.tctype, filePath_.isEmpty() ? tr("Untitled") : QFileInfo(filePath_).completeBaseName())
                               : rz48::formats::writeMidiMarkers(arrangedObjects(), o.tctype, o.start);
    QString error;
    if (!rz48::writeFileAtomically(path, bytes, &error))
        rz48::showError(tr("cannot write %1").arg(path), error);
}

bool CueDocument::dropFiles(const QStringList& paths, bool linkOffered)
{
    if (!linkOffered)
        return controller_->acceptDrop(paths, linkOffered);
    // In order: each file of another program through its preview, the rest as always.
    bool taken = false;
    QStringList own;
    auto flush = [&] {
        if (!own.isEmpty()) {
            history_->nameNextStep(tr("Drop"));
            taken = controller_->acceptDrop(own, true) || taken;
            own.clear();
        }
    };
    for (const QString& path : paths) {
        QByteArray bytes;
        const bool read = rz48::readFileBounded(path, rz48::native::kMaxBytes, bytes);
        rz48::native::CueList list;
        if (read && rz48::native::looksNative(bytes) && rz48::native::readCueList(bytes, list, nullptr)) {
            // A list's own file: its cues, every field kept.
            flush();
            history_->recordNow();
            history_->nameNextStep(tr("Drop"));
            controller_->appendItems(list.cues);
            history_->recordNow();
            taken = true;
        } else if (read && !claimedFormat(bytes, path).isEmpty()) {
            flush();
            taken = previewImport(bytes, path) || taken;
        } else {
            own << path;
        }
    }
    flush();
    return taken;
}

void CueDocument::paste()
{
    const QString text = QGuiApplication::clipboard()->text();
    const QByteArray bytes = text.toUtf8();
    if (!claimedFormat(bytes, QString()).isEmpty()) {
        previewImport(bytes, tr("the clipboard")); // cancelled: nothing changes
        return;
    }
    if (!rz48::cuesheet::containsCueTime(text))
        return; // no line with a time: nothing is pasted
    history_->nameNextStep(tr("Paste"));
    controller_->paste(text);
}
