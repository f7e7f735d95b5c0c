#pragma once
// Test failures print a QString as its text.
#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
