#pragma once
// A setup's settings in words: the name of each group a setup letter sets,
// and each field of its command line by name and value ("Colour bars: on"),
// for the comments of a setup file and the window's comparisons. The letters
// stay as a detail; rz48ctl keeps its letter lines for scripts.
#include <QList>
#include <QString>

namespace rz48::setup {

struct FieldInWords {
    QString name;  // "Colour bars"
    QString value; // "on"
};

// The group a setup letter sets ("Colour bars and grey scale"), or the letter.
QString groupName(char letter);
// Each field of a setting command line, by name and value; empty for a line
// that is not a setting of a setup letter.
QList<FieldInWords> fieldsInWords(const QString& line);
// The comment written above a setting line: its group and its fields' names.
QString commentFor(const QString& line);
// Where two lines of one letter differ, field by field:
// "Colour bars: file off, unit on". A line that is missing is named so.
QString differenceInWords(char letter, const QString& file, const QString& unit);

} // namespace rz48::setup
