#include "app/SingleInstance.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace rz48::app {

namespace {

constexpr int kWaitMs = 3000;
constexpr qint64 kMostBytes = 64 * 1024;
const QByteArray kEnd = "\n.\n"; // after the last path
const QByteArray kTaken = "ok\n";

// In the user's own runtime folder where there is one (no other user can
// take the name there), else in the temporary folder with the user's id.
QString serverName()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return QDir(runtime).filePath(QStringLiteral("rz48panel.socket"));
    return QStringLiteral("rz48panel-%1").arg(::getuid());
}

} // namespace

bool sendToRunningPanel(const QStringList& files)
{
    QLocalSocket socket;
    socket.connectToServer(serverName());
    if (!socket.waitForConnected(500))
        return false;
    QByteArray message = "\n"; // a request without files brings the panel to the front
    for (const QString& file : files)
        message += QFileInfo(file).absoluteFilePath().toUtf8() + '\n';
    socket.write(message + kEnd.mid(1));
    if (!socket.waitForBytesWritten(kWaitMs))
        return false;
    // The answer is one short line: no more than that is read.
    QByteArray answer;
    while (!answer.endsWith('\n') && answer.size() <= kTaken.size() && socket.waitForReadyRead(kWaitMs))
        answer += socket.read(kTaken.size() + 1 - answer.size());
    return answer == kTaken;
}

InstanceServer::InstanceServer(std::function<void(const QStringList&)> open, QObject* parent)
    : QObject(parent)
    , open_(std::move(open))
    , server_(new QLocalServer(this))
{
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            auto* received = new QByteArray;
            connect(socket, &QObject::destroyed, this, [received] { delete received; });
            connect(socket, &QLocalSocket::readyRead, this, [this, socket, received] {
                *received += socket->read(kMostBytes + 1 - received->size());
                if (received->size() > kMostBytes) {
                    socket->abort();
                    return;
                }
                if (!received->endsWith(kEnd))
                    return;
                QStringList files;
                for (const QByteArray& line : received->split('\n'))
                    if (!line.isEmpty() && line != ".")
                        files << QString::fromUtf8(line);
                received->clear();
                socket->write(kTaken);
                socket->flush();
                open_(files);
            });
        }
    });
}

bool InstanceServer::listen()
{
    QLocalSocket probe;
    probe.connectToServer(serverName());
    if (probe.waitForConnected(200))
        return false; // another panel answers
    QLocalServer::removeServer(serverName()); // left by a panel that stopped
    return server_->listen(serverName());
}

} // namespace rz48::app
