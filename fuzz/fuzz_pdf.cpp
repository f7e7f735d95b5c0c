// Any file dropped as a PDF: document information, page 1's text operators,
// the FilmLight, generic and EdiCue parsers.
#include "FuzzSupport.h"
#include "cuelist/PdfImport.h"

#include <QTemporaryFile>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QTemporaryFile file(QStringLiteral("/tmp/rz48-fuzz-XXXXXX.pdf"));
    if (!file.open())
        return 0;
    file.write(reinterpret_cast<const char*>(data), qint64(size));
    file.flush();
    QList<CueItem> cues;
    QString message;
    rz48::pdf::importPdf(file.fileName(), cues, &message);
    QList<PDFStringTableItem> fragments;
    if (rz48::pdf::scanFirstPage(file.fileName(), fragments)) {
        rz48::pdf::filmlightToCueTable(fragments);
        rz48::pdf::pdfTextToCueTable(fragments);
    }
    QString text;
    if (rz48::pdf::documentText(file.fileName(), text))
        rz48::pdf::ediCueToCueTable(text);
    return 0;
}
