#pragma once
// The cue table's two views of the list: the column sort (the displayed
// order, which the sheet is written in) and, on top of it, the filter by
// character and status. Sorting, sending and export use the whole list in
// the displayed order, whatever the filter hides.
#include "cuelist/CueItem.h"

#include <QSortFilterProxyModel>

#include <optional>

// Column sort of the table: the raw texts, ignoring case; In times as stored.
class CueSorter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
};

// The rows of one character and one status, or all.
class CueFilter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    // An empty name shows every character; none shows every status.
    void setCharacter(const QString& character);
    void setStatus(std::optional<CueStatus> status);
    const QString& character() const { return character_; }
    std::optional<CueStatus> status() const { return status_; }

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    QString character_;
    std::optional<CueStatus> status_;
};

namespace rz48::cuewindow {

// The characters of a list, in alphabetical order (ignoring case), each once.
QStringList charactersOf(const QList<CueItem>& items);
// "PETER: 12 cues, 5 done" for one character; for the whole list, its total
// and each character's ("42 cues, 17 done; ANNA 10/4, PETER 12/5"). A cue
// without a character counts in the total only.
QString cueCounts(const QList<CueItem>& items, const QString& character);

} // namespace rz48::cuewindow
