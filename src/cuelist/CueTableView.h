#pragma once
// The cue table: rows of the cue list in their displayed order, edited in
// place; a click on a column header sorts the display.
#include <QTableView>

class CueTableView : public QTableView {
    Q_OBJECT
public:
    explicit CueTableView(QWidget* parent = nullptr);
};
