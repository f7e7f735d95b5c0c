// The list's own file (.rz48cues): read; a list that was read writes back
// into bytes that read the same and write the same again.
#include "FuzzSupport.h"
#include "cuelist/NativeCueList.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    rz48::native::looksNative(bytes);
    rz48::native::CueList list;
    QString error;
    if (!rz48::native::readCueList(bytes, list, &error)) {
        if (error.isEmpty())
            std::abort(); // a refusal says why
        return 0;
    }
    const QByteArray written = rz48::native::writeCueList(list);
    rz48::native::CueList again;
    if (!rz48::native::readCueList(written, again, &error) || rz48::native::writeCueList(again) != written)
        std::abort();
    rz48::native::fieldsTheSheetDrops(again);
    return 0;
}
