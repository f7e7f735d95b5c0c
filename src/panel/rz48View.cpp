#include "panel/rz48View.h"

#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "common/TextValue.h"
#include "cuelist/CueDocument.h"
#include "cues/AnnunciatorView.h"
#include "cues/MonitorView.h"
#include "cues/PunchView.h"
#include "link/ComThread.h"
#include "link/ReceiveDrain.h"
#include "panel/MainTabCommands.h"
#include "panel/PanelTables.h"
#include "panel/ReportScanner.h"
#include "panel/VersionCheck.h"
#include "update/FirmwareUpdateThread.h"
#include "update/MicroUpdateThread.h"
#include "update/Progress.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"
#include "widgets/RadioMatrix.h"
#include "widgets/Stepper.h"
#include "widgets/WindowClose.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>
#include <unistd.h>

namespace {

constexpr int kUpdateTab = 2;
constexpr uint32_t kProgressHideTicks = 50;
constexpr int kConsoleLines = 5000; // the console keeps the last lines of a long session
const char* const kMaskingNames[5] = {"Top", "Bottom", "Left", "Right", "Transparency"};

QString shortVersion()
{
    const QString v = QCoreApplication::applicationVersion();
    return v.isEmpty() ? QStringLiteral(RZ48_VERSION) : v;
}

} // namespace

rz48View::rz48View(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("rz48View"));
    setFocusPolicy(Qt::StrongFocus); // accepts first responder
    buildWindow();
    aTimer = new QTimer(this);
    aTimer->setInterval(100);
    connect(aTimer, &QTimer::timeout, this, &rz48View::timer_service);
}

rz48View::~rz48View()
{
    if (comThread_)
        comThread_->stopThread();
}

// ---------------------------------------------------------------- layout

void rz48View::buildWindow()
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    tabViewRz48 = new QTabWidget(this);
    tabViewRz48->setObjectName(QStringLiteral("tabViewRz48"));
    layout->addWidget(tabViewRz48);

    tabViewRz48->addTab(buildMainTab(), tr("Video"));

    auto page = [](const char* name, QWidget* preview, QWidget* controls) {
        auto* w = new QWidget;
        w->setObjectName(QLatin1String(name));
        auto* layout = new QHBoxLayout(w);
        layout->addWidget(preview, 3, Qt::AlignTop);
        layout->addWidget(controls, 2);
        return w;
    };
    monitorView_ = new MonitorView;
    tabViewRz48->addTab(page("streamerPage", monitorView_, monitorView_->controls()), tr("Streamer"));

    auto* update = new QWidget;
    update->setObjectName(QStringLiteral("updatePage"));
    auto* updateLayout = new QVBoxLayout(update);
    labelUpdate = new QLabel(update);
    labelUpdate->setObjectName(QStringLiteral("labelUpdate"));
    progressBarUpdate = new QProgressBar(update);
    progressBarUpdate->setObjectName(QStringLiteral("progressBarUpdate"));
    progressBarUpdate->setTextVisible(false);
    updateLayout->addWidget(labelUpdate);
    updateLayout->addWidget(progressBarUpdate);
    updateLayout->addStretch(1);
    labelUpdate->hide();
    progressBarUpdate->hide();
    tabViewRz48->addTab(update, tr("Update"));

    punchView_ = new PunchView;
    tabViewRz48->addTab(page("punchPage", punchView_, punchView_->controls()), tr("Punch"));

    annunciatorView_ = new AnnunciatorView;
    tabViewRz48->addTab(page("overlayPage", annunciatorView_, annunciatorView_->controls()), tr("Overlay"));
}

QWidget* rz48View::buildMainTab()
{
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("mainPage"));
    auto* grid = new QGridLayout(page);

    auto checkBox = [page](const char* name, const QString& title) {
        auto* box = new QCheckBox(title, page);
        box->setObjectName(QLatin1String(name));
        return box;
    };
    auto button = [page](const char* name, const QString& title) {
        auto* b = new QPushButton(title, page);
        b->setObjectName(QLatin1String(name));
        return b;
    };

    // Reference and priority.
    auto* reference = new QGroupBox(tr("Reference"), page);
    auto* refLayout = new QVBoxLayout(reference);
    rateMatrix = new RadioMatrix(QStringLiteral("rateMatrix"), {tr("Flat"), tr("Pulldown"), tr("Auto")}, Qt::Horizontal);
    priorityMatrix = new RadioMatrix(QStringLiteral("priorityMatrix"), {tr("HDMI priority"), tr("SDI priority")}, Qt::Horizontal);
    checkBoxStreamerEndPunch = checkBox("checkBoxStreamerEndPunch", tr("Punch at streamer end"));
    refLayout->addWidget(rateMatrix);
    refLayout->addWidget(priorityMatrix);
    refLayout->addWidget(checkBoxStreamerEndPunch);
    grid->addWidget(reference, 0, 0);

    // Test signals and bypass.
    auto* signals_ = new QGroupBox(tr("Signal"), page);
    auto* sigLayout = new QGridLayout(signals_);
    checkBoxBars = checkBox("checkBoxBars", tr("Colour bars"));
    checkBoxGrayScale = checkBox("checkBoxGrayScale", tr("Grey scale"));
    checkBoxBypass = checkBox("checkBoxBypass", tr("Bypass"));
    comboBoxSdiGenerator = new QComboBox(page);
    comboBoxSdiGenerator->setObjectName(QStringLiteral("comboBoxSdiGenerator"));
    myColorSpaceComboBox = new QComboBox(page);
    myColorSpaceComboBox->setObjectName(QStringLiteral("myColorSpaceComboBox"));
    myColorSpaceComboBox->addItems({tr("RGB full range"), tr("RGB limited range"), tr("YCbCr 4:4:4 BT.709"),
                                    tr("YCbCr 4:2:2 BT.709"), tr("YCbCr 4:4:4 BT.601"), tr("YCbCr 4:2:2 BT.601")});
    sigLayout->addWidget(checkBoxBars, 0, 0);
    sigLayout->addWidget(checkBoxGrayScale, 0, 1);
    sigLayout->addWidget(checkBoxBypass, 0, 2);
    sigLayout->addWidget(new QLabel(tr("SDI generator"), page), 1, 0);
    sigLayout->addWidget(comboBoxSdiGenerator, 1, 1, 1, 2);
    sigLayout->addWidget(new QLabel(tr("Input colour space"), page), 2, 0);
    sigLayout->addWidget(myColorSpaceComboBox, 2, 1, 1, 2);
    grid->addWidget(signals_, 0, 1);

    // Masking.
    auto* masking = new QGroupBox(tr("Masking"), page);
    auto* maskLayout = new QGridLayout(masking);
    for (int i = 0; i < 5; ++i) {
        const QString name = QLatin1String(kMaskingNames[i]);
        textBoxMasking[size_t(i)] = new QLineEdit(QStringLiteral("0"), page);
        textBoxMasking[size_t(i)]->setObjectName(QStringLiteral("textBoxMasking") + name);
        textBoxMasking[size_t(i)]->setMaximumWidth(70);
        stepperMasking[size_t(i)] = new Stepper(QStringLiteral("stepperMasking") + name, 0, i == 4 ? 255 : 1080);
        maskLayout->addWidget(new QLabel(name, page), i, 0);
        maskLayout->addWidget(textBoxMasking[size_t(i)], i, 1);
        maskLayout->addWidget(stepperMasking[size_t(i)], i, 2);
        connect(textBoxMasking[size_t(i)], &QLineEdit::editingFinished, this, [this, i] { onTextBoxMasking(i); });
        connect(stepperMasking[size_t(i)], &Stepper::valueChanged, this, [this, i] { onStepperMasking(i); });
    }
    grid->addWidget(masking, 1, 0);

    // Pop and LTC, delay trim, one-shot requests.
    auto* pop = new QGroupBox(tr("Pop / LTC"), page);
    auto* popLayout = new QVBoxLayout(pop);
    checkBoxPopStreamerAccum = checkBox("checkBoxPopStreamerAccum", tr("Pop on accumulated streamer"));
    checkBoxPopStreamer = checkBox("checkBoxPopStreamer", tr("Pop on streamer"));
    checkBoxPopPunch = checkBox("checkBoxPopPunch", tr("Pop on punch"));
    popMatrix = new RadioMatrix(QStringLiteral("popMatrix"), {tr("Pop"), tr("LTC")}, Qt::Horizontal);
    popLayout->addWidget(checkBoxPopStreamerAccum);
    popLayout->addWidget(checkBoxPopStreamer);
    popLayout->addWidget(checkBoxPopPunch);
    popLayout->addWidget(popMatrix);

    auto* trimRow = new QHBoxLayout;
    textDelayTrim = new QLineEdit(QStringLiteral("0"), page);
    textDelayTrim->setObjectName(QStringLiteral("textDelayTrim"));
    textDelayTrim->setMaximumWidth(70);
    stepperDelayTrim = new Stepper(QStringLiteral("stepperDelayTrim"), -5000, 5000);
    trimRow->addWidget(new QLabel(tr("Delay trim"), page));
    trimRow->addWidget(textDelayTrim);
    trimRow->addWidget(stepperDelayTrim);
    trimRow->addStretch(1);
    popLayout->addLayout(trimRow);

    checkBoxExtendedTiming = checkBox("checkBoxExtendedTiming", tr("Extended timing"));
    auto* hdmiButton = button("buttonGetHdmiTiming", tr("Get HDMI timing"));
    auto* fieldsButton = button("buttonStreamerFields", tr("Streamer fields"));
    auto* testButton = button("buttonTest", tr("Framing test"));
    auto* requests = new QHBoxLayout;
    requests->addWidget(checkBoxExtendedTiming);
    requests->addWidget(hdmiButton);
    requests->addWidget(fieldsButton);
    requests->addWidget(testButton);
    requests->addStretch(1);
    popLayout->addLayout(requests);
    grid->addWidget(pop, 1, 1);

    // Debug console.
    auto* console = new QGroupBox(tr("Console"), page);
    auto* consoleLayout = new QGridLayout(console);
    textViewDebugRx = new QPlainTextEdit(page);
    textViewDebugRx->setObjectName(QStringLiteral("textViewDebugRx"));
    textViewDebugRx->setReadOnly(true);
    textViewDebugRx->setMaximumBlockCount(kConsoleLines);
    textViewDebugRx->setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 9));
    textDebugTx = new QLineEdit(page);
    textDebugTx->setObjectName(QStringLiteral("textDebugTx"));
    textDebugTx->setPlaceholderText(tr("command line to the unit, e.g. A"));
    auto* clearButton = button("buttonClearDebugRx", tr("Clear"));
    checkBoxTimer = checkBox("checkBoxTimer", tr("Timer"));
    checkBoxTimer->hide(); // an outlet without an action of its own
    consoleLayout->addWidget(textViewDebugRx, 0, 0, 1, 2);
    consoleLayout->addWidget(textDebugTx, 1, 0);
    consoleLayout->addWidget(clearButton, 1, 1);
    grid->addWidget(console, 2, 0, 1, 2);
    grid->setRowStretch(2, 1);

    // User actions only: reports set these controls with their signals blocked.
    connect(rateMatrix, &RadioMatrix::cellClicked, this, [this](int cell) {
        if (cell == 0) onRadioButtonRefFlat();
        else if (cell == 1) onRadioButtonRefPulldown();
        else onRadioButtonRefAuto();
    });
    connect(priorityMatrix, &RadioMatrix::cellClicked, this, [this](int cell) {
        if (cell == 0) onRadioButtonHdmi();
        else onRadioButtonSdi();
    });
    connect(popMatrix, &RadioMatrix::cellClicked, this, [this](int cell) {
        if (cell == 0) onRadioPopEnable();
        else onRadioLtcEnable();
    });
    connect(checkBoxStreamerEndPunch, &QCheckBox::toggled, this, &rz48View::onCheckBoxStreamerEndPunch);
    connect(checkBoxBars, &QCheckBox::toggled, this, &rz48View::onCheckBoxBars);
    connect(checkBoxGrayScale, &QCheckBox::toggled, this, &rz48View::onCheckBoxGrayScale);
    connect(checkBoxBypass, &QCheckBox::toggled, this, &rz48View::onCheckBoxBypass);
    connect(checkBoxPopStreamerAccum, &QCheckBox::toggled, this, &rz48View::onCheckBoxPopStreamerAccum);
    connect(checkBoxPopStreamer, &QCheckBox::toggled, this, &rz48View::onCheckBoxPopStreamer);
    connect(checkBoxPopPunch, &QCheckBox::toggled, this, &rz48View::onCheckBoxPopPunch);
    connect(comboBoxSdiGenerator, &QComboBox::activated, this, &rz48View::onComboBoxSdiGenerator);
    connect(myColorSpaceComboBox, &QComboBox::activated, this, &rz48View::oncomboBoxInputColorSpace);
    connect(stepperDelayTrim, &Stepper::valueChanged, this, &rz48View::onStepperDelayTrim);
    connect(textDelayTrim, &QLineEdit::editingFinished, this, &rz48View::onTextDelayTrim);
    connect(textDebugTx, &QLineEdit::returnPressed, this, &rz48View::onTextDebugTx);
    connect(hdmiButton, &QPushButton::clicked, this, &rz48View::onButtonGetHdmiTiming);
    connect(fieldsButton, &QPushButton::clicked, this, &rz48View::onButtonStreamerFields);
    connect(testButton, &QPushButton::clicked, this, &rz48View::onButtonTest);
    connect(clearButton, &QPushButton::clicked, this, &rz48View::onButtonClearDebugRx);
    return page;
}

// ---------------------------------------------------------------- start-up

void rz48View::awakeFromNib(const LinkOptions& options)
{
    if (started_)
        return;
    started_ = true;
    sinceStart_.start();
    monitorView_->awakeFromNib();
    punchView_->awakeFromNib();
    annunciatorView_->awakeFromNib();

    if (QWidget* w = window()) {
        w->raise();
        w->activateWindow();
    }
    tag_ = 21930;
    setAcceptDrops(true);
    {
        const QSignalBlocker block(comboBoxSdiGenerator);
        for (const char* entry : rz48::kSdiGenerators)
            comboBoxSdiGenerator->addItem(QString::fromLatin1(entry));
    }
    {
        const QSignalBlocker block(myColorSpaceComboBox);
        myColorSpaceComboBox->setCurrentIndex(0);
    }
    {
        const QSignalBlocker block(checkBoxTimer);
        checkBoxTimer->setChecked(false);
    }
    initColorPanel();
    msg_ = std::make_unique<MsgClass>();
    onWindowClose(this, [this] { windowClosing(); });

    options_ = options;
    comThread_ = std::make_unique<ComThread>();
    firmwareUpdateThread_ = std::make_unique<FirmwareUpdateThread>();
    microUpdateThread_ = std::make_unique<MicroUpdateThread>();
    cueDocument_ = std::make_unique<CueDocument>();
    cueDocument_->makeWindowControllers();
    cueDocument_->showWindows();
    if (QWidget* w = window(); w && cueDocument_->window()) // beside the panel
        cueDocument_->window()->move(w->frameGeometry().topRight() + QPoint(8, 0));
    if (!options.searchDirectory.isEmpty())
        comThread_->setSearchDirectory(options.searchDirectory);
    if (!options.explicitPort.isEmpty())
        comThread_->setExplicitPort(options.explicitPort);
    if (options.driverCheck)
        comThread_->setDriverCheck(options.driverCheck);

    if (comThread_) {
        if (comThread_->openUsbSerial() == 0) {
            punchView_->setComThread(comThread_.get());
            monitorView_->setComThread(comThread_.get());
            annunciatorView_->setComThread(comThread_.get());
            cueDocument_->setComThread(comThread_.get());
            comThread_->startThread(this);
            aTimer->start();
            for (const char* query : rz48::kStartupQueries)
                comThread_->sendString(QString::fromLatin1(query));
        }
        QString title = QStringLiteral("RZ48 version ") + shortVersion() + u'-';
        if (!comThread_->com().isEmpty())
            title += comThread_->com();
        if (QWidget* w = window())
            w->setWindowTitle(title);
    }
}

void rz48View::initColorPanel()
{
    colorList_.clear();
    for (const auto& c : rz48::kNamedColors)
        colorList_.append({QString::fromLatin1(c.key), QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), 1.0f)});
}

// ---------------------------------------------------------------- receiving

void rz48View::threadHasMsg(MsgClass chunk)
{
    if (!msg_)
        return; // the window has closed
    lastRx_.start();
    msg_->append(chunk);
    rz48::drainReceiveBuffer(*msg_, [this](const QString& line) {
        processRxString(line);
        ++linesProcessed_;
        if (!textViewDebugRx)
            return;
        textViewDebugRx->moveCursor(QTextCursor::End);
        textViewDebugRx->insertPlainText(line + u'\n');
        textViewDebugRx->verticalScrollBar()->setValue(textViewDebugRx->verticalScrollBar()->maximum());
    });
}

void rz48View::processRxString(const QString& raw)
{
    const std::optional<QString> accepted = rz48::acceptReport(raw);
    if (!accepted)
        return;
    const QString& line = *accepted;
    rz48::FieldScanner scan(line);
    auto hex = [&] {
        if (!scan.atEnd())
            scan.scanHex(hexScratch_);
        return hexScratch_;
    };
    auto dec = [&] {
        if (!scan.atEnd())
            scan.scanInt(decScratch_);
        return decScratch_;
    };

    const char16_t letter = line.at(0).unicode();
    if (letter == '#')
        return;
    using namespace rz48::maintab;
    switch (letter) {
    case 'A': {
        const Rate rate = rateFromReport(hex());
        const QSignalBlocker b1(rateMatrix), b2(priorityMatrix), b3(checkBoxStreamerEndPunch);
        rateMatrix->setAllOff();
        rateMatrix->setCellOn(rate.reference, true);
        priorityMatrix->setCellOn(0, rate.hdmiPriority);
        priorityMatrix->setCellOn(1, !rate.hdmiPriority);
        checkBoxStreamerEndPunch->setChecked(rate.endPunch);
        break;
    }
    case 'B':
    case 'V':
    case 's':
        break;
    case 'C':
        monitorView_->fromString(line);
        if (cueDocument_)
            cueDocument_->setOffset(-monitorView_->offset());
        break;
    case 'E':
        punchView_->fromString(line);
        break;
    case 'U':
        annunciatorView_->fromString(line);
        break;
    case 'm':
        annunciatorView_->tcFromString(line);
        break;
    case 'n':
        annunciatorView_->comFromString(line);
        break;
    case 'r':
        annunciatorView_->textParamsFromString(line);
        break;
    case 't':
        annunciatorView_->annunciatorColorsFromString(line);
        break;
    case 'G': {
        const BarsGray value = barsFromReport(hex());
        const QSignalBlocker b1(checkBoxBars), b2(checkBoxGrayScale);
        checkBoxBars->setChecked(value.bars);
        checkBoxGrayScale->setChecked(value.gray);
        break;
    }
    case 'H':
        for (size_t i = 0; i < 5; ++i) {
            const int v = dec();
            const QSignalBlocker b1(textBoxMasking[i]), b2(stepperMasking[i]);
            textBoxMasking[i]->setText(QString::number(v));
            stepperMasking[i]->setValue(v);
        }
        break;
    case 'J': {
        const int n = dec();
        const QSignalBlocker b1(textDelayTrim), b2(stepperDelayTrim);
        textDelayTrim->setText(QString::number(trimDisplayValue(n)));
        stepperDelayTrim->setValue(n);
        break;
    }
    case 'M': {
        const int n = dec();
        const QSignalBlocker block(comboBoxSdiGenerator);
        comboBoxSdiGenerator->setCurrentIndex(n >= 0 && n < comboBoxSdiGenerator->count() ? n : -1);
        break;
    }
    case 'Q': {
        const QSignalBlocker block(checkBoxBypass);
        checkBoxBypass->setChecked(dec() != 0);
        break;
    }
    case 'X':
        showPopEnables(dec());
        break;
    case 'Y': {
        const uint32_t n = hex();
        const QSignalBlocker block(myColorSpaceComboBox);
        myColorSpaceComboBox->setCurrentIndex(n < uint32_t(myColorSpaceComboBox->count()) ? int(n) : -1);
        break;
    }
    case 'f': {
        const int queued = comThread_ ? comThread_->txCount() : 0;
        progress_downcount = kProgressHideTicks;
        if (progressBarUpdate->isHidden()) {
            progressBarUpdate->show();
            labelUpdate->show();
            progressBarUpdate->setMaximum(queued);
            tabViewRz48->setCurrentIndex(kUpdateTab);
        }
        labelUpdate->setText(QString::asprintf("%d items in queue", queued));
        if (queued > progressBarUpdate->maximum())
            progressBarUpdate->setMaximum(queued);
        progressBarUpdate->setValue(queued);
        break;
    }
    case 'h': {
        const uint32_t n = hex();
        if (int32_t(n) == fMax) {
            labelUpdate->setText(QStringLiteral("success!"));
            progressBarUpdate->setMaximum(std::max(progressBarUpdate->maximum(), 100));
            progressBarUpdate->setValue(100);
        } else if (n != 0) {
            labelUpdate->setText(QString::asprintf("%d of %d items sent, try again", int(n), fMax));
        }
        break;
    }
    case 'j': {
        rz48::diag("%s\n", line.toUtf8().constData());
        SRecord record;
        record.fromJString(line);
        const uint32_t a = record.address();
        if (a >= 0xFC00 && a <= 0xFCFF && record.buffer()) {
            // The record's bytes go in at its offset; a record that runs past
            // the end of the 256-byte image is cut there.
            const size_t offset = a - 0xFC00;
            const size_t n = std::min<size_t>(record.count(), stateBuffer_.size() - offset);
            std::memcpy(stateBuffer_.data() + offset, record.buffer(), n);
        }
        break;
    }
    case 'k':
        stateBuffer_.fill(0xFF);
        stateAddress_ = hex();
        stateSize_ = hex();
        checkMicroVersion(line, QString::fromLatin1(rz48::kMinMicroVersion));
        break;
    default:
        rz48::diag("unknown command: %s\n", QString(line.at(0)).toUtf8().constData());
        break;
    }
}

void rz48View::showPopEnables(int32_t bits)
{
    const rz48::maintab::PopEnables pop = rz48::maintab::popFromReport(bits);
    const QSignalBlocker b1(checkBoxPopStreamerAccum), b2(checkBoxPopPunch), b3(checkBoxPopStreamer), b4(popMatrix);
    checkBoxPopStreamerAccum->setChecked(pop.streamerAccum);
    checkBoxPopPunch->setChecked(pop.punch);
    checkBoxPopStreamer->setChecked(pop.streamer);
    popMatrix->setCellOn(0, !pop.ltc);
    popMatrix->setCellOn(1, pop.ltc);
}

void rz48View::timer_service()
{
    if (progress_downcount != 0) {
        if (progress_downcount == 1) {
            progressBarUpdate->hide();
            labelUpdate->hide();
        }
        --progress_downcount;
    }
}

void rz48View::checkMicroVersion(const QString& current, const QString& minimum)
{
    const std::optional<rz48::VersionVerdict> verdict = rz48::compareVersions(current, minimum);
    if (!verdict)
        return;
    if (verdict->tooOld)
        rz48::showAlert(QStringLiteral("update micro to %1 or greater").arg(minimum));
    rz48::diag("%s ", verdict->current.toUtf8().constData());
}

bool rz48View::startupSettled() const
{
    if (!comThread_ || !comThread_->isRunning())
        return started_;
    if (sinceStart_.isValid() && sinceStart_.elapsed() > 15000)
        return true;
    return comThread_->txCount() == 0 && linesProcessed_ > 0 && lastRx_.isValid() && lastRx_.elapsed() > 500;
}

// ---------------------------------------------------------------- closing

void rz48View::windowClosing()
{
    // An update in progress ends first ("operation aborted, ..."), then the link.
    if (microUpdateThread_)
        microUpdateThread_->stopThread();
    if (firmwareUpdateThread_)
        firmwareUpdateThread_->stopThread();
    // The pages lose their link before it goes.
    monitorView_->setComThread(nullptr);
    punchView_->setComThread(nullptr);
    annunciatorView_->setComThread(nullptr);
    if (cueDocument_) {
        cueDocument_->releaseItems();
        cueDocument_->close();
        cueDocument_.reset();
    }
    if (comThread_) {
        comThread_->stopThread();
        comThread_.reset();
    }
    msg_.reset();
}

// ---------------------------------------------------------------- cue sheet files

void rz48View::menuFileSave()
{
    if (!cueDocument_)
        return;
    const QString path = rz48::askSavePath(tr("Save cue sheet"), QStringLiteral("txt"));
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() != QLatin1String("txt")) {
        rz48::showAlert(QStringLiteral("select a file with .txt extension"));
        return;
    }
    QString error;
    const bool written = cueDocument_->saveSheet(path, &error);
    rz48::diag("status: %d\n", written ? 1 : 0);
    if (!written)
        rz48::showAlert(tr("cannot save %1").arg(path), error);
}

void rz48View::menuFileOpen()
{
    if (!cueDocument_)
        return;
    const QString path = rz48::askOpenPath(tr("Open cue sheet"), {QStringLiteral("TXT"), QStringLiteral("txt")});
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() != QLatin1String("txt")) {
        rz48::showAlert(QStringLiteral("select a file with .txt extension"));
        return;
    }
    QString error;
    if (!cueDocument_->openSheet(path, &error))
        rz48::showAlert(tr("cannot open %1").arg(path), error);
    cueDocument_->showWindows();
}

bool rz48View::mayClose()
{
    if (!cueDocument_ || !cueDocument_->isModified())
        return true;
    switch (rz48::askSaveChanges(tr("The cue list has changes that are not saved. Save them before quitting?"))) {
    case rz48::SaveChoice::Discard:
        return true;
    case rz48::SaveChoice::Cancel:
        return false;
    case rz48::SaveChoice::Save:
        menuFileSave();
        return !cueDocument_->isModified(); // still unsaved: stay open
    }
    return false;
}

// ---------------------------------------------------------------- updates

QByteArray rz48View::loaderForUpdate()
{
    QString error;
    QByteArray loader;
    if (options_.simulated && options_.loaderPath.isEmpty()) {
        loader = options_.simulatedLoader;
    } else {
        const QStringList paths = options_.loaderPath.isEmpty() ? rz48::update::defaultLoaderPaths() : QStringList {options_.loaderPath};
        QStringList reasons;
        for (const QString& path : paths) {
            loader = rz48::update::readLoaderImage(path, &error);
            if (!loader.isEmpty())
                break;
            reasons << error;
        }
        if (loader.isEmpty()) {
            rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                            tr("Place the %1-byte loader image at %2, or name it with --loader FILE.\n%3")
                                .arg(rz48::update::kLoaderSize)
                                .arg(paths.value(0), reasons.join(u'\n')));
            return {};
        }
    }
    if (loader.size() != rz48::update::kLoaderSize) {
        rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                        tr("The loader image has %1 bytes; it must have %2.").arg(loader.size()).arg(rz48::update::kLoaderSize));
        return {};
    }
    if (rz48::update::isTestLoader(loader) && !options_.simulated) {
        rz48::showAlert(tr("That loader image is the emulated unit's test loader."),
                        tr("It would leave a real unit without a working program; nothing was sent."));
        return {};
    }
    return loader;
}

void rz48View::menuFileUpdateMicro()
{
    // Nothing goes to the unit before the loader is known to be there.
    const QByteArray loader = loaderForUpdate();
    if (loader.isEmpty() || !comThread_)
        return;
    tabViewRz48->setCurrentIndex(kUpdateTab);
    if (cueDocument_ && cueDocument_->window())
        cueDocument_->window()->showMinimized();
    stateSize_ = 0;
    stateAddress_ = 0;
    for (const char* command : {"k", "j fc00", "j fc10", "j fc20", "j fc30", "A 1"})
        comThread_->sendString(QString::fromLatin1(command));

    const QString path = rz48::askOpenPath(tr("Microcontroller program"), {QStringLiteral("s19"), QStringLiteral("S19")});
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() != QLatin1String("s19")) {
        rz48::showAlert(QStringLiteral("select a file with .s19 extension"));
        return;
    }
    showProgress({QStringLiteral("loading S Record file..."), 0});
    QString text;
    if (!rz48::readUtf8File(path, 16 * 1024 * 1024, text)) {
        rz48::showAlert(QStringLiteral("problem opening file, try again"));
        return;
    }
    rz48::update::SettingsImage settings;
    settings.buffer = stateBuffer_;
    settings.address = stateAddress_;
    settings.size = stateSize_;
    const QStringList records = rz48::update::microRecords(text, settings);

    comThread_->stopThread();
    microUpdateThread_->setFd(comThread_->fd());
    microUpdateThread_->setSRecArray(records);
    microUpdateThread_->setLoader(loader);
    if (microUpdateThread_->startThread(this) != 0) {
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
    }
}

void rz48View::menuFileUpdateFirmware()
{
    if (!comThread_)
        return;
    tabViewRz48->setCurrentIndex(kUpdateTab);
    if (cueDocument_ && cueDocument_->window())
        cueDocument_->window()->showMinimized();
    comThread_->sendString(QStringLiteral("A 1"));
    const QString path = rz48::askOpenPath(tr("FPGA configuration"), {QStringLiteral("MCS"), QStringLiteral("mcs")});
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().toLower() != QLatin1String("mcs")) {
        rz48::showAlert(QStringLiteral("select a file with .mcs extension"));
        return;
    }
    QString text, error;
    if (!rz48::readUtf8File(path, 64 * 1024 * 1024, text, &error)) {
        rz48::showAlert(tr("cannot read %1").arg(path), error);
        return;
    }
    firmwareUpdateThread_->setFd(comThread_->fd());
    firmwareUpdateThread_->setArray(text.split(u'\n'));
    comThread_->sendString(QStringLiteral("d 1"));
    // The command goes out with the link thread's next turn: give it that.
    for (int i = 0; i < 50 && comThread_->txCount() > 0; ++i)
        ::usleep(2000);
    ::usleep(10000);
    comThread_->stopThread();
    comThread_->setBaud(230400);
    if (firmwareUpdateThread_->startThread(this) != 0)
        threadUpdateComplete({QStringLiteral("the update could not start: the unit's port is not open"), 0});
}

void rz48View::showProgress(const Progress& progress)
{
    progressBarUpdate->show();
    labelUpdate->show();
    progressBarUpdate->setRange(0, 100);
    progressBarUpdate->setValue(std::clamp(progress.percent, 0, 100));
    labelUpdate->setText(progress.msg);
}

void rz48View::threadHasProgress(Progress progress)
{
    showProgress(progress);
}

void rz48View::threadUpdateComplete(Progress progress)
{
    showProgress(progress);
    progress_downcount = kProgressHideTicks;
    if (microUpdateThread_)
        microUpdateThread_->stopThread();
    if (firmwareUpdateThread_)
        firmwareUpdateThread_->stopThread();
    if (comThread_ && comThread_->fd() >= 0) {
        comThread_->setBaud(38400);
        comThread_->startThread(this);
    }
}

// ---------------------------------------------------------------- senders

void rz48View::send(const QString& command)
{
    if (comThread_)
        comThread_->sendString(command);
}

void rz48View::sendRate()
{
    rz48::maintab::Rate rate;
    rate.reference = rateMatrix->isCellOn(2) ? rz48::maintab::Auto
        : rateMatrix->isCellOn(1)            ? rz48::maintab::Pulldown
                                             : rz48::maintab::Flat;
    rate.endPunch = checkBoxStreamerEndPunch->isChecked();
    rate.hdmiPriority = priorityMatrix->isCellOn(0);
    send(rz48::maintab::rateCommand(rate));
}

void rz48View::onRadioButtonRefFlat()
{
    rateMatrix->setCellOn(1, false);
    rateMatrix->setCellOn(2, false);
    sendRate();
}

void rz48View::onRadioButtonRefPulldown()
{
    rateMatrix->setCellOn(0, false);
    rateMatrix->setCellOn(2, false);
    sendRate();
}

void rz48View::onRadioButtonRefAuto()
{
    rateMatrix->setCellOn(0, false);
    rateMatrix->setCellOn(1, false);
    sendRate();
}

void rz48View::onRadioButtonHdmi()
{
    priorityMatrix->setCellOn(1, false);
    sendRate();
}

void rz48View::onRadioButtonSdi()
{
    priorityMatrix->setCellOn(0, false);
    sendRate();
}

void rz48View::onCheckBoxStreamerEndPunch()
{
    sendRate();
}

void rz48View::sendBarsAndGray()
{
    send(rz48::maintab::barsCommand({checkBoxBars->isChecked(), checkBoxGrayScale->isChecked()}));
}

void rz48View::onCheckBoxBars()
{
    sendBarsAndGray();
}

void rz48View::onCheckBoxGrayScale()
{
    sendBarsAndGray();
}

void rz48View::sendMasking()
{
    rz48::maintab::Masking m {};
    for (size_t i = 0; i < 5; ++i)
        m[i] = stepperMasking[i]->value();
    send(rz48::maintab::maskingCommand(m));
}

void rz48View::onTextBoxMasking(int edge)
{
    Stepper* stepper = stepperMasking[size_t(edge)];
    {
        const QSignalBlocker block(stepper);
        stepper->setValue(rz48::intValue(textBoxMasking[size_t(edge)]->text()));
    }
    sendMasking();
}

void rz48View::onStepperMasking(int edge)
{
    QLineEdit* text = textBoxMasking[size_t(edge)];
    {
        const QSignalBlocker block(text);
        text->setText(QString::number(stepperMasking[size_t(edge)]->value()));
    }
    sendMasking();
}

void rz48View::sendPopEnables()
{
    send(rz48::maintab::popCommand({checkBoxPopStreamerAccum->isChecked(), checkBoxPopPunch->isChecked(),
                                    checkBoxPopStreamer->isChecked(), popMatrix->isCellOn(1)}));
}

void rz48View::onCheckBoxPopStreamerAccum()
{
    if (checkBoxPopStreamerAccum->isChecked()) {
        const QSignalBlocker block(checkBoxPopStreamer);
        checkBoxPopStreamer->setChecked(false);
    }
    sendPopEnables();
}

void rz48View::onCheckBoxPopStreamer()
{
    if (checkBoxPopStreamer->isChecked()) {
        const QSignalBlocker block(checkBoxPopStreamerAccum);
        checkBoxPopStreamerAccum->setChecked(false);
    }
    sendPopEnables();
}

void rz48View::onCheckBoxPopPunch()
{
    sendPopEnables();
}

void rz48View::onRadioPopEnable()
{
    popMatrix->setCellOn(1, false); // the two cells work as radio buttons
    send(rz48::maintab::popCommand({checkBoxPopStreamerAccum->isChecked(), checkBoxPopPunch->isChecked(),
                                    checkBoxPopStreamer->isChecked(), false}));
}

void rz48View::onRadioLtcEnable()
{
    popMatrix->setCellOn(0, false);
    send(rz48::maintab::popCommand({checkBoxPopStreamerAccum->isChecked(), checkBoxPopPunch->isChecked(),
                                    checkBoxPopStreamer->isChecked(), true}));
}

void rz48View::onComboBoxSdiGenerator()
{
    send(rz48::maintab::generatorCommand(comboBoxSdiGenerator->currentIndex()));
}

void rz48View::onCheckBoxBypass()
{
    send(rz48::maintab::bypassCommand(checkBoxBypass->isChecked()));
}

void rz48View::sendTrim()
{
    send(rz48::maintab::trimCommand(stepperDelayTrim->value()));
}

void rz48View::onStepperDelayTrim()
{
    {
        const QSignalBlocker block(textDelayTrim);
        textDelayTrim->setText(QString::number(rz48::maintab::trimDisplayValue(stepperDelayTrim->value())));
    }
    sendTrim();
}

void rz48View::onTextDelayTrim()
{
    {
        const QSignalBlocker block(stepperDelayTrim);
        stepperDelayTrim->setValue(rz48::maintab::trimFromDisplayValue(rz48::doubleValue(textDelayTrim->text())));
    }
    sendTrim();
}

void rz48View::oncomboBoxInputColorSpace()
{
    send(rz48::maintab::colorSpaceCommand(myColorSpaceComboBox->currentIndex()));
}

void rz48View::onButtonGetHdmiTiming()
{
    send(rz48::maintab::hdmiTimingCommand(checkBoxExtendedTiming->isChecked()));
}

void rz48View::onButtonStreamerFields()
{
    send(QString::fromLatin1(rz48::maintab::kStreamerFieldsCommand));
}

void rz48View::onTextDebugTx()
{
    const QString command = textDebugTx->text().trimmed();
    textDebugTx->setText(command);
    send(command);
}

void rz48View::onButtonClearDebugRx()
{
    textViewDebugRx->selectAll();
    textViewDebugRx->clear();
}

void rz48View::onButtonTest()
{
    MsgClass m;
    m.txString(QStringLiteral("A 1\r\n"));
    const unsigned char sysex[8] = {0xF0, 0x20, 0x56, 0x20, 0x41, 0x42, 0x43, 0xF7};
    m.txBytes(sysex, sizeof sysex);
    m.txString(QStringLiteral("B\r\n"));

    auto printLines = [&m] {
        while (const std::optional<QString> line = m.removeString()) {
            rz48::diag("%s\n", line->toUtf8().constData());
            if (line->isEmpty())
                break;
        }
    };
    printLines();
    while (const std::optional<QByteArray> midi = m.removeMidi()) {
        std::string text;
        char item[8];
        for (char c : *midi) {
            std::snprintf(item, sizeof item, "%02x ", unsigned(static_cast<unsigned char>(c)));
            text += item;
        }
        rz48::diag("%s\n", text.c_str());
        if (midi->isEmpty())
            break;
    }
    printLines();
}

// ---------------------------------------------------------------- drag and drop

Qt::DropAction rz48View::dragOperationFor(const QMimeData* data, Qt::DropActions allowed)
{
    if (!data || !data->hasUrls())
        return Qt::IgnoreAction;
    const QList<QUrl> urls = data->urls();
    if (urls.isEmpty() || !std::all_of(urls.begin(), urls.end(), [](const QUrl& u) { return u.isLocalFile(); }))
        return Qt::IgnoreAction;
    if (allowed & Qt::LinkAction)
        return Qt::LinkAction;
    if (allowed & Qt::CopyAction)
        return Qt::CopyAction;
    return Qt::IgnoreAction;
}

void rz48View::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event); // an enter is the first move
}

void rz48View::dragMoveEvent(QDragMoveEvent* event)
{
    const Qt::DropAction action = dragOperationFor(event->mimeData(), event->possibleActions());
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
}

void rz48View::dropEvent(QDropEvent* event)
{
    event->ignore(); // files dropped on the panel are refused
}
