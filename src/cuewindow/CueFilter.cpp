#include "cuewindow/CueFilter.h"

#include "cuewindow/CueArrayController.h"

#include <map>

bool CueSorter::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    auto* cues = static_cast<CueArrayController*>(sourceModel());
    const CueItem& a = cues->items()[left.row()];
    const CueItem& b = cues->items()[right.row()];
    if (left.column() == CueArrayController::ColumnIn)
        return a.caseInsensitiveCompare(b) < 0;
    if (left.column() == CueArrayController::ColumnStatus)
        return int(a.status) < int(b.status);
    return CueArrayController::columnText(a, left.column()).compare(CueArrayController::columnText(b, left.column()), Qt::CaseInsensitive)
        < 0;
}

void CueFilter::setCharacter(const QString& character)
{
    if (character == character_)
        return;
    character_ = character;
    invalidateRowsFilter();
}

void CueFilter::setStatus(std::optional<CueStatus> status)
{
    if (status == status_)
        return;
    status_ = status;
    invalidateRowsFilter();
}

bool CueFilter::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    if (character_.isEmpty() && !status_)
        return true;
    // The source is the sorted view of the list: its row maps to the cue.
    auto* sorted = static_cast<QSortFilterProxyModel*>(sourceModel());
    const int row = sorted->mapToSource(sorted->index(sourceRow, 0, sourceParent)).row();
    const QList<CueItem>& items = static_cast<CueArrayController*>(sorted->sourceModel())->items();
    if (row < 0 || row >= items.size())
        return false;
    const CueItem& cue = items[row];
    return (character_.isEmpty() || cue.character.compare(character_, Qt::CaseInsensitive) == 0) && (!status_ || cue.status == *status_);
}

namespace rz48::cuewindow {

QStringList charactersOf(const QList<CueItem>& items)
{
    std::map<QString, QString> byFolded; // case-folded name -> the first spelling seen
    for (const CueItem& c : items)
        if (!c.character.isEmpty())
            byFolded.emplace(c.character.toCaseFolded(), c.character);
    QStringList names;
    for (const auto& [folded, name] : byFolded)
        names << name;
    return names;
}

QString cueCounts(const QList<CueItem>& items, const QString& character)
{
    struct Count {
        int cues = 0, done = 0;
    };
    // Characters are told apart ignoring case, as the filter does; each is
    // named as first spelt.
    Count all;
    std::map<QString, std::pair<QString, Count>> per; // folded name -> (name, count)
    for (const CueItem& c : items) {
        const bool done = c.status == CueStatus::Done;
        ++all.cues;
        all.done += done;
        if (!c.character.isEmpty()) {
            auto& [name, count] = per.try_emplace(c.character.toCaseFolded(), c.character, Count {}).first->second;
            ++count.cues;
            count.done += done;
        }
    }
    auto cues = [](int n) { return n == 1 ? QStringLiteral("1 cue") : QStringLiteral("%1 cues").arg(n); };
    if (!character.isEmpty()) {
        const auto it = per.find(character.toCaseFolded());
        const Count count = it != per.end() ? it->second.second : Count {};
        return QStringLiteral("%1: %2, %3 done").arg(character, cues(count.cues)).arg(count.done);
    }
    QString text = QStringLiteral("%1, %2 done").arg(cues(all.cues)).arg(all.done);
    QStringList each;
    for (const auto& [folded, entry] : per)
        each << QStringLiteral("%1 %2/%3").arg(entry.first).arg(entry.second.cues).arg(entry.second.done);
    if (!each.isEmpty())
        text += QStringLiteral("; ") + each.join(QStringLiteral(", "));
    return text;
}

} // namespace rz48::cuewindow
