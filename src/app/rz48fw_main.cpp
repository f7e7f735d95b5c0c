// rz48fw: checks an update file for the RZ-48 before the session, with the
// same check the panel runs before it sends anything to the unit.
#include "common/FileIo.h"
#include "common/Program.h"
#include "update/FirmwareCheck.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr qint64 kMaxFileBytes = 64 * 1024 * 1024;

constexpr const char* kDescription =
    "Checks an RZ-48 update file, as the panel does before it sends anything to the unit.\n"
    "\n"
    "  rz48fw check FILE   FILE.s19 (microcontroller program) or FILE.mcs (FPGA configuration).\n"
    "                      Prints \"ok\" with the record count and the address range, or the\n"
    "                      first bad line as \"LINE: why\" (lines counted from 1). What the update\n"
    "                      leaves out of a good file (S1 data below 0x8000, S2/S3 data) is\n"
    "                      named in warnings on standard error.\n"
    "\n"
    "Exit status: 0 good, 1 refused, 2 wrong usage, 3 the file cannot be read.";

int check(const QString& path)
{
    using namespace rz48::update;
    const FirmwareKind kind = firmwareKindOf(path);
    if (kind == FirmwareKind::Unknown)
        return rz48::usageError(QStringLiteral("%1: the kind of file is told by its extension, .s19 or .mcs").arg(path));
    QByteArray bytes;
    QString error;
    if (!rz48::readFileBounded(path, kMaxFileBytes, bytes, &error)) {
        std::fprintf(stderr, "rz48fw: cannot read %s: %s\n", qPrintable(path), qPrintable(error));
        return 3;
    }
    const FirmwareCheck result = checkFirmwareFile(kind, bytes);
    for (const QString& warning : result.warnings)
        std::fprintf(stderr, "rz48fw: warning: line %s\n", qPrintable(warning));
    std::printf("%s\n", qPrintable(result.verdict()));
    return result.ok ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    rz48::describeProgram(parser, "rz48fw", QString::fromUtf8(kDescription));
    parser.addPositionalArgument(QStringLiteral("check"), QStringLiteral("The command."));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The update file, .s19 or .mcs."));
    if (!rz48::parseArguments(parser))
        return rz48::usageError(parser.errorText());
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty())
        return rz48::usageError(QStringLiteral("no command"));
    if (arguments.first() != QLatin1String("check"))
        return rz48::usageError(QStringLiteral("unknown command %1").arg(arguments.first()));
    if (arguments.size() != 2)
        return rz48::usageError(QStringLiteral("check takes one file"));
    return check(arguments[1]);
}
