#pragma once
// What every command-line program of the panel shares: its name and version
// (for --version and its messages).
#include <QCoreApplication>
#include <QString>

namespace rz48 {

inline void nameProgram(const char* name)
{
    QCoreApplication::setApplicationName(QLatin1String(name));
    QCoreApplication::setApplicationVersion(QStringLiteral(RZ48_VERSION));
}

} // namespace rz48
