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

static QString withOneOf(const QString& path, const QStringList& extensions)
{
    if (path.isEmpty())
        return {};
    if (!extensions.contains(QFileInfo(path).suffix().toLower())) {
        QStringList dotted;
        for (const QString& e : extensions)
            dotted << QLatin1Char('.') + e;
        const QString last = dotted.takeLast();
        showAlert(QObject::tr("select a file with %1 extension").arg(dotted.isEmpty() ? last : dotted.join(QStringLiteral(", ")) + QObject::tr(" or ") + last));
        return {};
    }
    return path;
}

QString askSavePathAmong(const QString& title, const QStringList& extensions)
{
    return withOneOf(g_panel ? g_panel->savePathAmong(title, extensions) : QString(), extensions);
}

QString askOpenPathAmong(const QString& title, const QStringList& extensions)
{
    return withOneOf(askOpenPath(title, extensions), extensions);
}

} // namespace rz48
