// The PDF cue sheets' text, turned into cues: FilmLight's rows of
// positioned fragments, any other program's fragments with times, and
// EdiCue's extracted text. Pure functions; reading the PDF is PdfImport's.
#include "cuelist/PdfImport.h"

#include "cuelist/CueSheet.h"
#include "timecode/TCFormatter.h"

namespace rz48::pdf {

namespace {

bool hasTimecode(const QString& text)
{
    return cuesheet::containsCueTime(text);
}

} // namespace

QList<CueItem> filmlightToCueTable(const QList<PDFStringTableItem>& f)
{
    // A row starts where the text wraps back to the left; what comes before
    // the first such fragment is the page header.
    QList<qsizetype> starts;
    int32_t previous = 0;
    for (qsizetype i = 0; i < f.size(); ++i) {
        if (f[i].x < previous)
            starts << i;
        previous = f[i].x;
    }
    QList<CueItem> cues;
    const qsizetype last = f.size() - 1;
    auto text = [&](qsizetype i) { return i >= 0 && i <= last ? f[i].text : QString(); };
    for (qsizetype r = 0; r < starts.size(); ++r) {
        const qsizetype s = starts[r];
        const qsizetype e = r + 1 < starts.size() ? starts[r + 1] - 1 : last;
        if (!(s < last) || !hasTimecode(f[s + 1].text))
            continue;
        // A row shorter than five fragments borrows from the next one.
        CueItem cue;
        cue.cueId = text(s);
        cue.cueIn = text(s + 1);
        cue.cueOut = text(s + 2);
        cue.cueText = text(s + 3);
        for (qsizetype i = s + 4; i <= e - 1; ++i)
            cue.cueText += text(i);
        cue.cueNotes = text(e);
        cues.append(cue);
    }
    return cues;
}

namespace {

// 0, 1 (an In time) or 2 (In and Out) cue times in a line.
int cueTimesIn(const QString& text)
{
    const std::optional<CueItem> cue = cuesheet::textToCueTable(text);
    return !cue ? 0 : cue->cueOut.isEmpty() ? 1 : 2;
}

bool isBareTime(const QString& text)
{
    const QString t = text.trimmed();
    return t.size() == 11 && hasTimecode(t);
}

} // namespace

QList<CueItem> pdfTextToCueTable(const QList<PDFStringTableItem>& f)
{
    QList<CueItem> cues;
    qsizetype first = 0;
    while (first < f.size() && !hasTimecode(f[first].text))
        ++first;
    if (first >= f.size())
        return cues;
    auto flush = [&](const QString& line) {
        if (std::optional<CueItem> cue = cuesheet::textToCueTable(line))
            cues.append(*cue);
    };
    QString line = f[first].text;
    for (qsizetype i = first + 1; i < f.size(); ++i) {
        if (f[i].text.isEmpty())
            continue;
        // A fragment with a time starts the next cue, except a bare time
        // right after a cue's In time: that is its Out time, in a cell of
        // its own.
        if (hasTimecode(f[i].text) && !(isBareTime(f[i].text) && cueTimesIn(line) == 1)) {
            flush(line);
            line = f[i].text;
        } else {
            line += f[i].text;
        }
    }
    flush(line);
    return cues;
}

QList<CueItem> ediCueToCueTable(const QString& text)
{
    QList<CueItem> cues;
    std::optional<CueItem> current;
    bool expectIn = true;
    bool collecting = false;
    QString previousLine;
    bool havePrevious = false;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t u = text.at(i).unicode();
        if (!((u >= 0x0A && u <= 0x0D) || u == 0x85 || u == 0x2028 || u == 0x2029))
            continue;
        // Only text up to a line end counts: what follows the last one is not read.
        const QString line = cuesheet::removeUniChars(text.mid(start, i - start).trimmed());
        start = i + 1;
        if (line.startsWith(QLatin1String("IN:"))) {
            current = CueItem {};
            current->cueId = havePrevious ? previousLine : QString();
            current->cueNotes.clear();
            expectIn = true;
        }
        if (line.startsWith(QLatin1String("REASON:")) && current)
            current->cueNotes = line.mid(7).trimmed();
        if (line == QLatin1String("1") && current && collecting) {
            cues.append(*current);
            current.reset();
        }
        if (current) {
            if (hasTimecode(line)) {
                const QString time = TCFormatter::getObjectValue(line);
                if (expectIn) {
                    current->cueIn = time;
                    expectIn = false;
                } else {
                    current->cueOut = time;
                    current->cueText.clear();
                    collecting = true;
                }
            } else if (collecting) {
                current->cueText += line;
            }
        }
        previousLine = line;
        havePrevious = true;
    }
    return cues;
}

} // namespace rz48::pdf
