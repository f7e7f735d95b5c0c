#pragma once
// The printed cue sheet: a PDF with a header (the list's name, frame rate and
// MIDI start), one row per cue (ID, In, Out, character, text, reason,
// status; long texts wrap, never cut), page numbers, and optionally one
// section per character. The list's own file is attached inside the PDF, so
// that reading the PDF back restores the list exactly.
#include "cuelist/NativeCueList.h"

#include <QByteArray>
#include <QString>

namespace rz48::print {

enum class Paper { A4, Letter };

struct PdfOptions {
    QString title;            // the list's name
    Paper paper = Paper::A4;
    bool byCharacter = false; // a section per character, each from a new page
};

// The PDF's bytes, and its page count in `pages`; empty with the reason in
// `error` when it cannot be made. Needs a QGuiApplication (fonts).
QByteArray cueSheetPdf(const rz48::native::CueList& list, const PdfOptions& options, int* pages = nullptr, QString* error = nullptr);

} // namespace rz48::print
