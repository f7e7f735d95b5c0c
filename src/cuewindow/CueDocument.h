#pragma once
// The cue list document and its window beside the panel: the list with its
// sheet options, the cue transfer to the unit, sorting, the cue sheet file
// and the MIDI cue track.
#include "cuelist/CueCheck.h"
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "cuelist/NativeCueList.h"
#include "timecode/TcCalculator.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>

#include <functional>
#include <optional>

namespace rz48::link {
class UnitLink;
}
class CueArrayController;
class CueCheckPane;
class CueHistory;
class CueTableView;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QMenu;
class CueFilter;
class CueSorter;
class QLabel;
class QLayout;

class CueDocument : public QObject {
    Q_OBJECT
public:
    explicit CueDocument(QObject* parent = nullptr);
    ~CueDocument() override;

    // The window with the table, the options and the buttons.
    void makeWindowControllers();
    void showWindows();
    QMainWindow* window() const { return window_; }
    void close();
    void releaseItems();

    // The list in the document's own order (sorted order after OnSort).
    const QList<CueItem>& collection() const;
    void setCollection(const QList<CueItem>& items);
    // The list as the table shows it (after a column sort).
    QList<CueItem> arrangedObjects() const;
    CueArrayController* cueArrayController() const { return controller_; }
    CueTableView* tableView() const { return table_; }

    rz48::cuesheet::Options options() const;
    void applyOptions(const rz48::cuesheet::Options& options);

    QString stringFromCueTable() const;
    void cueTableFromString(const QString& text);
    QString cueSheetInitValues() const;
    void initValueFromString(const QString& line);

    QString cueItemText(const CueItem& item) const;
    void sendCueItemText(const CueItem& item);
    void tableViewSelectionDidChange();
    void onTxInOuts();
    // The pre-flight check of the list, shown under the table; its findings.
    QList<rz48::cuecheck::Finding> onCheck();
    void onClearText();
    void OnSort();
    void onExportMidi();
    void onImportMidi();
    // The packing self-test: 256 bytes through the 7-bit MIDI packing and
    // back; prints and returns its line, true in `passed` when they match.
    QString onButtonTest(bool* passed = nullptr);
    void onAddCue();
    void onRemoveCues();
    void onClearAll();
    // The clipboard's plain text, pasted into the list.
    void paste();
    // The selected cues to the clipboard: archived, and as sheet lines.
    void copy();

    // The selected cues marked done, or back to do when all of them are done
    // (Ctrl+D); one step of the history.
    void toggleDone();
    // A cue's status moved on (to do, done, omitted, to do): a click on its
    // status; one step of the history.
    void moveStatusOn(int cue);
    // Shows only one character's cues (empty: all) and one status (none: all).
    void setFilter(const QString& character, std::optional<CueStatus> status);
    void clearFilter() { setFilter({}, std::nullopt); }
    // The counts shown under the filter ("PETER: 12 cues, 5 done").
    QString countsText() const;
    // The cue (a row of the list) of a row of the table, and back (invalid when the filter hides it).
    int cueOfView(const QModelIndex& index) const;
    QModelIndex viewIndexOfCue(int cue) const;
    // The selected rows' cues (rows of the list), in the table's order.
    QList<int> selectedCues() const;
    // The cues the filter shows, in the list's order; the character filtered to.
    QList<int> shownCues() const;
    const QString& filterCharacter() const;
    void selectCue(int cue);

    // The list's files: its own (.rz48cues) or a cue sheet, by the path's
    // extension. Saving names the file the list's own.
    bool saveList(const QString& path, QString* error = nullptr);
    // Opens the list's own file (known by its content) or a sheet or text.
    bool openList(const QString& path, QString* error = nullptr);
    // The same, from the command line or another panel: says why it cannot.
    bool openFile(const QString& path);
    // The whole list as its own file keeps it.
    rz48::native::CueList nativeList() const;
    // The video the Unit output shows under this list, kept in the list's own file.
    const rz48::native::ListVideo& video() const { return kept_.video; }
    void setVideo(const rz48::native::ListVideo& video);
    // The last files opened or saved (eight), kept between runs.
    static QStringList recentFiles();
    static void rememberFile(const QString& path);
    // Save writes to the sheet's own file (Save As when it has none).
    void menuFileSave();
    void menuFileSaveAs();
    void menuFileOpen();
    // The printable cue sheet (as one list or a section per character).
    void menuFileExportPdf();
    // Cues from another program's file, through the import preview; and
    // the list as a spreadsheet, an EDL of locators or MIDI markers.
    void menuFileImport();
    void menuFileExport();
    bool importFile(const QString& path);
    // Files dropped on the table: another program's through the preview,
    // sheets, PDFs and text at once.
    bool dropFiles(const QStringList& paths, bool linkOffered);
    // The format of another program that claims the bytes; empty for the
    // list's own ways (its file, a sheet, a PDF, plain text).
    static QString claimedFormat(const QByteArray& bytes, const QString& fileName);
    // Runs an import preview (the dialog by default; tests answer it): true when accepted.
    std::function<bool(class ImportPreview&)> previewRunner;
    // An empty, untitled list (unsaved changes are offered for saving first).
    void menuFileNew();
    // Whether the panel may close: unsaved edits are offered for saving.
    bool mayClose();
    // At start: a list left unsaved by a run that stopped is offered back.
    void offerRecovery();
    // The sheet's file, empty for an untitled list.
    const QString& filePath() const { return filePath_; }
    CueHistory* history() const { return history_; }

    rz48::link::UnitLink* link() const { return link_; }
    void setLink(rz48::link::UnitLink* link) { link_ = link; }
    double offset() const { return offset_; }
    void setOffset(double offset) { offset_ = offset; }
    TcCalculator& tcc() { return tcc_; }
    QString name;
    QString collectionDescription;

    // Unsaved edits: the operator is asked before they are lost.
    bool isModified() const { return modified_; }
    void setModified(bool modified);

signals:
    // An In/Out transfer stopped before the end of the list: where, and how much was sent.
    void transferStopped(const QString& note);
    // The list's timecode type changed (another list opened, or the operator chose one).
    void timecodeTypeChanged(int tctype);
    // Another list came with its own video for the Unit output (or none).
    void videoChanged(const rz48::native::ListVideo& video);

private:
    void send(const QString& command);
    void showTitle();
    // Runs the check before `action`; false when it found errors and the operator stays.
    bool checkedBefore(const QString& action, const QString& button);
    // Whether the list may be saved to `path`: a sheet would drop the
    // session's fields, so the operator is asked (and may save the list's
    // own file instead).
    bool sheetMayDrop(const QString& path);
    // Unsaved changes are saved or discarded: false when the operator stays.
    bool settleChanges(const QString& question);

    CueArrayController* controller_;
    QLayout* makeFilterBar(QWidget* parent);
    void showCounts();
    bool previewImport(const QByteArray& bytes, const QString& fileName);

    CueSorter* arranged_;
    CueFilter* shown_;
    MidiTrack midiTrack_;
    TcCalculator tcc_;
    rz48::link::UnitLink* link_ = nullptr;
    double offset_ = 0;
    bool modified_ = false;
    CueHistory* history_;
    QString filePath_;
    rz48::native::CueList kept_; // what the list's own file holds beside the cues and options

    QPointer<QMainWindow> window_;
    CueTableView* table_ = nullptr;
    CueCheckPane* findings_ = nullptr;
    bool findingsDue_ = false; // the findings are renewed with the next turn
    QCheckBox* checkBoxDuplicate = nullptr;
    QCheckBox* checkBoxMidnightCalc = nullptr;
    QCheckBox* checkBoxExportText = nullptr;
    QCheckBox* checkBoxCueIdInText = nullptr;
    QCheckBox* checkBoxPulldown = nullptr;
    QLineEdit* textBoxMidiStart = nullptr;
    QComboBox* comboBoxMidiTcType = nullptr;
    QCheckBox* checkBoxCharacterInText = nullptr;
    QComboBox* comboBoxFilterCharacter = nullptr;
    QComboBox* comboBoxFilterStatus = nullptr;
    QLabel* labelCueCounts = nullptr;
};

// The sheet commands (New, Open, Save, Save As, with their shortcuts) in a
// window's File menu, acting on the document of the moment.
void addSheetCommands(QMenu* menu, const std::function<CueDocument*()>& document);
