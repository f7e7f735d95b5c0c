#pragma once
// The preview of an import from another program's file (a DAW's session
// text, an EDL, a spreadsheet or marker list, subtitles, MIDI markers):
// the format found, the rows it will add, the frame rate and a time to add
// to every cue, and for a spreadsheet what each column holds (remembered per
// header between runs). Nothing changes in the list until it is accepted;
// lines that could not be read are listed with their numbers.
#include "cuelist/CueFormats.h"

#include <QByteArray>
#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QTableWidget;
class QHBoxLayout;

class ImportPreview : public QDialog {
    Q_OBJECT
public:
    // `listType` is the list's timecode type (the rate of a file that states none).
    ImportPreview(const QByteArray& bytes, const QString& fileName, int listType, QWidget* parent = nullptr);

    // What the list gets when the preview is accepted: the cues read, moved
    // by the time to add; and the rate they are at.
    QList<CueItem> cues() const;
    int tctype() const { return imported_.tctype >= 0 ? imported_.tctype : type_; }
    const rz48::formats::Imported& imported() const { return imported_; }

    // The controls, for the operator and for tests.
    QComboBox* rate() const { return rate_; }
    QLineEdit* shift() const { return shift_; }
    QTableWidget* rows() const { return rows_; }
    QListWidget* problems() const { return problems_; }
    // A spreadsheet's column choices (empty for other formats).
    const QList<QComboBox*>& columnChoices() const { return columnChoices_; }

    // Reads the file again with the choices made.
    void reread();
    // Accepted: a spreadsheet's column choices are kept for its header.
    void accept() override;

private:
    void showRows();
    void buildColumnChoices();
    void rememberMapping() const;

    QByteArray bytes_;
    QString fileName_;
    int type_;
    rz48::formats::Imported imported_;
    QLabel* format_ = nullptr;
    QComboBox* rate_ = nullptr;
    QLineEdit* shift_ = nullptr;
    QHBoxLayout* columnsRow_ = nullptr;
    QList<QComboBox*> columnChoices_;
    QTableWidget* rows_ = nullptr;
    QListWidget* problems_ = nullptr;
    QLabel* shiftError_ = nullptr;
};
