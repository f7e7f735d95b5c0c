// The cue list window in the panel, against the emulated unit.
#include "common/Diagnostics.h"
#include "cuewindow/CueArrayController.h"
#include "cuewindow/CueDocument.h"
#include "cuewindow/CueHistory.h"
#include "cuewindow/CueTableView.h"
#include "cuewindow/ImportPreview.h"
#include "cuelist/CueFormats.h"
#include "cuelist/PdfImport.h"
#include "timecode/TCFormatter.h"
#include "emulator/OutputModel.h"
#include "pages/MonitorView.h"
#include "support/PanelFixture.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QSettings>
#include <QTableWidget>
#include <QTest>
#include <QUndoStack>

#include <csignal>

using rz48test::PanelTest;
using rz48test::waitUntil;

namespace {

class CueWindowTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        startWithUnit();
        doc = view->cueDocument();
        ASSERT_NE(doc, nullptr);
        doc->cueTableFromString(QStringLiteral("A1\t01:00:00:00\t01:00:05:00\tHello\tnote\n"
                                               "B2\t01:00:10:00\t---\tWorld\t\n"));
    }
    template <class T> T* cueControl(const char* name)
    {
        T* w = doc->window()->findChild<T*>(QLatin1String(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    QString path(const char* name) const { return dir.filePath(QLatin1String(name)); }
    CueDocument* doc = nullptr;
};

TEST_F(CueWindowTest, WindowBesideThePanel)
{
    EXPECT_EQ(doc->window()->objectName(), QStringLiteral("CueDocument"));
    EXPECT_TRUE(doc->window()->isVisible());
    EXPECT_EQ(cueControl<QComboBox>("comboBoxMidiTcType")->currentIndex(), 3);
    EXPECT_EQ(doc->collection().size(), 2);
    // The streamer's "C" report gave the document its offset: minus the duration.
    EXPECT_DOUBLE_EQ(doc->offset(), -2.0);
    host.inject("C 0 28 0 96 0 ff ff 0\r\n>");
    ASSERT_TRUE(waitUntil([&] { return doc->offset() == -3.0; }));
    doc->window()->close(); // hides it; the panel keeps the document
    EXPECT_FALSE(doc->window()->isVisible());
    doc->showWindows();
    EXPECT_TRUE(doc->window()->isVisible());
}

TEST_F(CueWindowTest, SelectingARowSendsItsText)
{
    cueControl<QCheckBox>("checkBoxCueIdInText")->setChecked(true);
    // B2 was read from a saved line with no Out time: its text is "---" (the sheet is lossy).
    expectSends([&] { doc->tableView()->selectRow(1); }, "s B2\t\\n---");
    cueControl<QCheckBox>("checkBoxExportText")->setChecked(false);
    expectSends([&] { doc->tableView()->selectRow(0); }, "s A1\t");
    // Sorted by a column header (text, descending), the first row shown is
    // B2's: its cue is the one sent, not the list's first.
    doc->tableView()->clearSelection();
    doc->tableView()->horizontalHeader()->setSortIndicator(CueArrayController::ColumnText, Qt::DescendingOrder);
    QTest::mouseClick(doc->tableView()->horizontalHeader()->viewport(), Qt::LeftButton, {},
                      QPoint(doc->tableView()->horizontalHeader()->sectionViewportPosition(CueArrayController::ColumnText) + 5, 5));
    expectSends([&] { doc->tableView()->selectRow(0); }, "s B2\t");
}

TEST_F(CueWindowTest, InOutTransferEndsWithTheUnitsVerdict)
{
    const size_t before = host.unit().commands().size();
    doc->onTxInOuts();
    auto* label = view->findChild<QLabel*>(QStringLiteral("labelUpdate"));
    ASSERT_TRUE(waitUntil([&] { return label->text() == QStringLiteral("success!"); }, 5000));
    const auto all = host.unit().commands();
    EXPECT_EQ(std::vector<std::string>(all.begin() + long(before), all.end()),
              (std::vector<std::string> {"h 0", "f 01:00:00:00 01:00:05:00", "f 01:00:10:00 "}));
    EXPECT_EQ(view->tabView()->currentIndex(), 2);
    EXPECT_TRUE(alerts.messages.isEmpty());
    // The unit plays the list: at 30 fps each cue's 2 s streamer is on its
    // last frame just before the cue ((1728 - 40) x 59 / 60 = 1659) and gone on it.
    const rz48::emu::OutputState output = host.unit().outputState();
    ASSERT_EQ(output.cueIns.size(), 2u);
    auto bars = [&](int64_t frame) {
        std::vector<int> left;
        for (const rz48::emu::Shape& s : rz48::emu::composeFrame(output, 3, frame, 0).shapes)
            if (s.kind == rz48::emu::Shape::Kind::Rect)
                left.push_back(s.x);
        return left;
    };
    EXPECT_EQ(bars(108000 + 299), (std::vector<int> {1659, 1728})) << "01:00:09:29: the streamer and the end bar";
    EXPECT_EQ(bars(108000 + 300), std::vector<int> {}) << "01:00:10:00";
    EXPECT_EQ(bars(108000 - 60), (std::vector<int> {0, 1728})) << "the first cue's starts at 00:59:58:00";

    // A cue without an In time stops the transfer: the alert and the Update tab say where.
    QList<CueItem> items = doc->collection();
    CueItem blank, late;
    blank.cueIn.clear();
    late.cueIn = QStringLiteral("01003000");
    doc->setCollection(items << blank << late);
    label->clear();
    doc->onTxInOuts(); // the check finds the error first: cancelled, nothing sent
    ASSERT_EQ(alerts.questions.size(), 1);
    EXPECT_EQ(alerts.questions[0], QStringLiteral("The check found 1 error(s) in the cue list (listed under the table). Send the In/Outs anyway?"));
    EXPECT_TRUE(cueControl<QListWidget>("listFindings")->item(0)->text().startsWith(QStringLiteral("3: error: no In time")));
    EXPECT_TRUE(alerts.messages.isEmpty());
    cueControl<QListWidget>("listFindings")->setCurrentRow(0); // the finding selects its cue
    EXPECT_EQ(doc->tableView()->selectionModel()->selectedRows().value(0).row(), 2);
    alerts.choice = 1; // send anyway
    doc->onTxInOuts();
    ASSERT_EQ(alerts.messages.size(), 1);
    EXPECT_EQ(alerts.messages[0], QStringLiteral("Send In/Outs stopped at row 3."));
    EXPECT_EQ(alerts.details[0], QStringLiteral("Send In/Outs stopped at row 3: it has no In time. The 2 cue(s) before it were sent, none from it on."));
    ASSERT_TRUE(waitUntil([&] { return label->text().startsWith(QStringLiteral("stopped")); }, 5000)); // once the unit has reported
    EXPECT_EQ(label->text(), QStringLiteral("stopped at row 3: 2 of 4 cues sent"));
    doc->setCollection(doc->collection().mid(0, 2));
    // The findings follow the list: the cue they named is gone.
    auto* findings = cueControl<QListWidget>("listFindings");
    ASSERT_TRUE(waitUntil([&] { return findings->item(findings->count() - 1)->text().endsWith(QStringLiteral("in 2 cues")); }, 2000));
    EXPECT_FALSE(findings->item(0)->text().startsWith(QStringLiteral("3: error")));

    host.unit().setBadPairs(1);
    label->clear();
    doc->onTxInOuts();
    ASSERT_TRUE(waitUntil([&] { return label->text().startsWith(QStringLiteral("1 of 0")); }, 5000));
    expectSends([&] { doc->onClearText(); }, "V");
}

TEST_F(CueWindowTest, SaveAndReopenTheSheet)
{
    rz48::DiagCapture out;
    panels.nextSave = path("cues.doc");
    view->cueDocument()->menuFileSave();
    EXPECT_EQ(alerts.messages, QStringList {QStringLiteral("select a file with .rz48cues or .txt extension")});
    EXPECT_TRUE(doc->isModified());

    panels.nextSave = path("cues.txt");
    view->cueDocument()->menuFileSave();
    EXPECT_EQ(out.text(), "status: 1\n");
    EXPECT_FALSE(doc->isModified());
    QFile saved(path("cues.txt"));
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(saved.readAll()), doc->stringFromCueTable());
    EXPECT_EQ(panels.suffixes.last(), QStringLiteral("rz48cues")); // a new list's own file is offered first

    // A column sort changes what is written: the displayed order.
    doc->tableView()->horizontalHeader()->setSortIndicator(CueArrayController::ColumnText, Qt::DescendingOrder);
    QTest::mouseClick(doc->tableView()->horizontalHeader()->viewport(), Qt::LeftButton, {},
                      QPoint(doc->tableView()->horizontalHeader()->sectionViewportPosition(CueArrayController::ColumnText) + 5, 5));
    const QString arranged = doc->stringFromCueTable();
    EXPECT_LT(arranged.indexOf(QStringLiteral("B2")), arranged.indexOf(QStringLiteral("A1")));

    doc->releaseItems();
    panels.nextOpen = path("cues.txt");
    view->cueDocument()->menuFileOpen();
    ASSERT_EQ(doc->collection().size(), 2);
    EXPECT_EQ(doc->collection()[0].cueId, QStringLiteral("A1\t\t")); // the ID gains a TAB each time
    EXPECT_EQ(doc->collection()[1].cueText, QStringLiteral("---"));
    EXPECT_FALSE(doc->isModified());

    QFile binary(path("binary.txt"));
    ASSERT_TRUE(binary.open(QIODevice::WriteOnly));
    binary.write("\xff\xfe\x00\x01 01:00:00:00", 16);
    binary.close();
    panels.nextOpen = path("binary.txt");
    view->cueDocument()->menuFileOpen();
    EXPECT_TRUE(alerts.messages.last().startsWith(QStringLiteral("cannot open")));
    EXPECT_EQ(doc->collection().size(), 2);
}

TEST_F(CueWindowTest, UnsavedEditsAreOfferedBeforeQuitting)
{
    ASSERT_TRUE(doc->isModified());
    alerts.answer = rz48::SaveChoice::Cancel;
    EXPECT_FALSE(view->mayClose());
    EXPECT_EQ(alerts.questions.size(), 1);
    alerts.answer = rz48::SaveChoice::Save;
    panels.nextSave = QString(); // the save panel is cancelled: stay open
    EXPECT_FALSE(view->mayClose());
    panels.nextSave = path("kept.txt");
    {
        rz48::DiagCapture out;
        EXPECT_TRUE(view->mayClose());
    }
    EXPECT_TRUE(QFile::exists(path("kept.txt")));
    EXPECT_TRUE(view->mayClose()); // nothing unsaved any more: no question
    EXPECT_EQ(alerts.questions.size(), 3);
}

TEST_F(CueWindowTest, TypingInTheTable)
{
    CueArrayController* cues = doc->cueArrayController();
    doc->onAddCue();
    ASSERT_EQ(cues->rowCount(), 3);
    EXPECT_EQ(cues->data(cues->index(2, CueArrayController::ColumnIn), Qt::DisplayRole).toString(), QStringLiteral("---"));
    cues->setData(cues->index(2, CueArrayController::ColumnIn), QStringLiteral("1:2"), Qt::EditRole);
    EXPECT_EQ(doc->collection()[2].cueIn, QStringLiteral("00000012"));
    cues->setData(cues->index(2, CueArrayController::ColumnIn), QStringLiteral("00:30:00:00"), Qt::EditRole);
    cues->setData(cues->index(2, CueArrayController::ColumnText), QStringLiteral("Early"), Qt::EditRole);
    doc->OnSort();
    EXPECT_EQ(doc->collection()[0].cueText, QStringLiteral("Early"));
    doc->tableView()->selectRow(0);
    doc->onRemoveCues();
    EXPECT_EQ(doc->collection().size(), 2);
    doc->onClearAll();
    EXPECT_TRUE(doc->collection().isEmpty());
}

TEST_F(CueWindowTest, MidiExportImportAndPackingTest)
{
    rz48::DiagCapture out;
    panels.nextSave = path("track"); // the extension is added
    doc->onExportMidi();
    ASSERT_TRUE(QFile::exists(path("track.mid")));
    EXPECT_NE(out.text().find("MIDI offset: 23:59:58:00\n"), std::string::npos);
    out.clear();
    panels.nextOpen = path("track.mid");
    doc->onImportMidi();
    EXPECT_NE(out.text().find("midi rx: s Hello\n"), std::string::npos);
    EXPECT_NE(out.text().find("smpte offset: 23:59:58:00:00 fps: 3\n"), std::string::npos);
    out.clear();
    doc->onButtonTest();
    EXPECT_EQ(out.text(), "bytes: 256 encoded bytes: 293 decoded bytes: 256 equal: 1\n");
    // An empty list exports nothing and asks for no file.
    doc->onClearAll();
    const qsizetype asked = panels.suffixes.size();
    doc->onExportMidi();
    EXPECT_EQ(panels.suffixes.size(), asked);
}

TEST_F(CueWindowTest, PasteAndFilesDroppedOnTheTable)
{
    QGuiApplication::clipboard()->setText(QStringLiteral("P1 03:00:00:00 pasted\nP2 03:00:01:00 too"));
    doc->window()->findChild<QAction*>(QStringLiteral("menuEditPaste"))->trigger();
    ASSERT_EQ(doc->collection().size(), 4);
    EXPECT_EQ(doc->collection()[3].cueText, QStringLiteral("too"));

    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral(RZ48_TEST_DATA "/pdf/edicue.pdf"))});
    QWidget* target = doc->tableView()->viewport();
    QDropEvent copyOnly(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &copyOnly);
    EXPECT_FALSE(copyOnly.isAccepted()); // the link operation is required
    EXPECT_EQ(doc->collection().size(), 4);

    QDragEnterEvent enter(QPoint(5, 5), Qt::LinkAction | Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_EQ(enter.dropAction(), Qt::LinkAction);
    QDropEvent drop(QPointF(5, 5), Qt::LinkAction | Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &drop);
    EXPECT_TRUE(drop.isAccepted());
    ASSERT_EQ(doc->collection().size(), 6);
    EXPECT_EQ(doc->collection()[4].cueId, QStringLiteral("Cue 7"));

    // Copied cues travel archived and as sheet lines; pasting them appends them again.
    doc->tableView()->selectRow(0);
    doc->window()->findChild<QAction*>(QStringLiteral("menuEditCopy"))->trigger();
    const QMimeData* copied = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(rz48::unarchiveCueItems(copied->data(QLatin1String(rz48::kCueItemsMimeType))), QList<CueItem> {doc->collection()[0]});
    doc->paste();
    ASSERT_EQ(doc->collection().size(), 7);
    EXPECT_EQ(doc->collection()[6].cueText, doc->collection()[0].cueText);
}

} // namespace

namespace {

TEST_F(CueWindowTest, EveryChangeOfTheListUndoesAndTheTitleSaysWhereItStands)
{
    QUndoStack* steps = doc->history()->stack();
    auto settled = [] { QCoreApplication::processEvents(); };
    settled();
    EXPECT_EQ(doc->window()->windowTitle(), QStringLiteral("Untitled[*] - Cue list"));
    EXPECT_TRUE(doc->window()->isWindowModified());
    EXPECT_EQ(cueControl<QAction>("menuEditUndo")->shortcut(), QKeySequence(QKeySequence::Undo));

    // Save names the list; Save writes to it again without asking.
    panels.nextSave = path("list.txt");
    doc->menuFileSave();
    EXPECT_EQ(doc->window()->windowTitle(), QStringLiteral("list.txt[*] - Cue list"));
    EXPECT_FALSE(doc->window()->isWindowModified());
    const QList<CueItem> saved = doc->collection();

    // Each kind of change is one step; undoing it restores the list, and undoing
    // back to the saved list leaves nothing unsaved.
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"Add cue", [&] { doc->onAddCue(); }},
        {"Edit cue", [&] { doc->cueArrayController()->setData(doc->cueArrayController()->index(0, CueArrayController::ColumnText), QStringLiteral("Hi"), Qt::EditRole); }},
        {"Remove cues", [&] { doc->tableView()->selectRow(0); doc->onRemoveCues(); }},
        {"Clear all", [&] { doc->onClearAll(); }},
        {"Paste", [&] { QGuiApplication::clipboard()->setText(QStringLiteral("00:59:00:00 earlier\n02:00:00:00 later\n")); doc->paste(); }},
        {"Import", [&] { doc->cueTableFromString(QStringLiteral("00:10:00:00 first\n")); }},
        {"Sort", [&] { doc->OnSort(); }}, // as MIDI export runs it: the earliest cue, appended last, comes first
    };
    for (const auto& [name, change] : changes) {
        const int before = steps->count();
        const QList<CueItem> was = doc->collection();
        change();
        settled();
        ASSERT_EQ(steps->count(), before + 1) << name;
        EXPECT_EQ(steps->undoText(), QLatin1String(name));
        EXPECT_NE(doc->collection(), was) << name;
        EXPECT_TRUE(doc->isModified()) << name;
        const QList<CueItem> after = doc->collection();
        steps->undo();
        EXPECT_EQ(doc->collection(), was) << name;
        steps->redo();
        EXPECT_EQ(doc->collection(), after) << name;
    }
    EXPECT_EQ(doc->collection().first().cueText, QStringLiteral("first"));
    while (!steps->isClean())
        steps->undo();
    EXPECT_EQ(doc->collection(), saved);
    EXPECT_FALSE(doc->isModified());

    // A column sort of the view is not a change of the list.
    const int count = steps->count();
    doc->tableView()->horizontalHeader()->setSortIndicator(CueArrayController::ColumnText, Qt::DescendingOrder);
    QTest::mouseClick(doc->tableView()->horizontalHeader()->viewport(), Qt::LeftButton, {},
                      QPoint(doc->tableView()->horizontalHeader()->sectionViewportPosition(CueArrayController::ColumnText) + 5, 5));
    settled();
    EXPECT_EQ(steps->count(), count);

    // Open appends to a list: the list is no longer the file's.
    panels.nextOpen = path("list.txt");
    doc->menuFileOpen();
    settled();
    EXPECT_EQ(doc->window()->windowTitle(), QStringLiteral("Untitled[*] - Cue list"));
    EXPECT_TRUE(doc->isModified());

    // New asks first, then empties the list.
    alerts.answer = rz48::SaveChoice::Discard;
    doc->menuFileNew();
    EXPECT_EQ(alerts.questions.size(), 1);
    EXPECT_TRUE(doc->collection().isEmpty());
    EXPECT_FALSE(doc->isModified());
    EXPECT_FALSE(steps->canUndo());
}

// The helper process of the next test: a panel whose cue list has changes,
// killed before they are saved.
TEST_F(PanelTest, DISABLED_KilledWithUnsavedCues)
{
    view->awakeFromNib(noUnit());
    view->cueDocument()->cueTableFromString(QStringLiteral("01:00:00:00 left unsaved\n"));
    waitUntil([] { return QFile::exists(CueHistory::recoveryPath()); }, 5000);
    ::raise(SIGKILL);
}

TEST_F(PanelTest, ACrashLosesNoCueList)
{
    QDir(QFileInfo(CueHistory::recoveryPath()).path()).removeRecursively();
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_also_run_disabled_tests"), QStringLiteral("--gtest_filter=PanelTest.DISABLED_KilledWithUnsavedCues")});
    ASSERT_TRUE(child.waitForFinished(30000));
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit) << child.readAll().toStdString();
    ASSERT_TRUE(QFile::exists(CueHistory::recoveryPath()));

    // The next start offers the list back, with named buttons. Dismissing
    // the question (Esc is "Not now") keeps it for a later start.
    alerts.choice = 1;
    view->awakeFromNib(noUnit());
    ASSERT_EQ(alerts.questions.size(), 1);
    EXPECT_TRUE(alerts.questions[0].startsWith(QStringLiteral("The cue list had changes that were not saved")));
    EXPECT_EQ(alerts.choices, (QStringList {QStringLiteral("Restore"), QStringLiteral("Not now"), QStringLiteral("Discard...")}));
    EXPECT_EQ(alerts.defaults, QList<int> {0});
    EXPECT_EQ(alerts.escapes, QList<int> {1});
    CueDocument* doc = view->cueDocument();
    EXPECT_TRUE(doc->collection().isEmpty());
    EXPECT_FALSE(CueHistory::waitingRecovery().isEmpty());
    // "Discard..." asks once more; keeping it keeps it.
    alerts.buttonAnswers = {2, 1};
    doc->offerRecovery();
    ASSERT_EQ(alerts.questions.size(), 3);
    EXPECT_EQ(alerts.questions[2], QStringLiteral("Discard the unsaved cue list for good?"));
    EXPECT_EQ(alerts.defaults.last(), 1); // the safe answer
    EXPECT_FALSE(CueHistory::waitingRecovery().isEmpty());
    alerts.buttonAnswers = {0};
    doc->offerRecovery();
    ASSERT_EQ(doc->collection().size(), 1);
    EXPECT_EQ(doc->collection()[0].cueText, QStringLiteral("left unsaved"));
    EXPECT_TRUE(doc->isModified());
    // A clean save removes the recovery file.
    panels.nextSave = dir.filePath(QStringLiteral("kept.txt"));
    doc->menuFileSave();
    EXPECT_FALSE(doc->isModified());
    EXPECT_FALSE(QFile::exists(CueHistory::recoveryPath()));
    EXPECT_TRUE(CueHistory::waitingRecovery().isEmpty());

    // A confirmed Discard deletes a list that was set aside.
    const QString aside = QFileInfo(CueHistory::recoveryPath()).dir().filePath(QStringLiteral("kept-1.json"));
    QFile kept(aside);
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    kept.write(R"({"cues":[{"id":"K","in":"01:00:00:00","out":"","text":"set aside","notes":""}],"options":"","path":""})");
    kept.close();
    alerts.buttonAnswers = {2, 0};
    doc->offerRecovery();
    EXPECT_FALSE(QFile::exists(aside));
    EXPECT_EQ(doc->collection()[0].cueText, QStringLiteral("left unsaved"));

    // A recovery file this panel did not write (another panel's, running
    // beside it) is not this panel's to remove when its own list is saved.
    QFile other(CueHistory::recoveryPath());
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write(R"({"format": "rz48-cues", "version": 1, "cues": []})");
    other.close();
    doc->history()->markClean();
    EXPECT_TRUE(QFile::exists(CueHistory::recoveryPath()));
    CueHistory::discardRecovery();
}

} // namespace

namespace {

// A session's fields: status by a click and by Ctrl+D (each one step), the
// filter and the counts, the character in the text sent, and the list's own
// file, which keeps them where a sheet would drop them.
TEST_F(CueWindowTest, StatusFiltersCountsAndTheListsOwnFile)
{
    QList<CueItem> cues = doc->collection();
    cues[0].character = QStringLiteral("PETER");
    cues[1].character = QStringLiteral("ANNA");
    CueItem third = cues[0];
    third.cueIn = QStringLiteral("01:00:20:00");
    third.cueText = QStringLiteral("Again");
    third.reason = QStringLiteral("noise");
    cues << third;
    doc->setCollection(cues);
    QUndoStack* steps = doc->history()->stack();
    auto settled = [] { QCoreApplication::processEvents(); };
    settled();

    // A click on the status moves it on; Ctrl+D marks the selection done.
    CueTableView* table = doc->tableView();
    const int before = steps->count();
    const QRect cell = table->visualRect(table->model()->index(0, CueArrayController::ColumnStatus));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
    EXPECT_EQ(doc->collection()[0].status, CueStatus::Done);
    EXPECT_EQ(table->model()->index(0, CueArrayController::ColumnStatus).data().toString(), QStringLiteral("Done"));
    EXPECT_EQ(steps->count(), before + 1);
    steps->undo();
    EXPECT_EQ(doc->collection()[0].status, CueStatus::Todo);
    table->selectionModel()->select(QItemSelection(table->model()->index(1, 0), table->model()->index(2, 0)),
                                    QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    QTest::keyClick(table, Qt::Key_D, Qt::ControlModifier);
    EXPECT_EQ(doc->collection()[1].status, CueStatus::Done);
    EXPECT_EQ(doc->collection()[2].status, CueStatus::Done);
    EXPECT_EQ(steps->undoText(), QStringLiteral("Mark done"));
    EXPECT_EQ(cueControl<QLabel>("labelCueCounts")->text(), QStringLiteral("3 cues, 2 done; ANNA 1/1, PETER 2/1"));

    // One character's cues: the table shows two rows, sending still the whole list.
    QComboBox* character = cueControl<QComboBox>("comboBoxFilterCharacter");
    ASSERT_EQ(character->count(), 3); // all, ANNA, PETER
    character->setCurrentIndex(2);
    emit character->activated(2);
    EXPECT_EQ(table->model()->rowCount(), 2);
    EXPECT_EQ(cueControl<QLabel>("labelCueCounts")->text(), QStringLiteral("PETER: 2 cues, 1 done"));
    QComboBox* status = cueControl<QComboBox>("comboBoxFilterStatus");
    status->setCurrentIndex(1); // to do
    emit status->activated(1);
    ASSERT_EQ(table->model()->rowCount(), 1);
    cueControl<QCheckBox>("checkBoxCharacterInText")->setChecked(true);
    ASSERT_TRUE(waitUntil([&] { return view->link()->txCount() == 0; }, 5000)); // the texts sent by the clicks above,
    QTest::qWait(400);                                                                // and their answers
    expectSends([&] { table->selectRow(0); }, "s PETER: Hello");
    // The filtered sheet prints the cues shown, under the character's name.
    panels.nextSave = path("peter.pdf");
    doc->menuFileExportPdf();
    QString printed;
    ASSERT_TRUE(rz48::pdf::documentText(path("peter.pdf"), printed));
    EXPECT_TRUE(printed.contains(QStringLiteral("Untitled - PETER")));
    EXPECT_TRUE(printed.contains(QStringLiteral("Hello")));
    EXPECT_FALSE(printed.contains(QStringLiteral("Again"))) << "done, filtered out";
    EXPECT_FALSE(printed.contains(QStringLiteral("World"))) << "ANNA's";
    EXPECT_EQ(rz48::cuesheet::txInOutsCommands(doc->collection(), TcCalculator()).size(), 4); // "h 0" and three cues
    doc->clearFilter();
    EXPECT_EQ(table->model()->rowCount(), 3);

    // Saved as a sheet, the fields would go: asked first, with what is dropped.
    panels.nextSave = path("session.txt");
    alerts.buttonAnswers = {2}; // Cancel
    doc->menuFileSaveAs();
    EXPECT_EQ(alerts.questions.last(), QStringLiteral("session.txt is a cue sheet, which cannot hold the list's character, reason, status, character in text."));
    EXPECT_EQ(alerts.choices, (QStringList {"Save as cue list...", "Save sheet without them", "Cancel"}));
    EXPECT_FALSE(QFile::exists(path("session.txt")));
    EXPECT_TRUE(doc->isModified());
    alerts.buttonAnswers = {1}; // the sheet without them
    doc->menuFileSaveAs();
    EXPECT_TRUE(QFile::exists(path("session.txt")));
    EXPECT_FALSE(doc->isModified());

    // The list's own file: reopened, every field is back; saved again, the same bytes.
    panels.nextSave = path("session.rz48cues");
    doc->menuFileSaveAs();
    EXPECT_FALSE(doc->isModified());
    EXPECT_EQ(doc->window()->windowTitle(), QStringLiteral("session.rz48cues[*] - Cue list"));
    const QList<CueItem> saved = doc->collection();
    QFile first(path("session.rz48cues"));
    ASSERT_TRUE(first.open(QIODevice::ReadOnly));
    const QByteArray bytes = first.readAll();
    first.close();
    doc->releaseItems();
    doc->applyOptions({});
    EXPECT_TRUE(doc->openFile(path("session.rz48cues")));
    EXPECT_EQ(doc->collection(), saved);
    EXPECT_TRUE(doc->options().characterInText);
    doc->menuFileSave();
    ASSERT_TRUE(first.open(QIODevice::ReadOnly));
    EXPECT_EQ(first.readAll(), bytes);
    EXPECT_EQ(CueDocument::recentFiles().value(0), QFileInfo(path("session.rz48cues")).absoluteFilePath());
}

} // namespace

namespace {

// Another program's file: previewed, nothing changes until accepted, then one
// undo step; its unreadable lines listed; a spreadsheet's columns chosen and
// remembered; drops and pastes that such a format claims go the same way.
TEST_F(CueWindowTest, ImportsThroughThePreview)
{
    QFile csv(path("spotting.csv"));
    ASSERT_TRUE(csv.open(QIODevice::WriteOnly));
    csv.write("Cue,Start,Who,Line\r\nM1,01:00:10:00,PETER,\"Hello, you\"\r\nM2,banana,ANNA,Bad time\r\nM3,01:00:20:00,ANNA,Bye\r\n");
    csv.close();
    doc->history()->recordNow(); // the list the test starts with is a step of its own
    const QList<CueItem> before = doc->collection();
    QUndoStack* steps = doc->history()->stack();
    const int stepsBefore = steps->count();

    // Cancelled: nothing changes.
    int previews = 0;
    doc->previewRunner = [&](ImportPreview&) { ++previews; return false; };
    EXPECT_FALSE(doc->importFile(path("spotting.csv")));
    EXPECT_EQ(doc->collection(), before);

    // The columns the header does not name are chosen (Who: character,
    // Line: text), and the choice is remembered for this header.
    doc->previewRunner = [&](ImportPreview& preview) {
        ++previews;
        EXPECT_EQ(preview.imported().format, QStringLiteral("csv"));
        const QList<QComboBox*>& columns = preview.columnChoices();
        EXPECT_EQ(columns.size(), 4);
        if (columns.size() == 4) {
            columns[2]->setCurrentIndex(columns[2]->findData(QStringLiteral("character")));
            columns[3]->setCurrentIndex(columns[3]->findData(QStringLiteral("text")));
            preview.reread();
        }
        preview.shift()->setText(QStringLiteral("-00:00:10:00"));
        EXPECT_EQ(preview.rows()->rowCount(), 2);
        EXPECT_EQ(preview.problems()->count(), 1);
        EXPECT_TRUE(preview.problems()->item(0)->text().startsWith(QStringLiteral("line 3: "))) << preview.problems()->item(0)->text().toStdString();
        preview.accept();
        return true;
    };
    ASSERT_TRUE(doc->importFile(path("spotting.csv")));
    ASSERT_EQ(doc->collection().size(), before.size() + 2);
    const CueItem& first = doc->collection()[before.size()];
    EXPECT_EQ(TCFormatter::stringForObjectValue(first.cueIn), QStringLiteral("01:00:00:00"));
    EXPECT_EQ(first.character, QStringLiteral("PETER"));
    EXPECT_EQ(first.cueText, QStringLiteral("Hello, you"));
    EXPECT_EQ(steps->count(), stepsBefore + 1);
    steps->undo();
    EXPECT_EQ(doc->collection(), before);

    // Dropped with a sheet: the sheet at once, the spreadsheet through the preview.
    QFile sheet(path("plain.txt"));
    ASSERT_TRUE(sheet.open(QIODevice::WriteOnly));
    sheet.write("C9\t02:00:00:00\t02:00:01:00\tFrom a sheet\t\n");
    sheet.close();
    doc->previewRunner = [&](ImportPreview& preview) {
        ++previews;
        if (preview.imported().format == QLatin1String("csv")) {
            EXPECT_EQ(preview.columnChoices().size(), 4);
            if (preview.columnChoices().size() == 4)
                EXPECT_EQ(preview.columnChoices()[2]->currentData().toString(), QStringLiteral("character")) << "remembered";
        }
        return true;
    };
    ASSERT_TRUE(doc->dropFiles({path("plain.txt"), path("spotting.csv")}, true));
    EXPECT_EQ(doc->collection().size(), before.size() + 3);
    EXPECT_EQ(doc->collection()[before.size()].cueText, QStringLiteral("From a sheet"));
    EXPECT_EQ(doc->collection().last().character, QStringLiteral("ANNA"));

    // A paste of an EDL's locators goes through the preview too.
    QGuiApplication::clipboard()->setText(QStringLiteral("TITLE: REEL 2\nFCM: NON-DROP FRAME\n001  AX  V  C  00:00:00:00 00:00:01:00 03:00:00:00 03:00:01:00\n* LOC: 03:00:00:10 RED ANNA: Over here\n"));
    const QList<CueItem> beforePaste = doc->collection();
    const auto accepting = doc->previewRunner;
    doc->previewRunner = [&](ImportPreview&) { ++previews; return false; };
    doc->paste(); // cancelled: nothing is pasted, not even as plain lines
    EXPECT_EQ(doc->collection(), beforePaste);
    doc->previewRunner = accepting;
    doc->paste();
    EXPECT_EQ(previews, 5);
    EXPECT_EQ(doc->collection().last().cueText, QStringLiteral("Over here"));
    EXPECT_EQ(doc->collection().last().character, QStringLiteral("ANNA"));

    // Out again: a spreadsheet that reads back the same times, texts and characters.
    panels.nextSave = path("out.csv");
    doc->menuFileExport();
    QFile written(path("out.csv"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const rz48::formats::Imported back = rz48::formats::importCues(written.readAll(), {});
    ASSERT_EQ(back.cues.size(), doc->collection().size());
    for (qsizetype i = 0; i < back.cues.size(); ++i) {
        EXPECT_EQ(TCFormatter::stringForObjectValue(back.cues[i].cueIn), TCFormatter::stringForObjectValue(doc->arrangedObjects()[i].cueIn)) << i;
        EXPECT_EQ(back.cues[i].cueText, doc->arrangedObjects()[i].cueText) << i;
        EXPECT_EQ(back.cues[i].character, doc->arrangedObjects()[i].character) << i;
    }
}

} // namespace
