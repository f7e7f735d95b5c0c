#pragma once
// The cue table: rows of the cue list in their displayed order, edited in
// place; a click on a column header sorts the display. Files dropped on it
// (text and PDF cue sheets) are imported; a drop from the table itself is refused.
#include <QTableView>

#include <functional>

class CueTableView : public QTableView {
    Q_OBJECT
public:
    explicit CueTableView(QWidget* parent = nullptr);

    // Files dropped on the table go here, with whether the drag offered the
    // link operation; the answer says whether the drop was taken.
    std::function<bool(const QStringList& paths, bool linkOffered)> onFilesDropped;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
};
