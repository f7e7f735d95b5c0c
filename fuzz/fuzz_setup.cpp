// A setup file read as the panel and rz48ctl read one, and every report line
// turned into the command that sets it.
#include "FuzzSupport.h"
#include "codecs/SetupFile.h"

#include <QTemporaryFile>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    rz48::setup::Setup setup;
    int line = 0;
    QString why;
    if (rz48::setup::parseSetup(bytes, setup, &line, &why)) {
        // A file that was read writes back into one that reads the same.
        rz48::setup::Setup again;
        if (!rz48::setup::parseSetup(rz48::setup::formatSetup(setup), again, &line, &why) || again.lines != setup.lines)
            std::abort();
    } else if (line < 0 || (line == 0 && !setup.lines.isEmpty()) || line > bytes.count('\n') + bytes.count('\r') + 1) {
        std::abort(); // the refused line is one the file has
    }
    // The same bytes as a file, through the bounded read: the same verdict.
    QTemporaryFile file(QStringLiteral("/tmp/rz48-fuzz-XXXXXX.rz48setup"));
    if (file.open()) {
        file.write(bytes);
        file.flush();
        rz48::setup::Setup fromFile;
        int fileLine = 0;
        QString fileWhy;
        const bool read = rz48::setup::readSetupFile(file.fileName(), fromFile, &fileLine, &fileWhy);
        rz48::setup::Setup direct;
        if (read != rz48::setup::parseSetup(bytes, direct, &line, &why) || fromFile.lines != direct.lines)
            std::abort();
    }
    for (const QByteArray& report : bytes.split('\n'))
        rz48::setup::commandFromReport(QString::fromUtf8(report));
    return 0;
}
