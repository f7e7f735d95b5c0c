#pragma once
// Open and save panels go through one small interface: the application
// shows real file dialogs, tests supply the paths. Without a panel every
// request is answered as cancelled.
#include <QString>
#include <QStringList>

namespace rz48 {

class FilePanel {
public:
    virtual ~FilePanel() = default;
    // A path to save to, offering the extension `suffix`; empty when cancelled.
    virtual QString savePath(const QString& title, const QString& suffix) = 0;
    // A file to open among the given extensions; empty when cancelled.
    virtual QString openPath(const QString& title, const QStringList& suffixes) = 0;
    // A path to save to, offering each of the extensions (the first one
    // chosen at first); empty when cancelled.
    virtual QString savePathAmong(const QString& title, const QStringList& suffixes) { return savePath(title, suffixes.value(0)); }
};

void setFilePanel(FilePanel* panel); // not owned; nullptr: every request is cancelled
QString askSavePath(const QString& title, const QString& suffix);
QString askOpenPath(const QString& title, const QStringList& suffixes);
// The same, for a file that must have `extension` (compared without case): a
// path with another one is refused with the alert "select a file with
// .EXT extension" and answered as cancelled.
QString askSavePathWithExtension(const QString& title, const QString& extension);
QString askOpenPathWithExtension(const QString& title, const QString& extension, const QStringList& offered);
// A path to save to or open among several extensions (compared without
// case); another one is refused with the alert "select a file with .A or .B
// extension" and answered as cancelled.
QString askSavePathAmong(const QString& title, const QStringList& extensions);
QString askOpenPathAmong(const QString& title, const QStringList& extensions);

} // namespace rz48
