#pragma once
// PDF cue sheets. Three kinds, told apart by the document information:
// sheets made by EdiCue (read from the document's plain text), sheets whose
// author is FilmLight (positioned text fragments of page 1, row by row), and
// any other PDF (fragments of page 1, one cue per fragment holding a time).
#include "cuelist/CueItem.h"
#include "cuelist/NativeCueList.h"

#include <QList>
#include <QString>

#include <cstdint>

// One text fragment of a PDF page, at the text position it was shown at.
struct PDFStringTableItem {
    int32_t x = -1;
    int32_t y = -1;
    QString text;
    bool operator==(const PDFStringTableItem& o) const { return x == o.x && y == o.y && text == o.text; }
};

namespace rz48::pdf {

// The largest PDF read.
inline constexpr qint64 kMaxPdfBytes = 64 * 1024 * 1024;

struct DocumentInfo {
    QString author;
    QString creator;
};

// Reads Author and Creator from the document information dictionary
// (nested dictionaries visited). 0 on success; -1 when the file cannot be
// read as a PDF, is locked with a password, or has no pages (`error` says which).
int32_t getAuthorAndCreator(const QString& path, DocumentInfo& info, QString* error = nullptr);

// The text fragments of page 1 in content-stream order, from the operators
// Tm (integer operands only move the position), Tj and TJ (the strings at even
// positions). False with `error` when the page cannot be read.
bool scanFirstPage(const QString& path, QList<PDFStringTableItem>& fragments, QString* error = nullptr);

// The plain text of every page in reading order (for EdiCue sheets).
bool documentText(const QString& path, QString& text, QString* error = nullptr);

QList<CueItem> filmlightToCueTable(const QList<PDFStringTableItem>& fragments);
QList<CueItem> pdfTextToCueTable(const QList<PDFStringTableItem>& fragments);
QList<CueItem> ediCueToCueTable(const QString& text);

// One whole PDF sheet: its kind decided by Author and Creator. False, with
// a message for the operator, when the file is skipped; `cues` then holds
// nothing from it.
bool importPdf(const QString& path, QList<CueItem>& cues, QString* message = nullptr, rz48::native::CueList* attached = nullptr);
// The cue list a PDF cue sheet of this program carries inside it (its own
// file, attached when it was printed); false when there is none.
bool attachedCueList(const QString& path, rz48::native::CueList& list);

} // namespace rz48::pdf
