#include "cuelist/CueTableView.h"

#include <QHeaderView>

CueTableView::CueTableView(QWidget* parent)
    : QTableView(parent)
{
    setObjectName(QStringLiteral("cueTableView"));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
    setSortingEnabled(false);
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->setDefaultSectionSize(22);
    setAlternatingRowColors(true);
}
