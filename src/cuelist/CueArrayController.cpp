#include "cuelist/CueArrayController.h"

#include "cuelist/CueDocument.h"
#include "timecode/TCFormatter.h"

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
    default: return {};
    }
}

QVariant CueArrayController::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= items_.size() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
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
    default: return false;
    }
    emit dataChanged(index, index);
    return true;
}

Qt::ItemFlags CueArrayController::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
}

QVariant CueArrayController::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const char* const titles[ColumnCount] = {"ID", "In", "Out", "Text", "Notes"};
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
