#pragma once
// The cue list document and its window beside the panel: the list with its
// sheet options, the cue transfer to the unit, sorting, the cue sheet file
// and the MIDI cue track.
#include "cuelist/CueCheck.h"
#include "cuelist/CueItem.h"
#include "cuelist/CueSheet.h"
#include "cuelist/MidiTrack.h"
#include "timecode/TcCalculator.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>

#include <functional>

class ComThread;
class CueArrayController;
class CueCheckPane;
class CueHistory;
class CueTableView;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QMenu;
class QSortFilterProxyModel;

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

    // The cue sheet files of the File menu.
    bool saveSheet(const QString& path, QString* error = nullptr);
    bool openSheet(const QString& path, QString* error = nullptr);
    // Save writes to the sheet's own file (Save As when it has none).
    void menuFileSave();
    void menuFileSaveAs();
    void menuFileOpen();
    // An empty, untitled list (unsaved changes are offered for saving first).
    void menuFileNew();
    // Whether the panel may close: unsaved edits are offered for saving.
    bool mayClose();
    // At start: a list left unsaved by a run that stopped is offered back.
    void offerRecovery();
    // The sheet's file, empty for an untitled list.
    const QString& filePath() const { return filePath_; }
    CueHistory* history() const { return history_; }

    ComThread* comThread() const { return comThread_; }
    void setComThread(ComThread* link) { comThread_ = link; }
    double offset() const { return offset_; }
    void setOffset(double offset) { offset_ = offset; }
    MidiTrack& midiTrack() { return midiTrack_; }
    TcCalculator& tcc() { return tcc_; }
    QString name;
    QString collectionDescription;

    // Unsaved edits: the operator is asked before they are lost.
    bool isModified() const { return modified_; }
    void setModified(bool modified);

signals:
    // An In/Out transfer stopped before the end of the list: where, and how much was sent.
    void transferStopped(const QString& note);

private:
    void send(const QString& command);
    void showTitle();
    // Runs the check before `action`; false when it found errors and the operator stays.
    bool checkedBefore(const QString& action);
    // Unsaved changes are saved or discarded: false when the operator stays.
    bool settleChanges(const QString& question);

    CueArrayController* controller_;
    QSortFilterProxyModel* arranged_;
    MidiTrack midiTrack_;
    TcCalculator tcc_;
    ComThread* comThread_ = nullptr;
    double offset_ = 0;
    bool modified_ = false;
    CueHistory* history_;
    QString filePath_;

    QPointer<QMainWindow> window_;
    CueTableView* table_ = nullptr;
    CueCheckPane* findings_ = nullptr;
    QCheckBox* checkBoxDuplicate = nullptr;
    QCheckBox* checkBoxMidnightCalc = nullptr;
    QCheckBox* checkBoxExportText = nullptr;
    QCheckBox* checkBoxCueIdInText = nullptr;
    QCheckBox* checkBoxPulldown = nullptr;
    QLineEdit* textBoxMidiStart = nullptr;
    QComboBox* comboBoxMidiTcType = nullptr;
};

// The sheet commands (New, Open, Save, Save As, with their shortcuts) in a
// window's File menu, acting on the document of the moment.
void addSheetCommands(QMenu* menu, const std::function<CueDocument*()>& document);
