// What the cue window adds for a session: each cue's status (marked with a
// key or a click, each change one step of the history), the filter by
// character and status, and the counts of cues and of cues done.
#include "cuewindow/CueDocument.h"

#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueFilter.h"
#include "widgets/WidgetFactory.h"
#include "cuewindow/CueHistory.h"
#include "cuewindow/CueTableView.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QSignalBlocker>

int CueDocument::cueOfView(const QModelIndex& index) const
{
    const QModelIndex sorted = shown_->mapToSource(shown_->index(index.row(), 0));
    return arranged_->mapToSource(sorted).row();
}

QModelIndex CueDocument::viewIndexOfCue(int cue) const
{
    return shown_->mapFromSource(arranged_->mapFromSource(controller_->index(cue, 0)));
}

void CueDocument::selectCue(int cue)
{
    if (const QModelIndex shown = viewIndexOfCue(cue); table_ && shown.isValid())
        table_->selectRow(shown.row());
}

QList<int> CueDocument::selectedCues() const
{
    QList<int> shown;
    if (table_)
        for (const QModelIndex& index : table_->selectionModel()->selectedRows())
            shown << index.row();
    std::sort(shown.begin(), shown.end());
    QList<int> cues;
    for (int row : shown)
        cues << cueOfView(shown_->index(row, 0));
    return cues;
}

QList<int> CueDocument::shownCues() const
{
    QList<int> cues;
    for (int row = 0; row < shown_->rowCount(); ++row)
        cues << cueOfView(shown_->index(row, 0));
    std::sort(cues.begin(), cues.end()); // in the list's order
    return cues;
}

const QString& CueDocument::filterCharacter() const
{
    return shown_->character();
}

void CueDocument::toggleDone()
{
    const QList<int> cues = selectedCues();
    if (cues.isEmpty())
        return;
    const bool allDone = std::all_of(cues.begin(), cues.end(), [this](int c) { return collection()[c].status == CueStatus::Done; });
    const QString status = rz48::statusName(allDone ? CueStatus::Todo : CueStatus::Done);
    history_->nameNextStep(allDone ? tr("Mark to do") : tr("Mark done"));
    for (int cue : cues)
        controller_->setData(controller_->index(cue, CueArrayController::ColumnStatus), status, Qt::EditRole);
    history_->recordNow(); // the rows of one command are one step
}

void CueDocument::moveStatusOn(int cue)
{
    if (cue < 0 || cue >= collection().size())
        return;
    const CueStatus next = collection()[cue].status == CueStatus::Todo ? CueStatus::Done
                         : collection()[cue].status == CueStatus::Done ? CueStatus::Omit
                                                                       : CueStatus::Todo;
    history_->nameNextStep(tr("Status"));
    controller_->setData(controller_->index(cue, CueArrayController::ColumnStatus), rz48::statusName(next), Qt::EditRole);
    history_->recordNow();
}

void CueDocument::setFilter(const QString& character, std::optional<CueStatus> status)
{
    shown_->setCharacter(character);
    shown_->setStatus(status);
    if (comboBoxFilterCharacter) {
        const QSignalBlocker b1(comboBoxFilterCharacter), b2(comboBoxFilterStatus);
        const int at = comboBoxFilterCharacter->findData(character);
        comboBoxFilterCharacter->setCurrentIndex(at >= 0 ? at : 0);
        comboBoxFilterStatus->setCurrentIndex(status ? int(*status) + 1 : 0);
    }
    showCounts();
}

QString CueDocument::countsText() const
{
    return rz48::cuewindow::cueCounts(collection(), shown_->character());
}

QLayout* CueDocument::makeFilterBar(QWidget* parent)
{
    auto* bar = new QHBoxLayout;
    bar->addWidget(new QLabel(tr("Show"), parent));
    comboBoxFilterCharacter = rz48::widgets::comboBox(QStringLiteral("comboBoxFilterCharacter"), {}, parent);
    comboBoxFilterCharacter->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    comboBoxFilterCharacter->addItem(tr("All characters"), QString());
    bar->addWidget(comboBoxFilterCharacter);
    comboBoxFilterStatus = rz48::widgets::comboBox(QStringLiteral("comboBoxFilterStatus"), {tr("Any status")}, parent);
    for (CueStatus s : {CueStatus::Todo, CueStatus::Done, CueStatus::Omit})
        comboBoxFilterStatus->addItem(CueArrayController::statusText(s));
    bar->addWidget(comboBoxFilterStatus);
    labelCueCounts = new QLabel(parent);
    labelCueCounts->setObjectName(QStringLiteral("labelCueCounts"));
    labelCueCounts->setTextInteractionFlags(Qt::TextSelectableByMouse);
    bar->addWidget(labelCueCounts, 1);

    auto chosen = [this] {
        const int status = comboBoxFilterStatus->currentIndex();
        setFilter(comboBoxFilterCharacter->currentData().toString(),
                  status > 0 ? std::optional<CueStatus>(CueStatus(status - 1)) : std::nullopt);
    };
    connect(comboBoxFilterCharacter, &QComboBox::activated, this, chosen);
    connect(comboBoxFilterStatus, &QComboBox::activated, this, chosen);
    // The counts and the characters follow every change of the list.
    connect(controller_, &QAbstractItemModel::modelReset, this, &CueDocument::showCounts);
    connect(controller_, &QAbstractItemModel::dataChanged, this, &CueDocument::showCounts);
    connect(controller_, &QAbstractItemModel::rowsInserted, this, &CueDocument::showCounts);
    connect(controller_, &QAbstractItemModel::rowsRemoved, this, &CueDocument::showCounts);
    QMetaObject::invokeMethod(this, &CueDocument::showCounts, Qt::QueuedConnection); // once the window is made
    return bar;
}

void CueDocument::showCounts()
{
    if (!labelCueCounts)
        return;
    const QStringList characters = rz48::cuewindow::charactersOf(collection());
    QStringList offered;
    for (int i = 1; i < comboBoxFilterCharacter->count(); ++i)
        offered << comboBoxFilterCharacter->itemData(i).toString();
    if (offered != characters) {
        const QSignalBlocker blocker(comboBoxFilterCharacter);
        while (comboBoxFilterCharacter->count() > 1)
            comboBoxFilterCharacter->removeItem(1);
        for (const QString& name : characters)
            comboBoxFilterCharacter->addItem(name, name);
        const int at = comboBoxFilterCharacter->findData(shown_->character());
        comboBoxFilterCharacter->setCurrentIndex(at >= 0 ? at : 0);
        if (at < 0)
            shown_->setCharacter({}); // the character left the list: all are shown again
    }
    labelCueCounts->setText(countsText());
}
