#include "cuewindow/ImportPreview.h"

#include "cuelist/CueShift.h"
#include "timecode/TCFormatter.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const QStringList kColumnWords {QStringLiteral("id"),   QStringLiteral("in"),    QStringLiteral("out"),    QStringLiteral("character"),
                                QStringLiteral("text"), QStringLiteral("notes"), QStringLiteral("reason"), QStringLiteral("status"),
                                QStringLiteral("skip")};
constexpr int kShownRows = 2000; // the preview shows this many; all are imported

QString formatName(const QString& format)
{
    static const std::pair<const char*, const char*> names[] = {
        {"protools", QT_TRANSLATE_NOOP("ImportPreview", "DAW session text")},
        {"edl", QT_TRANSLATE_NOOP("ImportPreview", "edit decision list (EDL)")},
        {"csv", QT_TRANSLATE_NOOP("ImportPreview", "spreadsheet or marker list (CSV/TSV)")},
        {"srt", QT_TRANSLATE_NOOP("ImportPreview", "SubRip subtitles")},
        {"vtt", QT_TRANSLATE_NOOP("ImportPreview", "WebVTT subtitles")},
        {"midi", QT_TRANSLATE_NOOP("ImportPreview", "MIDI markers")},
    };
    for (const auto& [name, shown] : names)
        if (format == QLatin1String(name))
            return ImportPreview::tr(shown);
    return format;
}

QString mappingKey(const QStringList& header)
{
    return QStringLiteral("importColumns/") + QString::fromLatin1(header.join(u'\t').toUtf8().toBase64(QByteArray::Base64UrlEncoding));
}

} // namespace

ImportPreview::ImportPreview(const QByteArray& bytes, const QString& fileName, int listType, QWidget* parent)
    : QDialog(parent)
    , bytes_(bytes)
    , fileName_(fileName)
    , type_(listType >= 0 && listType <= 3 ? listType : 1)
{
    setObjectName(QStringLiteral("ImportPreview"));
    setWindowTitle(tr("Import %1").arg(QFileInfo(fileName).fileName()));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    format_ = new QLabel(this);
    format_->setObjectName(QStringLiteral("labelImportFormat"));
    form->addRow(tr("Format"), format_);
    rate_ = new QComboBox(this);
    rate_->setObjectName(QStringLiteral("comboBoxImportRate"));
    rate_->addItems({tr("24 fps"), tr("25 fps"), tr("29.97 fps drop-frame"), tr("30 fps")});
    rate_->setToolTip(tr("The frame rate of the file's times, when the file does not say it"));
    form->addRow(tr("Frame rate"), rate_);
    shift_ = new QLineEdit(this);
    shift_->setObjectName(QStringLiteral("textBoxImportShift"));
    shift_->setPlaceholderText(QStringLiteral("00:00:00:00"));
    shift_->setToolTip(tr("A time added to every cue, HH:MM:SS:FF; \"-\" before it takes it away"));
    shiftError_ = new QLabel(this);
    auto* shiftRow = new QHBoxLayout;
    shiftRow->addWidget(shift_);
    shiftRow->addWidget(shiftError_, 1);
    form->addRow(tr("Time to add"), shiftRow);
    columnsRow_ = new QHBoxLayout;
    form->addRow(tr("Columns"), columnsRow_);
    layout->addLayout(form);

    rows_ = new QTableWidget(this);
    rows_->setObjectName(QStringLiteral("tableImportRows"));
    rows_->setColumnCount(4);
    rows_->setHorizontalHeaderLabels({tr("In"), tr("Out"), tr("Character"), tr("Text")});
    rows_->horizontalHeader()->setStretchLastSection(true);
    rows_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    layout->addWidget(rows_, 1);
    problems_ = new QListWidget(this);
    problems_->setObjectName(QStringLiteral("listImportProblems"));
    problems_->setMaximumHeight(90);
    problems_->setToolTip(tr("The lines that could not be read, by line number; nothing of them is imported"));
    layout->addWidget(problems_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Import"));
    connect(buttons, &QDialogButtonBox::accepted, this, &ImportPreview::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    rate_->setCurrentIndex(type_);
    connect(rate_, &QComboBox::activated, this, [this](int type) {
        type_ = type;
        reread();
    });
    connect(shift_, &QLineEdit::textChanged, this, &ImportPreview::showRows);
    reread();
    resize(760, 520);
}

void ImportPreview::reread()
{
    rz48::formats::ImportOptions options;
    options.tctype = type_;
    options.fileName = fileName_;
    for (QComboBox* choice : columnChoices_)
        options.columns << choice->currentData().toString();
    // A spreadsheet's header seen before: its columns as chosen then.
    if (options.columns.isEmpty()) {
        const rz48::formats::Imported first = rz48::formats::importCues(bytes_, options);
        if (first.format == QLatin1String("csv") && !first.header.isEmpty())
            options.columns = QSettings().value(mappingKey(first.header)).toStringList();
        if (options.columns.isEmpty())
            imported_ = first;
    }
    if (!options.columns.isEmpty())
        imported_ = rz48::formats::importCues(bytes_, options);
    format_->setText(formatName(imported_.format));
    // A rate the file states is the file's: shown, not chosen.
    rate_->setEnabled(imported_.tctype < 0);
    if (imported_.tctype >= 0)
        rate_->setCurrentIndex(imported_.tctype);
    if (columnChoices_.isEmpty())
        buildColumnChoices();
    problems_->clear();
    for (const rz48::formats::Problem& p : imported_.problems)
        problems_->addItem(tr("line %1: %2").arg(p.line).arg(p.why));
    problems_->setVisible(!imported_.problems.isEmpty());
    showRows();
}

void ImportPreview::buildColumnChoices()
{
    if (imported_.format != QLatin1String("csv") || imported_.mapping.isEmpty())
        return;
    for (qsizetype i = 0; i < imported_.mapping.size(); ++i) {
        auto* choice = new QComboBox(this);
        choice->setObjectName(QStringLiteral("comboBoxImportColumn%1").arg(i + 1));
        for (const QString& word : kColumnWords)
            choice->addItem(word, word);
        choice->setCurrentIndex(std::max<qsizetype>(0, kColumnWords.indexOf(imported_.mapping[i])));
        choice->setToolTip(imported_.header.value(i).isEmpty() ? tr("Column %1").arg(i + 1)
                                                                : tr("Column %1: \"%2\"").arg(i + 1).arg(imported_.header.value(i)));
        connect(choice, &QComboBox::activated, this, &ImportPreview::reread);
        columnsRow_->addWidget(choice);
        columnChoices_ << choice;
    }
}

void ImportPreview::accept()
{
    // A time to add that is not a time is said, not ignored.
    if (!shift_->text().trimmed().isEmpty() && !rz48::cueshift::parseShift(shift_->text(), tctype())) {
        shift_->setFocus();
        return;
    }
    rememberMapping();
    QDialog::accept();
}

void ImportPreview::rememberMapping() const
{
    if (columnChoices_.isEmpty() || imported_.header.isEmpty())
        return;
    QStringList words;
    for (QComboBox* choice : columnChoices_)
        words << choice->currentData().toString();
    QSettings().setValue(mappingKey(imported_.header), words);
}

QList<CueItem> ImportPreview::cues() const
{
    QList<CueItem> cues = imported_.cues;
    if (const std::optional<int64_t> frames = rz48::cueshift::parseShift(shift_->text(), tctype()))
        rz48::cueshift::shiftCues(cues, *frames, tctype());
    return cues;
}

void ImportPreview::showRows()
{
    const bool shiftOk = shift_->text().trimmed().isEmpty() || rz48::cueshift::parseShift(shift_->text(), tctype());
    shiftError_->setText(shiftOk ? QString() : tr("not a time HH:MM:SS:FF at this rate: nothing can be imported"));
    if (auto* buttons = findChild<QDialogButtonBox*>())
        buttons->button(QDialogButtonBox::Ok)->setEnabled(shiftOk);
    const QList<CueItem> shown = cues();
    rows_->setRowCount(int(std::min<qsizetype>(shown.size(), kShownRows)));
    for (int r = 0; r < rows_->rowCount(); ++r) {
        const CueItem& c = shown[r];
        const QString cells[] = {TCFormatter::stringForObjectValue(c.cueIn), TCFormatter::stringForObjectValue(c.cueOut), c.character, c.cueText};
        for (int col = 0; col < 4; ++col)
            rows_->setItem(r, col, new QTableWidgetItem(cells[col]));
    }
    setWindowTitle(tr("Import %1: %n cue(s)", nullptr, int(shown.size())).arg(QFileInfo(fileName_).fileName()));
}
