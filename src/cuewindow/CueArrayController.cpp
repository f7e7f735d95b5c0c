#include "cuewindow/CueArrayController.h"

#include "common/FileIo.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "cuewindow/CueDocument.h"
#include "cuelist/PdfImport.h"
#include "timecode/TCFormatter.h"

#include <QFileInfo>
#include <QMimeData>
#include <set>

CueArrayController::CueArrayController(QObject* parent)
    : QAbstractTableModel(parent)
{
}

int CueArrayController::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(items_.size());
}

int CueArrayController::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString CueArrayController::columnText(const CueItem& item, int column)
{
    switch (column) {
    case ColumnId: return item.cueId;
    case ColumnIn: return item.cueIn;
    case ColumnOut: return item.cueOut;
    case ColumnText: return item.cueText;
    case ColumnNotes: return item.cueNotes;
    case ColumnCharacter: return item.character;
    case ColumnReason: return item.reason;
    case ColumnStatus: return rz48::statusName(item.status);
    default: return {};
    }
}

QString CueArrayController::statusText(CueStatus status)
{
    switch (status) {
    case CueStatus::Done: return tr("Done");
    case CueStatus::Omit: return tr("Omitted");
    case CueStatus::Todo: break;
    }
    return tr("To do");
}

QVariant CueArrayController::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= items_.size() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    if (index.column() == ColumnStatus)
        return statusText(items_[index.row()].status);
    const QString raw = columnText(items_[index.row()], index.column());
    if (index.column() == ColumnIn || index.column() == ColumnOut)
        return TCFormatter::stringForObjectValue(raw);
    return raw;
}

bool CueArrayController::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.row() >= items_.size() || role != Qt::EditRole)
        return false;
    CueItem& item = items_[index.row()];
    const QString text = value.toString();
    switch (index.column()) {
    case ColumnId: item.cueId = text; break;
    case ColumnIn: item.cueIn = TCFormatter::getObjectValue(text); break;
    case ColumnOut: item.cueOut = TCFormatter::getObjectValue(text); break;
    case ColumnText: item.cueText = text; break;
    case ColumnNotes: item.cueNotes = text; break;
    case ColumnCharacter: item.character = text; break;
    case ColumnReason: item.reason = text; break;
    case ColumnStatus: {
        const std::optional<CueStatus> status = rz48::statusFromName(text);
        if (!status)
            return false;
        item.status = *status;
        item.unknownKeys.remove(QStringLiteral("status")); // a later version's word gives way to the one chosen
        break;
    }
    default: return false;
    }
    emit dataChanged(index, index);
    return true;
}

Qt::ItemFlags CueArrayController::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    const Qt::ItemFlags editable = index.column() == ColumnStatus ? Qt::NoItemFlags : Qt::ItemIsEditable; // a click moves it on
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | editable | Qt::ItemIsDragEnabled;
}

QVariant CueArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const char* const titles[ColumnCount] = {"ID", "In", "Out", "Text", "Notes", "Character", "Reason", "Status"};
    return section >= 0 && section < ColumnCount ? QString::fromLatin1(titles[section]) : QVariant();
}

bool CueArrayController::removeRows(int row, int count, const QModelIndex& parent)
{
    if (parent.isValid() || row < 0 || count <= 0 || row + count > items_.size())
        return false;
    beginRemoveRows({}, row, row + count - 1);
    items_.remove(row, count);
    endRemoveRows();
    return true;
}

void CueArrayController::setItems(const QList<CueItem>& items)
{
    beginResetModel();
    items_ = items;
    endResetModel();
}

void CueArrayController::appendItems(const QList<CueItem>& items)
{
    insertItems(int(items_.size()), items);
}

void CueArrayController::insertItems(int row, const QList<CueItem>& items)
{
    if (items.isEmpty())
        return;
    row = std::clamp(row, 0, int(items_.size()));
    beginInsertRows({}, row, row + int(items.size()) - 1);
    for (qsizetype i = 0; i < items.size(); ++i)
        items_.insert(row + i, items[i]);
    endInsertRows();
}

void CueArrayController::cueTableFromString(const QString& text, CueDocument* sender)
{
    rz48::cuesheet::Options options = sender ? sender->options() : rz48::cuesheet::Options {};
    QList<CueItem> read;
    rz48::cuesheet::cueTableFromString(text, options, read);
    if (sender)
        sender->applyOptions(options);
    appendItems(read);
}

bool CueArrayController::textToCueTable(const QString& line)
{
    const std::optional<CueItem> item = rz48::cuesheet::textToCueTable(line);
    if (!item)
        return false;
    appendItems({*item});
    return true;
}

QString CueArrayController::stringFromCueTable(const CueDocument* document, const QList<CueItem>& arranged) const
{
    return rz48::cuesheet::stringFromCueTable(document ? document->options() : rz48::cuesheet::Options {}, arranged);
}

namespace {

// Splits at every kind of line end, as the sheet reader does.
QStringList linesOf(const QString& text)
{
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size()) {
            const char16_t u = text.at(i).unicode();
            if (!((u >= 0x0A && u <= 0x0D) || u == 0x85 || u == 0x2028 || u == 0x2029))
                continue;
        }
        lines << text.mid(start, i - start);
        start = i + 1;
    }
    return lines;
}

} // namespace

void CueArrayController::paste(const QString& text)
{
    QList<CueItem> cues;
    for (const QString& line : linesOf(text))
        if (std::optional<CueItem> cue = rz48::cuesheet::textToCueTable(line))
            cues.append(*cue);
    appendItems(cues);
}

bool CueArrayController::acceptDrop(const QStringList& paths, bool linkOffered)
{
    if (!linkOffered || paths.isEmpty())
        return false;
    // Text files accumulate across one drop, as they always have: each later
    // file reads the earlier ones again, the last line of one running into
    // the first line of the next.
    QString accumulated;
    for (const QString& path : paths) {
        if (QFileInfo(path).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) != 0) {
            QString text, error;
            if (!rz48::readUtf8File(path, rz48::cuesheet::kMaxSheetBytes, text, &error)) {
                rz48::diag("skipping %s: %s\n", qPrintable(path), qPrintable(error));
                continue;
            }
            accumulated += text;
            paste(accumulated);
        } else {
            QList<CueItem> cues;
            QString message;
            if (!rz48::pdf::importPdf(path, cues, &message)) {
                rz48::diag("skipping %s: %s\n", qPrintable(path), qPrintable(message));
                continue;
            }
            appendItems(cues);
        }
    }
    return true;
}

void CueArrayController::onClearAll()
{
    for (int row = int(items_.size()) - 1; row >= 0; --row)
        removeRows(row, 1);
}

QString CueArrayController::removeUniChars(const QString& text)
{
    return rz48::cuesheet::removeUniChars(text);
}

QStringList CueArrayController::mimeTypes() const
{
    return {QLatin1String(rz48::kCueItemsMimeType), QStringLiteral("text/plain"), QStringLiteral("text/uri-list")};
}

QMimeData* CueArrayController::mimeData(const QModelIndexList& indexes) const
{
    std::set<int> rows;
    for (const QModelIndex& index : indexes)
        if (index.isValid() && index.row() < items_.size())
            rows.insert(index.row());
    QList<CueItem> cues;
    for (int row : rows)
        cues.append(items_[row]);
    auto* data = new QMimeData;
    data->setData(QLatin1String(rz48::kCueItemsMimeType), rz48::archiveCueItems(cues));
    QString text;
    for (const CueItem& cue : cues)
        text += rz48::cuesheet::cueLine(cue);
    data->setText(text);
    return data;
}
