#include "cuewindow/CueCheckPane.h"

#include <QStyle>

CueCheckPane::CueCheckPane(QWidget* parent)
    : QListWidget(parent)
{
    setObjectName(QStringLiteral("listFindings"));
    setMaximumHeight(fontMetrics().height() * 7);
    hide(); // until a check has run
    connect(this, &QListWidget::currentRowChanged, this, [this](int index) {
        if (QListWidgetItem* it = item(index); it && it->data(Qt::UserRole).toInt() > 0)
            emit rowChosen(it->data(Qt::UserRole).toInt());
    });
}

void CueCheckPane::showFindings(const QList<rz48::cuecheck::Finding>& findings, int cues)
{
    clear();
    for (const rz48::cuecheck::Finding& f : findings) {
        auto* line = new QListWidgetItem(rz48::cuecheck::findingLine(f), this);
        line->setData(Qt::UserRole, f.row);
        line->setIcon(style()->standardIcon(f.severity == rz48::cuecheck::Severity::Error ? QStyle::SP_MessageBoxCritical
                                                                                          : QStyle::SP_MessageBoxWarning));
    }
    addItem(rz48::cuecheck::summary(findings, cues));
    show();
}
