#pragma once
// The cue list as the table shows it: the sheet's five columns (ID, In, Out,
// Text, Notes), then Character, Reason and Status, editable in place (the
// status by a click that moves it on), In and Out shown and typed through
// TCFormatter.
// It also turns text into cues (sheets and plain text) and back.
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"

#include <QAbstractTableModel>
#include <QList>

class CueDocument;

class CueArrayController : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { ColumnId, ColumnIn, ColumnOut, ColumnText, ColumnNotes, ColumnCharacter, ColumnReason, ColumnStatus, ColumnCount };

    explicit CueArrayController(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;

    const QList<CueItem>& items() const { return items_; }
    void setItems(const QList<CueItem>& items);
    void appendItems(const QList<CueItem>& items);
    void insertItems(int row, const QList<CueItem>& items);
    // The raw text of a column, as stored (the status's name).
    static QString columnText(const CueItem& item, int column);
    // The status as the table shows it: "To do", "Done", "Omitted".
    static QString statusText(CueStatus status);

    // Reads a sheet or any text with timecodes: option lines go to the
    // document, cues are appended.
    void cueTableFromString(const QString& text, CueDocument* sender);
    // One line of text to a cue, appended; false when the line holds none.
    bool textToCueTable(const QString& line);
    // The sheet of the document, its cues in the given (displayed) order.
    QString stringFromCueTable(const CueDocument* document, const QList<CueItem>& arranged) const;

    // The clipboard's text: each line holding a timecode becomes a cue.
    void paste(const QString& text);
    // Files dropped on the table: text files and PDF cue sheets, appended in
    // order. False when the drop is refused (no link operation, no files).
    bool acceptDrop(const QStringList& paths, bool linkOffered);
    // Removes every cue, from the last to the first.
    void onClearAll();
    static QString removeUniChars(const QString& text);

    // Drags of rows carry the cues, archived, and their sheet lines as text.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::LinkAction; }
    Qt::DropActions supportedDropActions() const override { return Qt::LinkAction; }

private:
    QList<CueItem> items_;
};
