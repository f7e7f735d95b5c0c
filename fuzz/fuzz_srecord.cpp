// S-record lines, "j" report lines, the check of a whole .s19 file, and the
// file turned into the records of a microcontroller update.
#include "FuzzSupport.h"
#include "common/Diagnostics.h"
#include "update/FirmwareCheck.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    rz48::DiagCapture quiet;
    const QString text = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QString& line : text.split(u'\n')) {
        SRecord record;
        if (record.setSRec(line.trimmed()) == 0) {
            SRecord copy;
            copy.encode(record.buffer(), record.recType(), record.address(), record.count());
            record.empty();
        }
        SRecord fromJ;
        fromJ.fromJString(line);
    }
    rz48::update::SettingsImage settings;
    settings.address = 0xFC00;
    settings.size = size > 0 ? data[0] : 0;
    for (size_t i = 0; i < settings.buffer.size() && i < size; ++i)
        settings.buffer[i] = data[i];
    rz48::update::microRecords(text, settings);
    rz48::update::checkMicroProgram(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size))).verdict();
    return 0;
}
