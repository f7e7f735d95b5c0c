#pragma once
// A row or column of radio cells, one on at a time or none (as a report that
// names no cell leaves them). A click turns the clicked cell on and reports
// it; setting cells from code reports nothing.
#include <QList>
#include <cstdint>
#include <QWidget>

class QButtonGroup;
class QRadioButton;

class RadioMatrix : public QWidget {
    Q_OBJECT
public:
    RadioMatrix(const QString& objectName, const QStringList& titles, Qt::Orientation orientation,
                QWidget* parent = nullptr);

    int cellCount() const { return int(cells_.size()); }
    QRadioButton* cell(int index) const { return cells_.value(index); }
    bool isCellOn(int index) const;
    void setCellOn(int index, bool on);
    void setAllOff();
    // `index` on and every other cell off; all off when there is no such cell.
    void selectOnly(int64_t index);
    // Index of the first cell that is on, -1 when none is.
    int selectedCell() const;

signals:
    void cellClicked(int index);

private:
    QList<QRadioButton*> cells_;
    QButtonGroup* group_;
};
