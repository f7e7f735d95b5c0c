#pragma once
// Every file the programs write goes through one save, and every file they
// read through one bounded read.
//
// The save writes a temporary file beside the target without buffering,
// checks every write, flushes it to the disk (fsync), then renames it over
// the target: a full disk, a crash or a power cut leaves the old file as it
// was, the temporary file is removed, and the error is the system's reason
// ("No space left on device").
//
// The read refuses what is not a regular file (a device, a pipe, a
// directory) and reads at most the limit plus one byte, whatever the file
// system says of its size.
#include <QByteArray>
#include <QString>
#include <QStringList>

namespace rz48 {

// Writes a file whole or not at all; false (with the reason in `error`) when
// any step fails. A symbolic link is written through: its target is replaced.
bool writeFileAtomically(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Reads a whole regular file of at most `maxBytes`; false (with the reason
// in `error`) when it cannot be opened, is not a regular file, or is larger.
bool readFileBounded(const QString& path, qint64 maxBytes, QByteArray& bytes, QString* error = nullptr);

// The same for UTF-8 text: also false when the bytes are not UTF-8.
bool readUtf8File(const QString& path, qint64 maxBytes, QString& text, QString* error = nullptr);

// Whether two paths name the same existing file (the same device and inode,
// through links), so that a program never writes over what it reads.
bool sameFile(const QString& a, const QString& b);

// A text's lines, ended by LF, CR LF or CR alike, without their ends; a last
// line without an end counts, an empty text has none.
QList<QByteArray> splitLines(const QByteArray& text);

} // namespace rz48
