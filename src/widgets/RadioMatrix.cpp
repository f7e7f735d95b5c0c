#include "widgets/RadioMatrix.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QRadioButton>
#include <QSignalBlocker>

RadioMatrix::RadioMatrix(const QString& objectName, const QStringList& titles, Qt::Orientation orientation,
                         QWidget* parent)
    : QWidget(parent)
    , group_(new QButtonGroup(this))
{
    setObjectName(objectName);
    auto* layout = new QBoxLayout(orientation == Qt::Horizontal ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < titles.size(); ++i) {
        auto* cell = new QRadioButton(titles[i], this);
        cell->setObjectName(QStringLiteral("%1Cell%2").arg(objectName).arg(i));
        group_->addButton(cell, i);
        layout->addWidget(cell);
        cells_ << cell;
    }
    // A click on a cell that is on leaves it on, as radio cells do.
    connect(group_, &QButtonGroup::idClicked, this, &RadioMatrix::cellClicked);
    layout->addStretch(1);
}

bool RadioMatrix::isCellOn(int index) const
{
    const QRadioButton* c = cell(index);
    return c && c->isChecked();
}

void RadioMatrix::setCellOn(int index, bool on)
{
    QRadioButton* c = cell(index);
    if (!c)
        return;
    const QSignalBlocker block(c);
    if (on) {
        c->setChecked(true); // the group turns the others off
        return;
    }
    group_->setExclusive(false); // an exclusive group keeps its one cell on
    c->setChecked(false);
    group_->setExclusive(true);
}

void RadioMatrix::selectOnly(int64_t index)
{
    setAllOff();
    if (index >= 0 && index < cellCount())
        setCellOn(int(index), true);
}

void RadioMatrix::setAllOff()
{
    for (int i = 0; i < cellCount(); ++i)
        setCellOn(i, false);
}

int RadioMatrix::selectedCell() const
{
    for (int i = 0; i < cellCount(); ++i)
        if (isCellOn(i))
            return i;
    return -1;
}
