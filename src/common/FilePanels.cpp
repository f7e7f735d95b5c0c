#include "common/FilePanels.h"

#include "common/Alerts.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QSaveFile>
#include <QStringDecoder>

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

bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

bool readUtf8File(const QString& path, qint64 maxBytes, QString& text, QString* error)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    if (file.size() > maxBytes)
        return fail(QObject::tr("the file has %1 bytes, more than the %2 read").arg(file.size()).arg(maxBytes));
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString decoded = decoder.decode(file.read(maxBytes + 1));
    if (file.error() != QFileDevice::NoError)
        return fail(file.errorString());
    if (decoder.hasError())
        return fail(QObject::tr("the file is not UTF-8 text"));
    text = std::move(decoded);
    return true;
}

} // namespace rz48
