#include "cuewindow/CueDocument.h"

#include "common/FileIo.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueCheckPane.h"
#include "cuewindow/CueFilter.h"
#include "cuewindow/CueHistory.h"
#include "cuewindow/CueTableView.h"
#include "link/UnitLink.h"
#include "widgets/WidgetFactory.h"

#include <QAction>
#include <QUndoStack>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMenuBar>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSortFilterProxyModel>
#include <QTimer>
#include <QVBoxLayout>


CueDocument::CueDocument(QObject* parent)
    : QObject(parent)
    , controller_(new CueArrayController(this))
    , arranged_(new CueSorter(this))
    , shown_(new CueFilter(this))
{
    arranged_->setSourceModel(controller_);
    shown_->setSourceModel(arranged_);
    history_ = new CueHistory(controller_, [this] { return nativeList(); }, this);
    // Undoing back to the saved list leaves nothing unsaved.
    connect(history_, &CueHistory::cleanChanged, this, [this](bool clean) { setModified(!clean); });
    // Every change of the list (Clear all, New, Undo included) also renews the
    // check's findings on show, once the change is whole.
    auto touched = [this] {
        setModified(true);
        if (findings_ && !findings_->isHidden() && !findingsDue_) {
            findingsDue_ = true;
            QTimer::singleShot(0, this, [this] {
                findingsDue_ = false;
                if (findings_ && !findings_->isHidden())
                    onCheck();
            });
        }
    };
    connect(controller_, &QAbstractItemModel::dataChanged, this, touched);
    connect(controller_, &QAbstractItemModel::rowsInserted, this, touched);
    connect(controller_, &QAbstractItemModel::rowsRemoved, this, touched);
    connect(controller_, &QAbstractItemModel::modelReset, this, touched);
}

CueDocument::~CueDocument()
{
    close();
    delete window_;
}

const QList<CueItem>& CueDocument::collection() const
{
    return controller_->items();
}

void CueDocument::setCollection(const QList<CueItem>& items)
{
    if (items == controller_->items())
        return;
    controller_->setItems(items);
}

QList<CueItem> CueDocument::arrangedObjects() const
{
    QList<CueItem> arranged;
    arranged.reserve(arranged_->rowCount());
    for (int row = 0; row < arranged_->rowCount(); ++row)
        arranged.append(controller_->items()[arranged_->mapToSource(arranged_->index(row, 0)).row()]);
    return arranged;
}

void CueDocument::makeWindowControllers()
{
    if (window_)
        return;
    window_ = new QMainWindow;
    window_->setObjectName(QStringLiteral("CueDocument"));
    showTitle();
    auto* central = new QWidget(window_);
    auto* layout = new QVBoxLayout(central);

    table_ = new CueTableView(central);
    table_->setModel(shown_);
    table_->horizontalHeader()->setSortIndicatorShown(true);
    connect(table_->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int column) {
        arranged_->sort(column, table_->horizontalHeader()->sortIndicatorOrder());
    });
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CueDocument::tableViewSelectionDidChange);
    table_->onFilesDropped = [this](const QStringList& paths, bool linkOffered) { return dropFiles(paths, linkOffered); };

    // The sheet commands here too, so that their shortcuts work in this window.
    addSheetCommands(window_->menuBar()->addMenu(tr("&File")), [this] { return this; });

    QMenu* edit = window_->menuBar()->addMenu(tr("&Edit"));
    edit->setObjectName(QStringLiteral("menuEdit"));
    QAction* undo = history_->stack()->createUndoAction(edit, tr("&Undo"));
    undo->setObjectName(QStringLiteral("menuEditUndo"));
    undo->setShortcut(QKeySequence::Undo);
    QAction* redo = history_->stack()->createRedoAction(edit, tr("&Redo"));
    redo->setObjectName(QStringLiteral("menuEditRedo"));
    redo->setShortcut(QKeySequence::Redo);
    edit->addAction(undo);
    edit->addAction(redo);
    edit->addSeparator();
    QAction* done = edit->addAction(tr("Mark &done / to do"), this, &CueDocument::toggleDone);
    done->setObjectName(QStringLiteral("menuEditToggleDone"));
    done->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_D));
    connect(table_, &QTableView::clicked, this, [this](const QModelIndex& index) {
        if (index.column() == CueArrayController::ColumnStatus)
            moveStatusOn(cueOfView(index));
    });
    edit->addSeparator();
    QAction* copyAction = edit->addAction(tr("&Copy cues"), this, &CueDocument::copy);
    copyAction->setObjectName(QStringLiteral("menuEditCopy"));
    copyAction->setShortcut(QKeySequence::Copy);
    QAction* pasteAction = edit->addAction(tr("&Paste cues"), this, &CueDocument::paste);
    pasteAction->setObjectName(QStringLiteral("menuEditPaste"));
    pasteAction->setShortcut(QKeySequence::Paste);
    layout->addLayout(makeFilterBar(central));
    layout->addWidget(table_, 1);
    findings_ = new CueCheckPane(central);
    layout->addWidget(findings_);
    connect(findings_, &CueCheckPane::rowChosen, this, [this](int row) {
        const QModelIndex shown = viewIndexOfCue(row - 1);
        if (!shown.isValid() && row >= 1) {
            clearFilter(); // a hidden cue is shown to be chosen
            selectCue(row - 1);
        } else if (shown.isValid()) {
            table_->selectRow(shown.row());
        }
    });

    auto* options = new QGridLayout;
    auto box = [&](const char* name, const QString& title, int row, int column) {
        QCheckBox* b = rz48::widgets::checkBox(QLatin1String(name), title, central);
        options->addWidget(b, row, column);
        connect(b, &QCheckBox::toggled, this, [this] { setModified(true); });
        return b;
    };
    checkBoxDuplicate = box("checkBoxDuplicate", tr("Remove duplicates"), 0, 0);
    checkBoxMidnightCalc = box("checkBoxMidnightCalc", tr("Crosses midnight"), 0, 1);
    checkBoxExportText = box("checkBoxExportText", tr("Cue text"), 0, 2);
    checkBoxCueIdInText = box("checkBoxCueIdInText", tr("Cue ID in text"), 0, 3);
    checkBoxPulldown = box("checkBoxPulldown", tr("Pull-down"), 1, 0);
    checkBoxCharacterInText = box("checkBoxCharacterInText", tr("Character in text"), 0, 4);
    textBoxMidiStart = new QLineEdit(central);
    textBoxMidiStart->setObjectName(QStringLiteral("textBoxMidiStart"));
    textBoxMidiStart->setPlaceholderText(QStringLiteral("00:00:00:00"));
    connect(textBoxMidiStart, &QLineEdit::textEdited, this, [this] { setModified(true); });
    comboBoxMidiTcType = rz48::widgets::comboBox(QStringLiteral("comboBoxMidiTcType"),
                                                 {tr("24 fps"), tr("25 fps"), tr("30 fps drop-frame"), tr("30 fps")}, central);
    comboBoxMidiTcType->setCurrentIndex(3);
    connect(comboBoxMidiTcType, &QComboBox::activated, this, [this](int tctype) {
        setModified(true);
        emit timecodeTypeChanged(tctype);
    });
    options->addWidget(new QLabel(tr("MIDI start"), central), 1, 1);
    options->addWidget(textBoxMidiStart, 1, 2);
    options->addWidget(comboBoxMidiTcType, 1, 3);
    layout->addLayout(options);

    auto* buttons = new QHBoxLayout;
    auto button = [&](const char* name, const QString& title, auto action) {
        QPushButton* b = rz48::widgets::button(QLatin1String(name), title, central);
        connect(b, &QPushButton::clicked, this, action);
        buttons->addWidget(b);
    };
    button("buttonAddCue", tr("Add"), &CueDocument::onAddCue);
    button("buttonRemoveCues", tr("Remove"), &CueDocument::onRemoveCues);
    button("buttonSort", tr("Sort"), &CueDocument::OnSort);
    button("buttonTxInOuts", tr("Send In/Outs"), &CueDocument::onTxInOuts);
    button("buttonCheck", tr("Check"), [this] { onCheck(); });
    button("buttonClearText", tr("Clear text"), &CueDocument::onClearText);
    button("buttonExportMidi", tr("Export MIDI..."), &CueDocument::onExportMidi);
    button("buttonImportMidi", tr("Import MIDI..."), &CueDocument::onImportMidi);
    button("buttonClearAll", tr("Clear all"), &CueDocument::onClearAll);
    buttons->addStretch(1);
    layout->addLayout(buttons);

    window_->setCentralWidget(central);
    window_->resize(820, 520);
    applyOptions(rz48::cuesheet::Options {});
    setModified(false);
}

void CueDocument::setModified(bool modified)
{
    modified_ = modified;
    if (modified)
        history_->touch();
    showTitle();
}

void CueDocument::showTitle()
{
    if (!window_)
        return;
    const QString name = filePath_.isEmpty() ? tr("Untitled") : QFileInfo(filePath_).fileName();
    window_->setWindowTitle(tr("%1[*] - Cue list").arg(name));
    window_->setWindowModified(modified_);
}

void CueDocument::showWindows()
{
    if (window_) {
        window_->show();
        window_->raise();
    }
}

void CueDocument::close()
{
    if (window_)
        window_->close();
}

void CueDocument::releaseItems()
{
    controller_->setItems({});
    history_->restart();
    setModified(false);
}

rz48::cuesheet::Options CueDocument::options() const
{
    rz48::cuesheet::Options o;
    if (!window_)
        return o;
    o.duplicate = checkBoxDuplicate->isChecked();
    o.midnight = checkBoxMidnightCalc->isChecked();
    o.text = checkBoxExportText->isChecked();
    o.cueId = checkBoxCueIdInText->isChecked();
    o.pulldown = checkBoxPulldown->isChecked();
    o.start = textBoxMidiStart->text();
    o.tctype = comboBoxMidiTcType->currentIndex();
    o.characterInText = checkBoxCharacterInText->isChecked();
    return o;
}

void CueDocument::applyOptions(const rz48::cuesheet::Options& o)
{
    if (!window_)
        return;
    const QSignalBlocker b1(checkBoxDuplicate), b2(checkBoxMidnightCalc), b3(checkBoxExportText),
        b4(checkBoxCueIdInText), b5(checkBoxPulldown), b6(checkBoxCharacterInText);
    checkBoxCharacterInText->setChecked(o.characterInText);
    checkBoxDuplicate->setChecked(o.duplicate);
    checkBoxMidnightCalc->setChecked(o.midnight);
    checkBoxExportText->setChecked(o.text);
    checkBoxCueIdInText->setChecked(o.cueId);
    checkBoxPulldown->setChecked(o.pulldown);
    textBoxMidiStart->setText(o.start);
    const int before = comboBoxMidiTcType->currentIndex();
    comboBoxMidiTcType->setCurrentIndex(o.tctype >= 0 && o.tctype < comboBoxMidiTcType->count() ? o.tctype : -1);
    if (comboBoxMidiTcType->currentIndex() != before && comboBoxMidiTcType->currentIndex() >= 0)
        emit timecodeTypeChanged(comboBoxMidiTcType->currentIndex());
}

QString CueDocument::stringFromCueTable() const
{
    return controller_->stringFromCueTable(this, arrangedObjects());
}

void CueDocument::cueTableFromString(const QString& text)
{
    history_->nameNextStep(tr("Import"));
    controller_->cueTableFromString(text, this);
}

QString CueDocument::cueSheetInitValues() const
{
    return rz48::cuesheet::cueSheetInitValues(options());
}

void CueDocument::initValueFromString(const QString& line)
{
    rz48::cuesheet::Options o = options();
    rz48::cuesheet::initValueFromString(line, o);
    applyOptions(o);
}

QString CueDocument::cueItemText(const CueItem& item) const
{
    const rz48::cuesheet::Options o = options();
    return rz48::cuesheet::cueItemText(o.characterInText ? rz48::cuesheet::withCharacterInText({item}).first() : item, o.cueId, o.text);
}

void CueDocument::send(const QString& command)
{
    if (link_)
        link_->sendString(command);
}

void CueDocument::sendCueItemText(const CueItem& item)
{
    send(QStringLiteral("s ") + cueItemText(item));
}

void CueDocument::tableViewSelectionDidChange()
{
    if (!table_)
        return;
    // The topmost selected row as the table shows it, and its cue: the
    // table may be sorted by a column, so its rows are mapped to the list's.
    int first = -1;
    for (const QModelIndex& index : table_->selectionModel()->selectedRows())
        if (first < 0 || index.row() < first)
            first = index.row();
    if (first < 0)
        return;
    const int cue = cueOfView(shown_->index(first, 0));
    if (cue >= 0 && cue < collection().size())
        sendCueItemText(collection()[cue]);
}

QList<rz48::cuecheck::Finding> CueDocument::onCheck()
{
    const QList<rz48::cuecheck::Finding> findings = rz48::cuecheck::checkCueList(collection(), options(), -offset_);
    if (findings_)
        findings_->showFindings(findings, int(collection().size()));
    return findings;
}

bool CueDocument::checkedBefore(const QString& action, const QString& button)
{
    const QList<rz48::cuecheck::Finding> findings = onCheck();
    const auto errors = std::count_if(findings.begin(), findings.end(),
                                      [](const rz48::cuecheck::Finding& f) { return f.severity == rz48::cuecheck::Severity::Error; });
    if (errors == 0)
        return true;
    return rz48::askButtons(tr("The check found %1 error(s) in the cue list (listed under the table). %2 anyway?").arg(errors).arg(action),
                            QString(), {tr("Cancel"), button}, 0, 0)
        == 1;
}

void CueDocument::onTxInOuts()
{
    if (!checkedBefore(tr("Send the In/Outs"), tr("Send anyway")))
        return;
    const QStringList commands = rz48::cuesheet::txInOutsCommands(collection(), tcc_);
    for (const QString& command : commands)
        send(command);
    // The transfer stops at the first cue without an In time: say where.
    const qsizetype sent = commands.size() - 1;
    if (sent < collection().size()) {
        const QString in = collection()[sent].cueIn.trimmed();
        const QString why = tr("Send In/Outs stopped at row %1: %2. The %3 cue(s) before it were sent, none from it on.")
                                .arg(sent + 1)
                                .arg(in.isEmpty() ? tr("it has no In time") : tr("its In time \"%1\" is not a timecode").arg(in))
                                .arg(sent);
        emit transferStopped(tr("stopped at row %1: %2 of %3 cues sent").arg(sent + 1).arg(sent).arg(collection().size()));
        rz48::showAlert(tr("Send In/Outs stopped at row %1.").arg(sent + 1), why);
    }
}

void CueDocument::onClearText()
{
    send(QStringLiteral("V"));
}

void CueDocument::OnSort()
{
    const rz48::cuesheet::Options o = options();
    QList<CueItem> items = collection();
    rz48::cuesheet::sortCues(items, o.duplicate, o.midnight, tcc_);
    arranged_->sort(-1); // show the document's order again
    if (table_)
        table_->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    history_->nameNextStep(tr("Sort"));
    setCollection(items);
    history_->recordNow(); // one step, before the export that may follow
}

void CueDocument::onAddCue()
{
    history_->nameNextStep(tr("Add cue"));
    controller_->appendItems({CueItem {}});
    if (table_)
        table_->scrollToBottom();
}

void CueDocument::onRemoveCues()
{
    QList<int> rows = selectedCues();
    if (rows.isEmpty())
        return; // nothing to remove: no step, and no name left for the next one
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    history_->nameNextStep(tr("Remove cues"));
    for (int row : rows)
        controller_->removeRows(row, 1);
}

void CueDocument::onClearAll()
{
    history_->nameNextStep(tr("Clear all")); // one click: it can be undone
    controller_->onClearAll();
}

void CueDocument::copy()
{
    QModelIndexList rows;
    for (int cue : selectedCues())
        rows << controller_->index(cue, 0);
    if (!rows.isEmpty())
        QGuiApplication::clipboard()->setMimeData(controller_->mimeData(rows));
}

