#include "common/FileIo.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QRandomGenerator>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rz48 {

namespace {

QString systemReason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

bool failWith(QString* error, const QString& why)
{
    if (error)
        *error = why;
    return false;
}

// The file a path stands for: a link's target, followed to its end.
QByteArray writtenPath(const QString& path)
{
    const QByteArray local = QFile::encodeName(path);
    char resolved[PATH_MAX];
    struct stat st {};
    if (::lstat(local.constData(), &st) == 0 && S_ISLNK(st.st_mode) && ::realpath(local.constData(), resolved))
        return QByteArray(resolved);
    return local;
}

class Descriptor {
public:
    explicit Descriptor(int fd = -1)
        : fd_(fd)
    {
    }
    ~Descriptor()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    // Closes now, with the result of close(2).
    int close()
    {
        const int result = ::close(fd_);
        fd_ = -1;
        return result;
    }

private:
    int fd_;
};

} // namespace

bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error)
{
    const QByteArray target = writtenPath(path);
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray directory = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : target.left(slash);
    const QByteArray base = target.mid(slash + 1);
    if (base.isEmpty())
        return failWith(error, systemReason(EISDIR));

    // A new name beside the target; the umask applies to its mode.
    QByteArray temporary;
    int opened = -1;
    for (int attempt = 0; attempt < 100 && opened < 0; ++attempt) {
        temporary = directory + "/." + base + '.' + QByteArray::number(QRandomGenerator::global()->generate(), 36) + ".tmp";
        opened = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (opened < 0 && errno != EEXIST)
            return failWith(error, systemReason(errno));
    }
    if (opened < 0)
        return failWith(error, systemReason(EEXIST));
    Descriptor fd(opened);

    auto abandon = [&](int reason) {
        if (fd.get() >= 0)
            fd.close();
        ::unlink(temporary.constData());
        return failWith(error, systemReason(reason));
    };
    // The file keeps its permissions when it is replaced.
    struct stat old {};
    if (::stat(target.constData(), &old) == 0 && S_ISREG(old.st_mode)) {
        [[maybe_unused]] const int owned = ::fchown(fd.get(), old.st_uid, old.st_gid); // only root may give a file away
        ::fchmod(fd.get(), old.st_mode & 07777);
    }

    const char* data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd.get(), data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return abandon(written < 0 ? errno : ENOSPC);
        data += written;
        left -= written;
    }
#ifdef __APPLE__
    // fsync there leaves the data in the drive's cache; this flushes it.
    if (::fcntl(fd.get(), F_FULLFSYNC) != 0 && ::fsync(fd.get()) != 0)
        return abandon(errno);
#else
    if (::fsync(fd.get()) != 0)
        return abandon(errno);
#endif
    if (fd.close() != 0)
        return abandon(errno);
    if (::rename(temporary.constData(), target.constData()) != 0)
        return abandon(errno);
    // The rename itself reaches the disk with the directory.
    Descriptor dir(::open(directory.constData(), O_RDONLY | O_CLOEXEC));
    if (dir.get() >= 0)
        ::fsync(dir.get());
    return true;
}

bool readFileBounded(const QString& path, qint64 maxBytes, QByteArray& bytes, QString* error)
{
    // What is not a regular file is not even opened (opening a serial port
    // moves its modem lines); non-blocking, so that a pipe that takes the
    // place of the file in between cannot make the open wait.
    struct stat before {};
    if (::stat(QFile::encodeName(path).constData(), &before) != 0)
        return failWith(error, systemReason(errno));
    if (S_ISDIR(before.st_mode))
        return failWith(error, QObject::tr("it is a folder, not a file"));
    if (!S_ISREG(before.st_mode))
        return failWith(error, QObject::tr("it is not a regular file (a device, a pipe or a socket)"));
    Descriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (fd.get() < 0)
        return failWith(error, systemReason(errno));
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        return failWith(error, systemReason(errno));
    if (S_ISDIR(st.st_mode))
        return failWith(error, QObject::tr("it is a folder, not a file"));
    if (!S_ISREG(st.st_mode))
        return failWith(error, QObject::tr("it is not a regular file (a device, a pipe or a socket)"));
    QByteArray read;
    read.reserve(qsizetype(std::min<qint64>(st.st_size, maxBytes) + 1));
    char buffer[65536];
    while (read.size() <= maxBytes) {
        const ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failWith(error, systemReason(errno));
        if (n == 0)
            break;
        read.append(buffer, qsizetype(std::min<qint64>(n, maxBytes + 1 - read.size())));
    }
    if (read.size() > maxBytes)
        return failWith(error, QObject::tr("it is larger than %1 bytes, the most that is read of such a file").arg(maxBytes));
    bytes = std::move(read);
    return true;
}

bool readUtf8File(const QString& path, qint64 maxBytes, QString& text, QString* error)
{
    QByteArray bytes;
    if (!readFileBounded(path, maxBytes, bytes, error))
        return false;
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError())
        return failWith(error, QObject::tr("the file is not UTF-8 text"));
    text = std::move(decoded);
    return true;
}

bool sameFile(const QString& a, const QString& b)
{
    struct stat sa {}, sb {};
    if (::stat(QFile::encodeName(a).constData(), &sa) != 0 || ::stat(QFile::encodeName(b).constData(), &sb) != 0)
        return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

QList<QByteArray> splitLines(const QByteArray& text)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '\n' && text[i] != '\r')
            continue;
        lines << text.mid(start, i - start);
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    if (start < text.size())
        lines << text.mid(start);
    return lines;
}

} // namespace rz48
