#include "pages/AnnunciatorView.h"

#include "widgets/FieldStepper.h"
#include "widgets/RadioMatrix.h"
#include "widgets/WidgetFactory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

// The overlay page's controls: each edit writes its one setting, then the
// command that carries it goes out.

using namespace rz48::widgets;
namespace overlay = rz48::overlay;

int& AnnunciatorView::fontOf(Box box)
{
    return box == Box::Annunciator ? fonts_.annunciator : box == Box::Timecode ? fonts_.timecode : fonts_.text;
}

FieldStepper* AnnunciatorView::sizeField(const char* textName, const char* stepperName, int max, Box box, SendFn sendIt)
{
    FieldStepper::Rule rule;
    rule.rewriteAboveMaximum = true;
    auto* field = new FieldStepper(QLatin1String(textName), QLatin1String(stepperName), 0, max, rule, {}, controls_);
    overlay::BoxSettings& settings = box == Box::Annunciator ? settings_.annunciator
                                     : box == Box::Timecode  ? settings_.timecode
                                                             : settings_.text;
    connect(field, &FieldStepper::edited, this, [this, field, box, &settings, sendIt] {
        settings.size = field->value();
        fontOf(box) = rz48::pages::fontForSize(box, field->entered(), fontOf(box));
        // Sent from the boxes as the preview last placed them, then redrawn in the new font.
        (this->*sendIt)();
        if (thread())
            setDraw(2); // redraw only
    });
    return field;
}

QComboBox* AnnunciatorView::colourList(const char* name, overlay::ColorPair& pair, bool text, SendFn sendIt)
{
    QComboBox* combo = colorCombo(name, controls_);
    const auto chosen = [combo, &pair, text] { pair.choose(text, std::max(combo->currentIndex(), 0)); };
    connect(combo, &QComboBox::currentIndexChanged, this, chosen);
    connect(combo, &QComboBox::activated, this, [this, chosen, sendIt] {
        chosen();
        (this->*sendIt)();
    });
    return combo;
}

void AnnunciatorView::buildControls()
{
    auto* layout = new QVBoxLayout(controls_);

    auto* annunciator = new QGroupBox(tr("Annunciator"), controls_);
    auto* aForm = new QGridLayout(annunciator);
    matrixAnnunciator = new RadioMatrix(QStringLiteral("matrixAnnunciator"),
                                        {tr("Off"), tr("Rehearse"), tr("Record"), tr("Playback")}, Qt::Horizontal);
    aForm->addWidget(matrixAnnunciator, 0, 0, 1, 3);
    const char* names[3][2] = {{"comboBoxAnnunciatorForeground", "comboBoxAnnunciatorBackground"},
                               {"comboBoxAnnunciatorForegroundRecord", "comboBoxAnnunciatorBackgroundRecord"},
                               {"comboBoxAnnunciatorForegroundPlayback", "comboBoxAnnunciatorBackgroundPlayback"}};
    QComboBox** pairs[3][2] = {{&comboBoxAnnunciatorForeground, &comboBoxAnnunciatorBackground},
                               {&comboBoxAnnunciatorForegroundRecord, &comboBoxAnnunciatorBackgroundRecord},
                               {&comboBoxAnnunciatorForegroundPlayback, &comboBoxAnnunciatorBackgroundPlayback}};
    const QStringList modes {tr("Rehearse"), tr("Record"), tr("Playback")};
    for (int i = 0; i < 3; ++i) {
        aForm->addWidget(new QLabel(modes[i], controls_), i + 1, 0);
        for (int side = 0; side < 2; ++side) {
            *pairs[i][side] = colourList(names[i][side], settings_.annunciatorColors[size_t(i)], side == 0,
                                         &AnnunciatorView::sendAnnunciatorColors);
            aForm->addWidget(*pairs[i][side], i + 1, side + 1);
        }
    }
    aForm->addWidget(new QLabel(tr("Size"), controls_), 4, 0);
    annunciatorSize_ = sizeField("textAnnunciatorSize", "stepperAnnunciatorSize", 2, Box::Annunciator, &AnnunciatorView::sendAnnunciator);
    aForm->addWidget(annunciatorSize_, 4, 1, 1, 2);
    layout->addWidget(annunciator);

    // A box's group: its first control and colours on a row, its size under them.
    const auto boxGroup = [this, layout](const QString& title, QWidget* first, QComboBox* fore, QComboBox* back,
                                         FieldStepper* size) {
        auto* group = new QGroupBox(title, controls_);
        auto* form = new QGridLayout(group);
        form->addWidget(first, 0, 0);
        form->addWidget(fore, 0, 1);
        form->addWidget(back, 0, 2);
        form->addWidget(new QLabel(tr("Size"), controls_), 1, 0);
        form->addWidget(size, 1, 1, 1, 2);
        layout->addWidget(group);
        return form;
    };
    checkBoxTcVisible = checkBox(QStringLiteral("checkBoxTcVisible"), tr("Visible"), controls_);
    comboBoxTcForeground = colourList("comboBoxTcForeground", settings_.timecodeColors, true, &AnnunciatorView::sendTc);
    comboBoxTcBackground = colourList("comboBoxTcBackground", settings_.timecodeColors, false, &AnnunciatorView::sendTc);
    tcSize_ = sizeField("textTcSize", "stepperTcSize", 4, Box::Timecode, &AnnunciatorView::sendTc);
    boxGroup(tr("Timecode window"), checkBoxTcVisible, comboBoxTcForeground, comboBoxTcBackground, tcSize_);

    comboBoxTextForeground = colourList("comboBoxTextForeground", settings_.textColors, true, &AnnunciatorView::sendTextParams);
    comboBoxTextBackground = colourList("comboBoxTextBackground", settings_.textColors, false, &AnnunciatorView::sendTextParams);
    textSize_ = sizeField("textTextSize", "stepperTextSize", 3, Box::Text, &AnnunciatorView::sendTextParams);
    showSampleText = button(QStringLiteral("showSampleText"), tr("Show sample"), controls_);
    clearSampleText = button(QStringLiteral("clearSampleText"), tr("Clear"), controls_);
    QGridLayout* xForm = boxGroup(tr("Text lines"), new QLabel(tr("Colours"), controls_), comboBoxTextForeground,
                                  comboBoxTextBackground, textSize_);
    xForm->addWidget(showSampleText, 2, 1);
    xForm->addWidget(clearSampleText, 2, 2);

    auto* protocol = new QGroupBox(tr("Control protocol"), controls_);
    auto* pLayout = new QHBoxLayout(protocol);
    matrixCom = new RadioMatrix(QStringLiteral("matrixCom"), {tr("MIDI"), tr("Sony")}, Qt::Horizontal);
    pLayout->addWidget(matrixCom);
    layout->addWidget(protocol);
    layout->addStretch(1);

    connect(matrixAnnunciator, &RadioMatrix::cellClicked, this, &AnnunciatorView::annunciatorMode);
    connect(matrixCom, &RadioMatrix::cellClicked, this, [this](int cell) {
        if (cell == 0) onradioButtonMidi();
        else onradioButtonSony();
    });
    connect(checkBoxTcVisible, &QCheckBox::toggled, this, [this](bool on) {
        settings_.timecodeVisible = on;
        sendTc();
    });
    connect(showSampleText, &QPushButton::clicked, this, &AnnunciatorView::onShowSampleText);
    connect(clearSampleText, &QPushButton::clicked, this, &AnnunciatorView::onClearSampleText);
}
