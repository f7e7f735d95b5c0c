#include "widgets/RadioMatrix.h"

#include <QBoxLayout>
#include <QRadioButton>
#include <QSignalBlocker>

RadioMatrix::RadioMatrix(const QString& objectName, const QStringList& titles, Qt::Orientation orientation,
                         QWidget* parent)
    : QWidget(parent)
{
    setObjectName(objectName);
    auto* layout = new QBoxLayout(orientation == Qt::Horizontal ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < titles.size(); ++i) {
        auto* cell = new QRadioButton(titles[i], this);
        cell->setObjectName(QStringLiteral("%1Cell%2").arg(objectName).arg(i));
        cell->setAutoExclusive(false);
        layout->addWidget(cell);
        cells_ << cell;
        connect(cell, &QRadioButton::clicked, this, [this, i] {
            // A click on a cell that is on leaves it on, as radio cells do.
            setCellOn(i, true);
            emit cellClicked(i);
        });
    }
    layout->addStretch(1);
}

bool RadioMatrix::isCellOn(int index) const
{
    const QRadioButton* c = cell(index);
    return c && c->isChecked();
}

void RadioMatrix::setCellOn(int index, bool on)
{
    if (QRadioButton* c = cell(index)) {
        const QSignalBlocker block(c);
        c->setChecked(on);
    }
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
