#include "cuewindow/CueTableView.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QUrl>

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
    // Rows drag with the link operation; plain strings and file names drop.
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::LinkAction);
}

void CueTableView::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event);
}

void CueTableView::dragMoveEvent(QDragMoveEvent* event)
{
    // Refused from the table itself; anything else is offered the link
    // operation, above the row under the mouse.
    if (event->source() == this || !(event->mimeData()->hasUrls() || event->mimeData()->hasText())) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::LinkAction);
    event->accept();
}

void CueTableView::dropEvent(QDropEvent* event)
{
    QStringList paths;
    if (event->source() != this && event->mimeData()->hasUrls())
        for (const QUrl& url : event->mimeData()->urls())
            if (url.isLocalFile())
                paths << url.toLocalFile();
    const bool linkOffered = event->possibleActions() & Qt::LinkAction;
    if (event->source() == this || paths.isEmpty() || !onFilesDropped || !onFilesDropped(paths, linkOffered)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::LinkAction);
    event->accept();
}
