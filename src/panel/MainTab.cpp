#include "panel/MainTab.h"

#include "codecs/MainTabCodec.h"
#include "codecs/ProtocolLetters.h"
#include "codecs/ProtocolTables.h"
#include "common/Diagnostics.h"
#include "link/UnitLink.h"
#include "link/MsgClass.h"
#include "link/ReportRouter.h"
#include "widgets/FieldStepper.h"
#include "widgets/RadioMatrix.h"
#include "widgets/WidgetFactory.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

#include <tuple>

using namespace rz48::widgets;
namespace maintab = rz48::maintab;

namespace {

constexpr int kConsoleLines = 5000; // the console keeps the last lines of a long session
const char* const kMaskingNames[5] = {"Top", "Bottom", "Left", "Right", "Transparency"};
const char* const kMaskingUnits[5] = {"lines", "lines", "px", "px", "/255"};

} // namespace

MainTab::MainTab(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("mainPage"));
    auto* grid = new QGridLayout(this);

    // Reference and priority.
    auto* reference = new QGroupBox(tr("Reference"), this);
    auto* refLayout = new QVBoxLayout(reference);
    rateMatrix = new RadioMatrix(QStringLiteral("rateMatrix"), {tr("Flat"), tr("Pulldown"), tr("Auto")}, Qt::Horizontal);
    priorityMatrix = new RadioMatrix(QStringLiteral("priorityMatrix"), {tr("HDMI priority"), tr("SDI priority")}, Qt::Horizontal);
    checkBoxStreamerEndPunch = checkBox(QStringLiteral("checkBoxStreamerEndPunch"), tr("Punch at streamer end"), this);
    refLayout->addWidget(rateMatrix);
    refLayout->addWidget(priorityMatrix);
    refLayout->addWidget(checkBoxStreamerEndPunch);
    grid->addWidget(reference, 0, 0);

    // Test signals and bypass.
    auto* signals_ = new QGroupBox(tr("Signal"), this);
    auto* sigLayout = new QGridLayout(signals_);
    checkBoxBars = checkBox(QStringLiteral("checkBoxBars"), tr("Colour bars"), this);
    checkBoxGrayScale = checkBox(QStringLiteral("checkBoxGrayScale"), tr("Grey scale"), this);
    checkBoxBypass = checkBox(QStringLiteral("checkBoxBypass"), tr("Bypass"), this);
    comboBoxSdiGenerator = comboBox(QStringLiteral("comboBoxSdiGenerator"), {}, this);
    QStringList spaces;
    for (const char* space : rz48::kColorSpaces)
        spaces << QString::fromLatin1(space);
    myColorSpaceComboBox = comboBox(QStringLiteral("myColorSpaceComboBox"), spaces, this);
    sigLayout->addWidget(checkBoxBars, 0, 0);
    sigLayout->addWidget(checkBoxGrayScale, 0, 1);
    sigLayout->addWidget(checkBoxBypass, 0, 2);
    sigLayout->addWidget(new QLabel(tr("SDI generator"), this), 1, 0);
    sigLayout->addWidget(comboBoxSdiGenerator, 1, 1, 1, 2);
    sigLayout->addWidget(new QLabel(tr("Input colour space"), this), 2, 0);
    sigLayout->addWidget(myColorSpaceComboBox, 2, 1, 1, 2);
    grid->addWidget(signals_, 0, 1);

    // Masking.
    auto* masking = new QGroupBox(tr("Masking"), this);
    auto* maskLayout = new QGridLayout(masking);
    for (int i = 0; i < 5; ++i) {
        const QString name = QLatin1String(kMaskingNames[i]);
        masking_[size_t(i)] = new FieldStepper(QStringLiteral("textBoxMasking") + name, QStringLiteral("stepperMasking") + name,
                                               rz48::kDecimalFieldMin, rz48::kDecimalFieldMax, {}, tr(kMaskingUnits[i]), this);
        maskLayout->addWidget(new QLabel(name, this), i, 0);
        maskLayout->addWidget(masking_[size_t(i)], i, 1);
        connect(masking_[size_t(i)], &FieldStepper::edited, this, &MainTab::sendMasking);
    }
    grid->addWidget(masking, 1, 0);

    // Pop and LTC, delay trim, one-shot requests.
    auto* pop = new QGroupBox(tr("Pop / LTC"), this);
    auto* popLayout = new QVBoxLayout(pop);
    const std::tuple<QCheckBox**, const char*, QString> pops[] = {
        {&checkBoxPopStreamerAccum, "checkBoxPopStreamerAccum", tr("Pop on accumulated streamer")},
        {&checkBoxPopStreamer, "checkBoxPopStreamer", tr("Pop on streamer")},
        {&checkBoxPopPunch, "checkBoxPopPunch", tr("Pop on punch")},
    };
    for (const auto& [box, name, title] : pops)
        popLayout->addWidget(*box = checkBox(QLatin1String(name), title, this));
    popMatrix = new RadioMatrix(QStringLiteral("popMatrix"), {tr("Pop"), tr("LTC")}, Qt::Horizontal);
    popLayout->addWidget(popMatrix);

    FieldStepper::Rule trimRule;
    trimRule.show = [](qint64 v) { return QString::number(maintab::trimDisplayValue(int(v))); };
    trimRule.read = [](const QString& text) { return maintab::trimFromDisplayValue(rz48::doubleValue(text)); };
    trim_ = new FieldStepper(QStringLiteral("textDelayTrim"), QStringLiteral("stepperDelayTrim"), rz48::kDecimalFieldMin, rz48::kDecimalFieldMax, trimRule,
                             tr("s"), this);
    auto* trimRow = new QHBoxLayout;
    trimRow->addWidget(new QLabel(tr("Delay trim"), this));
    trimRow->addWidget(trim_);
    popLayout->addLayout(trimRow);

    checkBoxExtendedTiming = checkBox(QStringLiteral("checkBoxExtendedTiming"), tr("Extended timing"), this);
    auto* hdmiButton = button(QStringLiteral("buttonGetHdmiTiming"), tr("Get HDMI timing"), this);
    auto* fieldsButton = button(QStringLiteral("buttonStreamerFields"), tr("Streamer fields"), this);
    auto* requests = new QHBoxLayout;
    requests->addWidget(checkBoxExtendedTiming);
    requests->addWidget(hdmiButton);
    requests->addWidget(fieldsButton);
    requests->addStretch(1);
    popLayout->addLayout(requests);
    grid->addWidget(pop, 1, 1);

    // Debug console.
    auto* console = new QGroupBox(tr("Console"), this);
    auto* consoleLayout = new QGridLayout(console);
    textViewDebugRx = new QPlainTextEdit(this);
    textViewDebugRx->setObjectName(QStringLiteral("textViewDebugRx"));
    textViewDebugRx->setReadOnly(true);
    textViewDebugRx->setMaximumBlockCount(kConsoleLines);
    textViewDebugRx->setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 9));
    textDebugTx = new QLineEdit(this);
    textDebugTx->setObjectName(QStringLiteral("textDebugTx"));
    textDebugTx->setPlaceholderText(tr("command line to the unit, e.g. A"));
    auto* clearButton = button(QStringLiteral("buttonClearDebugRx"), tr("Clear"), this);
    checkBoxTimer = checkBox(QStringLiteral("checkBoxTimer"), tr("Timer"), this);
    checkBoxTimer->hide(); // an outlet without an action of its own
    consoleLayout->addWidget(textViewDebugRx, 0, 0, 1, 2);
    consoleLayout->addWidget(textDebugTx, 1, 0);
    consoleLayout->addWidget(clearButton, 1, 1);
    grid->addWidget(console, 2, 0, 1, 2);
    grid->setRowStretch(2, 1);

    // User actions only: reports set these controls with their signals blocked.
    connect(rateMatrix, &RadioMatrix::cellClicked, this, &MainTab::onRadioButtonRef);
    connect(priorityMatrix, &RadioMatrix::cellClicked, this, &MainTab::onRadioButtonPriority);
    connect(popMatrix, &RadioMatrix::cellClicked, this, &MainTab::onRadioPop);
    connect(checkBoxStreamerEndPunch, &QCheckBox::toggled, this, &MainTab::sendRate);
    connect(checkBoxBars, &QCheckBox::toggled, this, &MainTab::sendBarsAndGray);
    connect(checkBoxGrayScale, &QCheckBox::toggled, this, &MainTab::sendBarsAndGray);
    connect(checkBoxBypass, &QCheckBox::toggled, this, &MainTab::onCheckBoxBypass);
    connect(checkBoxPopStreamerAccum, &QCheckBox::toggled, this, &MainTab::onCheckBoxPopStreamerAccum);
    connect(checkBoxPopStreamer, &QCheckBox::toggled, this, &MainTab::onCheckBoxPopStreamer);
    connect(checkBoxPopPunch, &QCheckBox::toggled, this, &MainTab::sendPopEnables);
    connect(comboBoxSdiGenerator, &QComboBox::activated, this, &MainTab::onComboBoxSdiGenerator);
    connect(myColorSpaceComboBox, &QComboBox::activated, this, &MainTab::oncomboBoxInputColorSpace);
    connect(trim_, &FieldStepper::edited, this, &MainTab::sendTrim);
    connect(textDebugTx, &QLineEdit::returnPressed, this, &MainTab::onTextDebugTx);
    connect(hdmiButton, &QPushButton::clicked, this, &MainTab::onButtonGetHdmiTiming);
    connect(fieldsButton, &QPushButton::clicked, this, &MainTab::onButtonStreamerFields);
    connect(clearButton, &QPushButton::clicked, this, &MainTab::onButtonClearDebugRx);
}

void MainTab::awakeFromNib()
{
    setQuietly(comboBoxSdiGenerator, [](QComboBox* c) {
        for (const char* entry : rz48::kSdiGenerators)
            c->addItem(QString::fromLatin1(entry));
    });
    setQuietly(checkBoxTimer, [](QCheckBox* c) { c->setChecked(false); });
    // Until the unit reports a group, its controls are empty and disabled.
    awaiting_ = {
        {'A', {rateMatrix, priorityMatrix, checkBoxStreamerEndPunch}},
        {'G', {checkBoxBars, checkBoxGrayScale}},
        {'H', {masking_.begin(), masking_.end()}},
        {'J', {trim_}},
        {'M', {comboBoxSdiGenerator}},
        {'Q', {checkBoxBypass}},
        {'X', {checkBoxPopStreamerAccum, checkBoxPopStreamer, checkBoxPopPunch, popMatrix}},
        {'Y', {myColorSpaceComboBox}},
    };
    for (const auto& [letter, controls] : awaiting_)
        for (QWidget* control : controls)
            control->setEnabled(false);
    for (FieldStepper* field : masking_)
        field->clearQuietly();
    trim_->clearQuietly();
    for (QComboBox* box : {comboBoxSdiGenerator, myColorSpaceComboBox})
        setQuietly(box, [](QComboBox* c) { c->setCurrentIndex(-1); });
}

// ---------------------------------------------------------------- reports

void MainTab::registerReports(ReportRouter& router)
{
    for (const rz48::protocol::Letter& l : rz48::protocol::kLetters) {
        if (l.owner == rz48::protocol::Owner::MainTab)
            router.on({l.letter}, [this](const QString& line, ReportRouter::Fields& f) {
                if (maintab::readReport(line, f, reported_))
                    showReport(char(line.at(0).unicode()));
            });
    }
}

void MainTab::showReport(char letter)
{
    if (const auto group = awaiting_.find(letter); group != awaiting_.end()) {
        for (QWidget* control : group->second)
            control->setEnabled(true);
        awaiting_.erase(group);
    }
    const maintab::Settings& s = reported_;
    switch (letter) {
    case 'A': {
        const QSignalBlocker b1(rateMatrix), b2(priorityMatrix), b3(checkBoxStreamerEndPunch);
        rateMatrix->selectOnly(s.rate.reference);
        priorityMatrix->setCellOn(0, s.rate.hdmiPriority);
        priorityMatrix->setCellOn(1, !s.rate.hdmiPriority);
        checkBoxStreamerEndPunch->setChecked(s.rate.endPunch);
        break;
    }
    case 'G': {
        const QSignalBlocker b1(checkBoxBars), b2(checkBoxGrayScale);
        checkBoxBars->setChecked(s.bars.bars);
        checkBoxGrayScale->setChecked(s.bars.gray);
        break;
    }
    case 'H':
        for (size_t i = 0; i < masking_.size(); ++i)
            masking_[i]->setQuietly(s.masking[i]);
        break;
    case 'J':
        trim_->setQuietly(s.trim);
        break;
    case 'M':
        setQuietly(comboBoxSdiGenerator, [&](QComboBox* c) { c->setCurrentIndex(s.generator >= 0 && s.generator < c->count() ? s.generator : -1); });
        break;
    case 'Q':
        setQuietly(checkBoxBypass, [&](QCheckBox* c) { c->setChecked(s.bypass); });
        break;
    case 'X': {
        const QSignalBlocker b1(checkBoxPopStreamerAccum), b2(checkBoxPopPunch), b3(checkBoxPopStreamer), b4(popMatrix);
        checkBoxPopStreamerAccum->setChecked(s.pop.streamerAccum);
        checkBoxPopPunch->setChecked(s.pop.punch);
        checkBoxPopStreamer->setChecked(s.pop.streamer);
        popMatrix->setCellOn(0, !s.pop.ltc);
        popMatrix->setCellOn(1, s.pop.ltc);
        break;
    }
    case 'Y':
        setQuietly(myColorSpaceComboBox, [&](QComboBox* c) { c->setCurrentIndex(s.colorSpace < uint32_t(c->count()) ? int(s.colorSpace) : -1); });
        break;
    default:
        break;
    }
}

void MainTab::appendConsole(const QString& line)
{
    textViewDebugRx->moveCursor(QTextCursor::End);
    textViewDebugRx->insertPlainText(line + u'\n');
    textViewDebugRx->verticalScrollBar()->setValue(textViewDebugRx->verticalScrollBar()->maximum());
}

// ---------------------------------------------------------------- senders

void MainTab::send(const QString& command)
{
    if (link_)
        link_->sendString(command);
}

void MainTab::sendRate()
{
    maintab::Rate rate;
    rate.reference = rateMatrix->isCellOn(2) ? maintab::Auto : rateMatrix->isCellOn(1) ? maintab::Pulldown : maintab::Flat;
    rate.endPunch = checkBoxStreamerEndPunch->isChecked();
    rate.hdmiPriority = priorityMatrix->isCellOn(0);
    send(maintab::rateCommand(rate));
}

void MainTab::onRadioButtonRef(int cell)
{
    sendRate();
}

void MainTab::onRadioButtonPriority(int cell)
{
    sendRate();
}

void MainTab::sendBarsAndGray()
{
    send(maintab::barsCommand({checkBoxBars->isChecked(), checkBoxGrayScale->isChecked()}));
}

void MainTab::sendMasking()
{
    maintab::Masking m {};
    for (size_t i = 0; i < 5; ++i)
        m[i] = masking_[i]->value();
    send(maintab::maskingCommand(m));
}

void MainTab::sendPopEnables()
{
    send(maintab::popCommand({checkBoxPopStreamerAccum->isChecked(), checkBoxPopPunch->isChecked(),
                              checkBoxPopStreamer->isChecked(), popMatrix->isCellOn(1)}));
}

void MainTab::onCheckBoxPopStreamerAccum()
{
    if (checkBoxPopStreamerAccum->isChecked())
        setQuietly(checkBoxPopStreamer, [](QCheckBox* c) { c->setChecked(false); });
    sendPopEnables();
}

void MainTab::onCheckBoxPopStreamer()
{
    if (checkBoxPopStreamer->isChecked())
        setQuietly(checkBoxPopStreamerAccum, [](QCheckBox* c) { c->setChecked(false); });
    sendPopEnables();
}

void MainTab::onRadioPop(int cell)
{
    send(maintab::popCommand({checkBoxPopStreamerAccum->isChecked(), checkBoxPopPunch->isChecked(),
                              checkBoxPopStreamer->isChecked(), cell == 1}));
}

void MainTab::onComboBoxSdiGenerator()
{
    send(maintab::generatorCommand(comboBoxSdiGenerator->currentIndex()));
}

void MainTab::onCheckBoxBypass()
{
    send(maintab::bypassCommand(checkBoxBypass->isChecked()));
}

void MainTab::sendTrim()
{
    send(maintab::trimCommand(trim_->value()));
}

void MainTab::oncomboBoxInputColorSpace()
{
    send(maintab::colorSpaceCommand(myColorSpaceComboBox->currentIndex()));
}

void MainTab::onButtonGetHdmiTiming()
{
    send(maintab::hdmiTimingCommand(checkBoxExtendedTiming->isChecked()));
}

void MainTab::onButtonStreamerFields()
{
    send(QString::fromLatin1(maintab::kStreamerFieldsCommand));
}

void MainTab::onTextDebugTx()
{
    const QString command = textDebugTx->text().trimmed();
    textDebugTx->setText(command);
    send(command);
}

void MainTab::onButtonClearDebugRx()
{
    textViewDebugRx->selectAll();
    textViewDebugRx->clear();
}

QString MainTab::onButtonTest(bool* passed)
{
    MsgClass m;
    m.txString(QStringLiteral("A 1\r\n"));
    const unsigned char sysex[8] = {0xF0, 0x20, 0x56, 0x20, 0x41, 0x42, 0x43, 0xF7};
    m.txBytes(sysex, sizeof sysex);
    m.txString(QStringLiteral("B\r\n"));

    std::string text;
    auto printLines = [&m, &text] {
        while (const std::optional<QString> line = m.removeString()) {
            const std::string printed = line->toStdString() + '\n';
            rz48::diagText(printed);
            text += printed;
            if (line->isEmpty())
                break;
        }
    };
    printLines();
    while (const std::optional<QByteArray> midi = m.removeMidi()) {
        std::string printed;
        char item[8];
        for (char c : *midi) {
            std::snprintf(item, sizeof item, "%02x ", unsigned(static_cast<unsigned char>(c)));
            printed += item;
        }
        printed += '\n';
        rz48::diagText(printed);
        text += printed;
        if (midi->isEmpty())
            break;
    }
    printLines();
    // Two lines around the message, which comes out whole.
    if (passed)
        *passed = text == "A 1\n\nf0 20 56 20 41 42 43 f7 \nB\n";
    return QString::fromStdString(text);
}
