#include "common/FilePanels.h"

#include "common/Alerts.h"

#include <QFileInfo>
#include <QObject>

namespace rz48 {
namespace {
FilePanel* g_panel = nullptr;
}

void setFilePanel(FilePanel* panel)
{
    g_panel = panel;
}

QString askSavePath(const QString& title, const QString& suffix)
{
    return g_panel ? g_panel->savePath(title, suffix) : QString();
}

QString askOpenPath(const QString& title, const QStringList& suffixes)
{
    return g_panel ? g_panel->openPath(title, suffixes) : QString();
}

static QString withExtension(const QString& path, const QString& extension)
{
    if (path.isEmpty())
        return {};
    if (QFileInfo(path).suffix().toLower() != extension) {
        showAlert(QStringLiteral("select a file with .%1 extension").arg(extension));
        return {};
    }
    return path;
}

QString askSavePathWithExtension(const QString& title, const QString& extension)
{
    return withExtension(askSavePath(title, extension), extension);
}

QString askOpenPathWithExtension(const QString& title, const QString& extension, const QStringList& offered)
{
    return withExtension(askOpenPath(title, offered), extension);
}

} // namespace rz48
