#include "cuelist/CueSheet.h"

#include "common/PosixRegex.h"
#include "common/TextValue.h"
#include "timecode/TCFormatter.h"
#include "timecode/TcCalculator.h"


#include <QRegularExpression>

#include <algorithm>

#include <vector>

namespace rz48::cuesheet {
namespace {

// Where the first cue time (the last separator may be ";", as in
// drop-frame sheets) starts: a byte offset into the text's UTF-8 form, which
// the parser then uses as a character index (lines with non-ASCII characters
// before the time are cut at the wrong place, as the sheet format has always
// done).
qsizetype cueTimeAt(const QString& text)
{
    static const PosixRegex pattern("(([2][0-3])|([0-1][0-9]))\\:[0-5][0-9]\\:[0-5][0-9][:;][0-2][0-9]");
    const std::optional<PosixRegex::Match> match = pattern.firstMatch(text);
    return match ? qsizetype(match->start) : -1;
}

bool isLineBreak(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0A && u <= 0x0D) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

QString shown(const QString& time)
{
    return TCFormatter::stringForObjectValue(time);
}

} // namespace

bool boolValue(const QString& text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    if (i < text.size() && QStringLiteral("YyTt").contains(text.at(i)))
        return true;
    if (i < text.size() && (text.at(i) == u'+' || text.at(i) == u'-'))
        ++i;
    while (i < text.size() && text.at(i) == u'0')
        ++i;
    return i < text.size() && text.at(i) >= u'1' && text.at(i) <= u'9';
}

QString cueSheetInitValues(const Options& o)
{
    return QString::asprintf(";duplicate\t%d\n;midnight\t%d\n;text\t%d\n;cueId\t%d\n;pulldown\t%d\n", o.duplicate,
                             o.midnight, o.text, o.cueId, o.pulldown)
        + QStringLiteral(";start\t") + o.start + u'\n' + QString::asprintf(";tctype\t%d\n", o.tctype);
}

QString cueLine(const CueItem& item)
{
    return item.cueId + u'\t' + shown(item.cueIn) + u'\t' + shown(item.cueOut) + u'\t' + item.cueText + u'\t'
        + item.cueNotes + u'\n';
}

QString stringFromCueTable(const Options& options, const QList<CueItem>& arranged)
{
    QString sheet = cueSheetInitValues(options);
    for (const CueItem& item : arranged)
        sheet += cueLine(item);
    return sheet;
}

void initValueFromString(const QString& line, Options& o)
{
    const QString trimmed = line.trimmed();
    const qsizetype tab = trimmed.indexOf(u'\t');
    if (tab < 0)
        return;
    const QString key = trimmed.left(tab);
    const QString value = trimmed.mid(tab + 1);
    if (key == QLatin1String(";duplicate"))
        o.duplicate = boolValue(value);
    else if (key == QLatin1String(";midnight"))
        o.midnight = boolValue(value);
    else if (key == QLatin1String(";text"))
        o.text = boolValue(value);
    else if (key == QLatin1String(";cueId"))
        o.cueId = boolValue(value);
    else if (key == QLatin1String(";pulldown"))
        o.pulldown = boolValue(value);
    else if (key == QLatin1String(";start")) {
        o.start = value;
        if (!value.trimmed().isEmpty() && !TcCalculator().isTc(value.trimmed()))
            o.unreadLines << trimmed;
    } else if (key == QLatin1String(";tctype")) {
        o.tctype = rz48::intValue(value);
        static const QRegularExpression number(QStringLiteral("^\\s*[+-]?\\d+\\s*$"));
        if (!number.match(value).hasMatch())
            o.unreadLines << trimmed;
    }
}

bool containsCueTime(const QString& text)
{
    return cueTimeAt(text) >= 0;
}

std::optional<CueItem> textToCueTable(const QString& line)
{
    if (line.startsWith(u';'))
        return std::nullopt;
    const qsizetype at = cueTimeAt(line);
    if (at < 0)
        return std::nullopt;
    CueItem item;
    item.cueId = line.left(at);
    item.cueIn = line.mid(at, 11);
    QString rest = line.mid(at + 11);
    item.cueOut.clear();
    if (const qsizetype out = cueTimeAt(rest); out >= 0) {
        item.cueOut = rest.mid(out, 11);
        rest = rest.mid(out + 11);
    }
    rest = rest.trimmed();
    const qsizetype tab = rest.indexOf(u'\t');
    if (tab >= 0) {
        item.cueText = rest.left(tab);
        item.cueNotes = rest.mid(tab + 1);
    } else {
        item.cueText = rest;
        item.cueNotes.clear();
    }
    return item;
}

bool looksLikeCueSheet(const QString& text)
{
    static const char* const keys[] = {";duplicate\t", ";midnight\t", ";text\t", ";cueId\t", ";pulldown\t", ";start\t", ";tctype\t"};
    qsizetype start = 0;
    for (int lines = 0; start < text.size() && lines < 1000; ++lines) {
        qsizetype end = start;
        while (end < text.size() && !isLineBreak(text.at(end)))
            ++end;
        const QStringView line = QStringView(text).mid(start, end - start);
        start = end + 1;
        for (const char* key : keys)
            if (line.startsWith(QLatin1String(key)))
                return true;
        if (line.count(u'\t') == 4) {
            const qsizetype first = line.indexOf(u'\t');
            const QStringView second = line.mid(first + 1, line.indexOf(u'\t', first + 1) - first - 1);
            if (second.size() == 11 && containsCueTime(second.toString()))
                return true;
        }
    }
    return false;
}

void cueTableFromString(const QString& text, Options& options, QList<CueItem>& items)
{
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && !isLineBreak(text.at(i)))
            continue;
        const QString line = text.mid(start, i - start);
        start = i + 1;
        if (!line.isEmpty() && line.at(0) == u';')
            initValueFromString(line, options);
        else if (std::optional<CueItem> item = textToCueTable(line))
            items.append(*item);
    }
}

QString removeUniChars(const QString& text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).unicode() >= 0xF001)
        ++i;
    return text.mid(i);
}

QString cueItemText(const CueItem& item, bool cueIdIncluded, bool textIncluded)
{
    QString s;
    if (cueIdIncluded) {
        s = removeUniChars(item.cueId);
        if (textIncluded)
            s += QStringLiteral("\\n");
    }
    if (!textIncluded)
        return s;
    return s + removeUniChars(item.cueText);
}

QList<CueItem> withCharacterInText(QList<CueItem> items)
{
    for (CueItem& item : items)
        if (!item.character.isEmpty())
            item.cueText = item.character + QStringLiteral(": ") + item.cueText;
    return items;
}

QStringList txInOutsCommands(const QList<CueItem>& items, const TcCalculator& tcc)
{
    QStringList commands {QStringLiteral("h 0")};
    for (const CueItem& item : items) {
        const QString in = shown(item.cueIn);
        if (!tcc.isTc(in))
            break;
        const QString out = shown(item.cueOut);
        commands << QStringLiteral("f %1 %2").arg(in, tcc.isTc(out) ? out : QString());
    }
    return commands;
}

void sortCues(QList<CueItem>& items, bool duplicate, bool midnight, const TcCalculator& tcc)
{
    // Each cue's In time is read once: shown form, frame count (30 non-drop,
    // whatever the list's type) and hours.
    struct Key {
        QString shown;
        int32_t frames;
        int32_t hours;
    };
    const qsizetype n = items.size();
    std::vector<Key> keys;
    keys.reserve(size_t(n));
    for (const CueItem& item : items) {
        const QString in = item.getCueIn();
        keys.push_back({in, tcc.tcToBinary(in, 3), tcc.hrsToBinary(in)});
    }

    // 1. Order by In time across midnight, as compareTc with type 3 does. The
    // comparison is not a strict weak ordering once cues span more than twelve
    // hours, so a bottom-up merge sort, which stays in bounds whatever the
    // comparison answers.
    const int64_t half = TcCalculator::framesPerDay(3) / 2;
    auto before = [&](qsizetype a, qsizetype b) {
        int64_t d = int64_t(keys[size_t(a)].frames) - keys[size_t(b)].frames;
        while (d > half)
            d -= 2 * half;
        while (d < -half)
            d += 2 * half;
        return d < 0;
    };
    std::vector<qsizetype> order(static_cast<size_t>(n)), buffer(static_cast<size_t>(n));
    for (qsizetype i = 0; i < n; ++i)
        order[size_t(i)] = i;
    for (qsizetype width = 1; width < n; width *= 2) {
        for (qsizetype lo = 0; lo < n; lo += 2 * width) {
            const qsizetype mid = std::min(lo + width, n), hi = std::min(lo + 2 * width, n);
            qsizetype l = lo, r = mid, k = lo;
            while (l < mid && r < hi)
                buffer[size_t(k++)] = before(order[size_t(r)], order[size_t(l)]) ? order[size_t(r++)] : order[size_t(l++)];
            while (l < mid)
                buffer[size_t(k++)] = order[size_t(l++)];
            while (r < hi)
                buffer[size_t(k++)] = order[size_t(r++)];
        }
        order.swap(buffer);
    }

    // 2. Duplicates: the first cue of each run of equal In times stays.
    if (duplicate && n > 1) {
        std::vector<qsizetype> kept;
        kept.reserve(order.size());
        for (qsizetype i : order)
            if (kept.empty() || keys[size_t(i)].shown.compare(keys[size_t(kept.back())].shown, Qt::CaseInsensitive) != 0)
                kept.push_back(i);
        order.swap(kept);
    }

    // 3. Midnight: start the list after the first jump of 13 hours or more.
    if (midnight) {
        for (size_t i = 0; i + 1 < order.size(); ++i) {
            if (keys[size_t(order[i + 1])].hours - keys[size_t(order[i])].hours >= 13) {
                std::rotate(order.begin(), order.begin() + long(i + 1), order.end());
                break;
            }
        }
    }

    QList<CueItem> sorted;
    sorted.reserve(qsizetype(order.size()));
    for (qsizetype i : order)
        sorted.append(items[i]);
    items = std::move(sorted);
}

} // namespace rz48::cuesheet
