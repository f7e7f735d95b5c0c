// The one save and the one bounded read every program goes through: a full
// disk keeps the old file and says why; devices, pipes and folders are not
// read; nothing past the limit is read.
#include "common/FileIo.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

// Runs a save in a child process whose files may not grow past `limit`
// bytes, as on a nearly full disk: the exit status is 0 when the save said
// it succeeded, else 1; the reason comes back through a pipe.
int saveWithFileLimit(const QString& path, const QByteArray& bytes, rlim_t limit, QString* reason)
{
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return -1;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipeFds[0]);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit cap {limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &cap);
        QString error;
        const bool saved = rz48::writeFileAtomically(path, bytes, &error);
        const QByteArray said = error.toUtf8();
        [[maybe_unused]] const ssize_t n = ::write(pipeFds[1], said.constData(), size_t(said.size()));
        ::_exit(saved ? 0 : 1);
    }
    ::close(pipeFds[1]);
    QByteArray said;
    char buffer[256];
    for (ssize_t n; (n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0;)
        said.append(buffer, n);
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    *reason = QString::fromUtf8(said);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(AtomicSave, AFullDiskKeepsTheOldFileAndSaysWhy)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sheet.txt"));
    ASSERT_TRUE(rz48::writeFileAtomically(path, "the old sheet\n"));
    ::chmod(QFile::encodeName(path).constData(), 0640);

    // Small outputs are the ones a buffered write lost: one byte over, and a
    // few hundred bytes over the limit.
    for (const auto& [limit, size] : {std::pair {rlim_t(0), 1}, {rlim_t(100), 101}, {rlim_t(100), 3000}}) {
        QString reason;
        EXPECT_EQ(saveWithFileLimit(path, QByteArray(size, 'x'), limit, &reason), 1) << size;
        EXPECT_EQ(reason, QStringLiteral("File too large")) << size;
        EXPECT_EQ(contents(path), QByteArray("the old sheet\n")) << size;
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList {QStringLiteral("sheet.txt")}) << size;
    }
    // Within the limit the file is replaced, and keeps its permissions.
    QString reason;
    EXPECT_EQ(saveWithFileLimit(path, QByteArray(100, 'y'), 100, &reason), 0) << reason.toStdString();
    EXPECT_EQ(contents(path), QByteArray(100, 'y'));
    struct stat st {};
    ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);

    // A link is written through; a missing folder is the system's reason.
    const QString link = dir.filePath(QStringLiteral("link.txt"));
    ASSERT_TRUE(QFile::link(path, link));
    ASSERT_TRUE(rz48::writeFileAtomically(link, "through the link\n"));
    EXPECT_EQ(contents(path), QByteArray("through the link\n"));
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    QString error;
    EXPECT_FALSE(rz48::writeFileAtomically(dir.filePath(QStringLiteral("no/such/folder.txt")), "x", &error));
    EXPECT_EQ(error, QStringLiteral("No such file or directory"));
}

TEST(BoundedRead, ReadsRegularFilesUpToTheirLimitOnly)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("ten.txt"));
    ASSERT_TRUE(rz48::writeFileAtomically(path, "0123456789"));
    QByteArray bytes;
    QString error;
    ASSERT_TRUE(rz48::readFileBounded(path, 10, bytes, &error));
    EXPECT_EQ(bytes, QByteArray("0123456789"));
    EXPECT_FALSE(rz48::readFileBounded(path, 9, bytes, &error));
    EXPECT_EQ(error, QStringLiteral("it is larger than 9 bytes, the most that is read of such a file"));

    // A device through a link (its size is 0), a pipe with no writer, a folder.
    const QString zero = dir.filePath(QStringLiteral("zero.mid"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), zero));
    const QString fifo = dir.filePath(QStringLiteral("fifo.txt"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    for (const QString& device : {zero, fifo}) {
        EXPECT_FALSE(rz48::readFileBounded(device, 1 << 20, bytes, &error)) << device.toStdString();
        EXPECT_EQ(error, QStringLiteral("it is not a regular file (a device, a pipe or a socket)"));
    }
    EXPECT_FALSE(rz48::readFileBounded(dir.path(), 1 << 20, bytes, &error));
    EXPECT_EQ(error, QStringLiteral("it is a folder, not a file"));
    EXPECT_FALSE(rz48::readFileBounded(dir.filePath(QStringLiteral("missing")), 10, bytes, &error));
    EXPECT_EQ(error, QStringLiteral("No such file or directory"));

    // The same file through a link is the same file; another is not.
    const QString link = dir.filePath(QStringLiteral("link.txt"));
    ASSERT_TRUE(QFile::link(path, link));
    EXPECT_TRUE(rz48::sameFile(path, link));
    EXPECT_FALSE(rz48::sameFile(path, zero));
    EXPECT_FALSE(rz48::sameFile(path, dir.filePath(QStringLiteral("not yet written"))));
}

TEST(BoundedRead, LinesEndWithLfCrLfOrCr)
{
    EXPECT_EQ(rz48::splitLines("a\rb\r\nc\nd"), (QList<QByteArray> {"a", "b", "c", "d"}));
    EXPECT_EQ(rz48::splitLines("a\r\r\nb\n\n"), (QList<QByteArray> {"a", "", "b", ""}));
    EXPECT_TRUE(rz48::splitLines("").isEmpty());
}

} // namespace
