// The check of an .mcs file, the FPGA relay's batches of its lines, and the
// echo check of each batch against what the unit sends back.
#include "FuzzSupport.h"
#include "update/FirmwareCheck.h"
#include "update/UpdateImages.h"

#include <QStringList>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const size_t half = size / 2;
    rz48::update::checkFpgaConfiguration(QByteArray(reinterpret_cast<const char*>(data), qsizetype(half))).verdict();
    const QStringList lines = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(half)).split(u'\n');
    const QByteArray unit(reinterpret_cast<const char*>(data + half), qsizetype(size - half));
    qsizetype next = 0;
    qsizetype offset = 0;
    while (next < lines.size()) {
        const qsizetype before = next;
        const QByteArray tx = rz48::update::nextFpgaBatch(lines, next) + '\r';
        QByteArray rx;
        while (offset < unit.size() && !rx.endsWith('\n')) { // the unit's answer, a few bytes at a time
            rz48::update::appendReceived(rx, unit.mid(offset, 7));
            offset += 7;
        }
        rz48::update::echoMatches(tx, rx);
        if (next == before) // a line too long for any batch is never sent
            break;
    }
    return 0;
}
