#include "cuelist/DelimitedReader.h"

#include "common/TimecodeLabel.h"
#include "cuelist/NativeCueList.h"

#include <algorithm>

namespace rz48::formats {

namespace {

// More columns than any list has are not kept.
constexpr int kMostFields = 256;

struct Record {
    int line = 0;
    QStringList fields;
    bool cut = false; // had more than kMostFields
};

const QStringList& knownWords()
{
    static const QStringList words = {QStringLiteral("id"),        QStringLiteral("in"),    QStringLiteral("out"),
                                      QStringLiteral("character"), QStringLiteral("text"),  QStringLiteral("notes"),
                                      QStringLiteral("reason"),    QStringLiteral("status"), QStringLiteral("skip")};
    return words;
}

// The delimiter of the first line (outside quotes): the most frequent of
// TAB, semicolon and comma, in that order when counts tie.
QChar sniffDelimiter(const QString& text)
{
    int tabs = 0, semicolons = 0, commas = 0;
    bool quoted = false;
    bool any = false;
    for (const QChar c : text) {
        if (c == u'"')
            quoted = !quoted;
        else if (!quoted && (c == u'\n' || c == u'\r')) {
            if (any)
                break;
        } else if (!quoted && c == u'\t')
            ++tabs;
        else if (!quoted && c == u';')
            ++semicolons;
        else if (!quoted && c == u',')
            ++commas;
        any = any || !c.isSpace();
    }
    if (tabs >= semicolons && tabs >= commas && tabs > 0)
        return u'\t';
    return semicolons >= commas && semicolons > 0 ? QChar(u';') : QChar(u',');
}

// RFC 4180 records one at a time, each with the line it starts on; blank
// records skipped.
class RecordReader {
public:
    RecordReader(const QString& text, QChar delimiter) : text_(text), delimiter_(delimiter) {}
    bool next(Record& record);
    bool closed() const { return !quoted_; } // false when the text ends inside quotes
    int openLine() const { return openLine_; }

private:
    const QString& text_;
    QChar delimiter_;
    qsizetype pos_ = 0;
    int line_ = 1;
    bool quoted_ = false;
    int openLine_ = 0;
};

bool RecordReader::next(Record& record)
{
    const qsizetype n = text_.size();
    while (pos_ < n) {
        // Blank lines between records cost nothing.
        while (!quoted_ && pos_ < n && (text_.at(pos_) == u'\n' || text_.at(pos_) == u'\r')) {
            if (text_.at(pos_) == u'\r' && pos_ + 1 < n && text_.at(pos_ + 1) == u'\n')
                ++pos_;
            ++pos_;
            ++line_;
        }
        if (pos_ >= n)
            break;
        record = Record{};
        record.line = line_;
        QString field;
        bool wasQuoted = false;
        bool blank = true; // the field holds only white space so far
        auto endField = [&] {
            if (record.fields.size() < kMostFields)
                record.fields.append(wasQuoted ? field : field.trimmed());
            else
                record.cut = true;
            field.clear();
            wasQuoted = false;
            blank = true;
        };
        bool ended = false;
        for (; pos_ < n && !ended; ++pos_) {
            const QChar c = text_.at(pos_);
            if (quoted_) {
                if (c == u'"' && pos_ + 1 < n && text_.at(pos_ + 1) == u'"') {
                    field += u'"';
                    ++pos_;
                } else if (c == u'"') {
                    quoted_ = false;
                } else {
                    if (c == u'\n' || (c == u'\r' && (pos_ + 1 >= n || text_.at(pos_ + 1) != u'\n')))
                        ++line_;
                    field += c;
                }
            } else if (c == u'"' && !wasQuoted && blank) {
                quoted_ = wasQuoted = true;
                field.clear();
                openLine_ = line_;
            } else if (c == delimiter_) {
                endField();
            } else if (c == u'\n' || c == u'\r') {
                if (c == u'\r' && pos_ + 1 < n && text_.at(pos_ + 1) == u'\n')
                    ++pos_;
                ++line_;
                ended = true;
            } else {
                field += c;
                blank = blank && c.isSpace();
            }
        }
        endField();
        for (const QString& f : std::as_const(record.fields))
            if (!f.isEmpty())
                return true;
    }
    return false;
}

// A time: a label of the type, or HH:MM:SS.mmm (also "," before the milliseconds).
std::optional<int64_t> frameOfCell(const QString& cell, int type)
{
    if (const auto f = frameOfLabelText(cell, type))
        return f;
    const QString t = cell.trimmed();
    const qsizetype dot = std::max(t.lastIndexOf(u'.'), t.lastIndexOf(u','));
    if (dot < 7 || t.size() - dot - 1 != 3)
        return std::nullopt;
    const QStringList hms = t.left(dot).split(u':');
    if (hms.size() != 3)
        return std::nullopt;
    bool ok[4];
    const int h = hms.at(0).toInt(&ok[0]), m = hms.at(1).toInt(&ok[1]), s = hms.at(2).toInt(&ok[2]);
    const int ms = t.mid(dot + 1).toInt(&ok[3]);
    if (!ok[0] || !ok[1] || !ok[2] || !ok[3] || h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 59 || ms < 0
        || hms.at(1).size() != 2 || hms.at(2).size() != 2)
        return std::nullopt;
    return frameOfMilliseconds((int64_t(h) * 3600 + m * 60 + s) * 1000 + ms, type);
}

bool isTime(const QString& cell)
{
    return frameOfCell(cell, 3).has_value() || frameOfCell(cell, 1).has_value();
}

// The headerless marker list: user, timecode, track (V1, A2), colour, comment, duration.
bool isMarkerRow(const QStringList& f)
{
    if (f.size() < 5 || !isTime(f.at(1)))
        return false;
    const QString track = f.at(2);
    if (track.isEmpty() || (track.at(0) != u'V' && track.at(0) != u'A'))
        return false;
    for (qsizetype i = 1; i < track.size(); ++i)
        if (!track.at(i).isDigit())
            return false;
    return true;
}

bool isHeader(const QStringList& f)
{
    bool known = false;
    for (const QString& cell : f) {
        if (isTime(cell))
            return false;
        known = known || mappingWord(cell) != QLatin1String("skip");
    }
    return known;
}

QString cell(const QStringList& row, int column)
{
    return column >= 0 && column < row.size() ? row.at(column) : QString();
}

} // namespace

QString mappingWord(const QString& header)
{
    QString w = header.trimmed().toLower();
    w.replace(u'_', u' ');
    w = w.simplified();
    static const struct {
        const char* word;
        const char* mapping;
    } table[] = {{"in", "in"},          {"start", "in"},         {"timecode", "in"},      {"tc", "in"},
                 {"start time", "in"},  {"time in", "in"},       {"tc in", "in"},         {"out", "out"},
                 {"end", "out"},        {"end time", "out"},     {"time out", "out"},     {"tc out", "out"},
                 {"text", "text"},      {"dialogue", "text"},    {"dialog", "text"},      {"line", "text"},
                 {"marker name", "text"}, {"character", "character"}, {"role", "character"}, {"char", "character"},
                 {"id", "id"},          {"cue", "id"},           {"cue id", "id"},        {"number", "id"},
                 {"notes", "notes"},    {"note", "notes"},       {"comment", "notes"},    {"comments", "notes"},
                 {"description", "notes"}, {"reason", "reason"}, {"status", "status"}};
    for (const auto& entry : table)
        if (w == QLatin1String(entry.word))
            return QLatin1String(entry.mapping);
    return QStringLiteral("skip");
}

bool looksDelimited(const QString& head, const QString& fileName)
{
    const QString suffix = fileName.section(u'.', -1).toLower();
    if (fileName.contains(u'.') && (suffix == QLatin1String("csv") || suffix == QLatin1String("tsv")))
        return true;
    const QString start = head.left(4096);
    if (start.trimmed().startsWith(u';'))
        return false; // the cue sheet's option lines
    RecordReader reader(start, sniffDelimiter(start));
    Record first;
    if (!reader.next(first) || first.fields.size() < 2)
        return false;
    const QStringList& f = first.fields;
    if (isMarkerRow(f))
        return true;
    int known = 0;
    bool in = false;
    for (const QString& word : f) {
        const QString m = mappingWord(word);
        known += m != QLatin1String("skip");
        in = in || m == QLatin1String("in");
    }
    return in && known >= 2 && isHeader(f);
}

Imported readDelimited(const QByteArray& bytes, const ImportOptions& options)
{
    Imported out;
    out.format = QStringLiteral("csv");
    const QString text = decodeText(bytes);
    RecordReader reader(text, sniffDelimiter(text));
    Record top;
    if (!reader.next(top)) {
        if (!reader.closed())
            addProblem(out, reader.openLine(), QStringLiteral("a quoted field is not closed before the end of the file"));
        return out;
    }

    // The columns: named by the option, by the header row, or by the shape of the rows.
    QStringList mapping;
    bool headerRow = false;
    if (!options.columns.isEmpty()) {
        for (const QString& word : options.columns) {
            const QString w = word.trimmed().toLower();
            mapping.append(knownWords().contains(w) ? w : QStringLiteral("skip"));
            if (!knownWords().contains(w))
                addProblem(out, 0, QStringLiteral("\"%1\" is not a column word (%2)").arg(word, knownWords().join(u',')));
        }
        headerRow = isHeader(top.fields);
    } else if (isHeader(top.fields)) {
        for (const QString& word : std::as_const(top.fields))
            mapping.append(mappingWord(word));
        headerRow = true;
    } else if (isMarkerRow(top.fields)) {
        mapping = {QStringLiteral("skip"), QStringLiteral("in"), QStringLiteral("skip"), QStringLiteral("skip"),
                   QStringLiteral("text")};
    } else {
        // No header: the first time is the In, a second one the Out, the
        // first other filled column after the In the text.
        for (const QString& c : std::as_const(top.fields)) {
            const bool time = isTime(c);
            if (time && !mapping.contains(QStringLiteral("in")))
                mapping.append(QStringLiteral("in"));
            else if (time && !mapping.contains(QStringLiteral("out")))
                mapping.append(QStringLiteral("out"));
            else if (!time && !c.isEmpty() && mapping.contains(QStringLiteral("in")) && !mapping.contains(QStringLiteral("text")))
                mapping.append(QStringLiteral("text"));
            else
                mapping.append(QStringLiteral("skip"));
        }
    }
    if (headerRow)
        out.header = top.fields;
    while (mapping.size() < top.fields.size())
        mapping.append(QStringLiteral("skip"));
    out.mapping = mapping;
    const int inColumn = int(mapping.indexOf(QStringLiteral("in")));
    const int outColumn = int(mapping.indexOf(QStringLiteral("out")));
    if (inColumn < 0) {
        addProblem(out, top.line, QStringLiteral("no column holds the In time"));
        return out;
    }

    // First the texts of every row (a row at a time), then the times, once
    // the rows have said whether they are drop-frame (HH;MM;SS;FF, HH:MM:SS;FF).
    struct Row {
        int line;
        QString in;
        QString end;
        CueItem cue;
    };
    QList<Row> rows;
    auto take = [&](const Record& record) {
        if (record.cut)
            addProblem(out, record.line, QStringLiteral("more than %1 columns: the rest is not read").arg(kMostFields));
        Row row{record.line, cell(record.fields, inColumn), cell(record.fields, outColumn), blankCue()};
        CueItem& cue = row.cue;
        for (int c = 0; c < record.fields.size() && c < mapping.size(); ++c) {
            const QString& word = mapping.at(c);
            const QString value = oneLine(record.fields.at(c));
            QString* target = word == QLatin1String("id")          ? &cue.cueId
                : word == QLatin1String("text")                    ? &cue.cueText
                : word == QLatin1String("notes")                   ? &cue.cueNotes
                : word == QLatin1String("character")               ? &cue.character
                : word == QLatin1String("reason")                  ? &cue.reason
                                                                   : nullptr;
            if (target && !value.isEmpty())
                *target = target->isEmpty() ? value : *target + u' ' + value;
            if (word == QLatin1String("status") && !value.trimmed().isEmpty()) {
                if (const auto status = rz48::statusFromName(value.trimmed().toLower()))
                    cue.status = *status;
                else
                    addProblem(out, record.line, QStringLiteral("status \"%1\" is not todo, done or omit").arg(value));
            }
        }
        if (out.tctype < 0 && (row.in.contains(u';') || row.end.contains(u';')))
            out.tctype = 2;
        rows.append(row);
    };
    if (!headerRow)
        take(top);
    Record record;
    while (rows.size() < kMaxCues && reader.next(record))
        take(record);
    if (rows.size() == kMaxCues && reader.next(record))
        addProblem(out, record.line, QStringLiteral("more than %1 rows: the rest is not read").arg(kMaxCues));
    if (!reader.closed())
        addProblem(out, reader.openLine(), QStringLiteral("a quoted field is not closed before the end of the file"));

    const int type = out.tctype >= 0 ? out.tctype : typeOrDefault(options.tctype);
    for (Row& row : rows) {
        const auto in = frameOfCell(row.in, type);
        if (!in) {
            addProblem(out, row.line, row.in.isEmpty() ? QStringLiteral("no In time")
                                                            : QStringLiteral("In \"%1\" is not a time at the list's rate").arg(row.in));
            continue;
        }
        row.cue.cueIn = labelOfFrame(*in, type);
        if (!row.end.isEmpty()) {
            if (const auto end = frameOfCell(row.end, type)) {
                if (*end != *in)
                    row.cue.cueOut = labelOfFrame(*end, type);
            } else {
                addProblem(out, row.line, QStringLiteral("Out \"%1\" is not a time at the list's rate: no Out").arg(row.end));
            }
        }
        if (!addCue(out, row.cue, row.line))
            break;
    }
    std::stable_sort(out.problems.begin(), out.problems.end(), [](const Problem& a, const Problem& b) { return a.line < b.line; });
    return out;
}

QByteArray writeCsv(const QList<CueItem>& cues, int tctype)
{
    const int type = typeOrDefault(tctype);
    auto quoted = [](const QString& value) {
        if (!value.contains(u',') && !value.contains(u'"') && !value.contains(u'\n') && !value.contains(u'\r')
            && value.trimmed() == value)
            return value;
        return u'"' + QString(value).replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"';
    };
    // Times by their digits, as the list holds them (";" before the frames at drop-frame).
    auto time = [type](const QString& stored) { return rz48::native::nativeTime(stored, type); };
    QString text = QStringLiteral("id,in,out,character,text,notes,reason,status\r\n");
    for (const CueItem& c : cues) {
        const QString fields[] = {c.cueId, time(c.cueIn), time(c.cueOut), c.character, c.cueText, c.cueNotes, c.reason,
                                  rz48::statusName(c.status)};
        for (int i = 0; i < 8; ++i)
            text += (i ? QStringLiteral(",") : QString()) + quoted(fields[i]);
        text += QStringLiteral("\r\n");
    }
    return text.toUtf8();
}

} // namespace rz48::formats
