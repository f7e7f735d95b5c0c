#pragma once
// A unit's setup as a text file a person can read, edit and diff: comment
// lines ("#"), then one command line per group of settings, in the order
// A C E G H J M Q U X Y m n r t. Each line is the command that sets what the
// unit reported for that letter: the report's fields read in the report's
// number base and written in the command's (a "Y" report is hexadecimal, the
// "Y" command decimal), positions exactly as reported.
#include "codecs/ProtocolLetters.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace rz48::setup {

// The letters of a setup, in the order their lines are written and sent.
inline constexpr const char* kLetters = protocol::kSetupLetters.data(); // "ACEGHJMQUXYmnrt"
inline constexpr const char* kExtension = "rz48setup";

// The command that sets what a report line says, or none when the line is
// not a report of a setup letter or has fewer fields than the command needs.
std::optional<QString> commandFromReport(const QString& report);

struct Setup {
    QStringList comments; // without their "#"
    QStringList lines;    // the command lines, in the file's order
};

// The file's text: the comments first ("# " and each), then the lines.
QByteArray formatSetup(const Setup& setup);

// The largest setup file read.
inline constexpr qint64 kMaxSetupBytes = 1024 * 1024;

// Reads a setup file; its command lines are kept in the form a saved file
// has them (numbers without leading zeros). A line that is not a comment, empty, or a setting
// command of a setup letter with its number of fields in the command's base
// refuses the file: false, with the line (counted from 1) and why.
// Lines may end with LF, CR LF or CR. A value beyond the field's 32 bits is
// refused with its line; a file without a setting line is refused with
// line 0.
bool parseSetup(const QByteArray& text, Setup& setup, int* badLine, QString* why);
// Reads and parses a setup file; a file that cannot be read gives line -1
// and the system's reason.
bool readSetupFile(const QString& path, Setup& setup, int* badLine, QString* why);

// The letter a command line sets.
inline char letterOf(const QString& line) { return line.isEmpty() ? '\0' : char(line.at(0).toLatin1()); }

} // namespace rz48::setup
