// The EdiCue line walker on any text, and the fragment parsers on fragments
// cut from the same text.
#include "FuzzSupport.h"
#include "cuelist/PdfImport.h"

#include <QStringDecoder>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    rz48::pdf::ediCueToCueTable(text);
    QList<PDFStringTableItem> fragments;
    int x = 0;
    for (const QString& part : text.split(u'|')) {
        x = part.isEmpty() ? 0 : (x + int(part.at(0).unicode()) % 97) % 600;
        fragments.append({x, 0, part});
    }
    rz48::pdf::filmlightToCueTable(fragments);
    rz48::pdf::pdfTextToCueTable(fragments);
    return 0;
}
