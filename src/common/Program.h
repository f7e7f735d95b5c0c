#pragma once
// What every command-line program of the panel shares: its name and version
// (for --version and its messages), and the parsing of its command line.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QString>

#include <cstdio>

namespace rz48 {

inline void nameProgram(const char* name)
{
    QCoreApplication::setOrganizationName(QStringLiteral("rz48")); // where settings are kept
    QCoreApplication::setApplicationName(QLatin1String(name));
    QCoreApplication::setApplicationVersion(QStringLiteral(RZ48_VERSION));
}

// Names a windowless program and describes it, with --help and --version.
inline void describeProgram(QCommandLineParser& parser, const char* name, const QString& description)
{
    nameProgram(name);
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    parser.addVersionOption();
}

// Parses the program's arguments: --help (and --help-all, which Qt's help
// option offers) and --version print and exit 0;
// false on a usage error (the parser's errorText() says which).
inline bool parseArguments(QCommandLineParser& parser)
{
    if (!parser.parse(QCoreApplication::arguments()))
        return false;
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    return true;
}

// A command line the program cannot take: said on standard error; exit status 2.
inline int usageError(const QString& message)
{
    const QByteArray name = QCoreApplication::applicationName().toLocal8Bit();
    std::fprintf(stderr, "%s: %s (%s --help tells how to use it)\n", name.constData(), qPrintable(message), name.constData());
    return 2;
}

} // namespace rz48
