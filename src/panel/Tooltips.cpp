#include "panel/Tooltips.h"

#include <QCoreApplication>
#include <QHash>
#include <QWidget>

namespace rz48 {
namespace {

const char* const kContext = "Tooltips";

struct Tip {
    const char* name;
    const char* text;
};

// clang-format off
const Tip kTips[] = {
    // The tab bar's arrows, when the window is too narrow for every tab
    {"ScrollLeftButton", "Show the tabs further left"},
    {"ScrollRightButton", "Show the tabs further right"},
    {"bannerNotConnected", "No unit is connected: why, and what to do"},
    // Video tab
    {"rateMatrix", "Reference: flat, pull-down (0.1 % slower) or chosen by the unit from its input"},
    {"priorityMatrix", "Which input the unit follows when both HDMI and SDI carry picture"},
    {"checkBoxStreamerEndPunch", "Flash a punch where each streamer ends"},
    {"checkBoxBars", "Show the unit's colour bars instead of the input"},
    {"checkBoxGrayScale", "Show the unit's grey scale instead of the input"},
    {"checkBoxBypass", "Pass the input through with no overlay"},
    {"comboBoxSdiGenerator", "The unit's SDI test generator format; GENERATOR_OFF switches it off"},
    {"myColorSpaceComboBox", "The colour space of the unit's input"},
    {"textBoxMaskingTop", "Black masking from the top edge, in picture lines (Return sends)"},
    {"stepperMaskingTop", "Top masking, one line a step"},
    {"textBoxMaskingBottom", "Black masking from the bottom edge, in picture lines (Return sends)"},
    {"stepperMaskingBottom", "Bottom masking, one line a step"},
    {"textBoxMaskingLeft", "Black masking from the left edge, in pixels (Return sends)"},
    {"stepperMaskingLeft", "Left masking, one pixel a step"},
    {"textBoxMaskingRight", "Black masking from the right edge, in pixels (Return sends)"},
    {"stepperMaskingRight", "Right masking, one pixel a step"},
    {"textBoxMaskingTransparency", "Transparency of the masking, 0 opaque to 255 clear (Return sends)"},
    {"stepperMaskingTransparency", "Masking transparency, one 255th a step"},
    {"checkBoxPopStreamerAccum", "Sound the pop on accumulated streamers (not with the pop on every streamer)"},
    {"checkBoxPopStreamer", "Sound the pop at the end of every streamer"},
    {"checkBoxPopPunch", "Sound the pop with every punch"},
    {"popMatrix", "The audio output carries the pop, or LTC timecode"},
    {"textDelayTrim", "Overlay delay trim, in seconds: 0.02 s a step (Return sends)"},
    {"stepperDelayTrim", "Delay trim: 0.02 s a step"},
    {"checkBoxExtendedTiming", "Ask for the extended HDMI timing report"},
    {"buttonGetHdmiTiming", "Ask the unit for the timing of its HDMI input (answer in the console)"},
    {"buttonStreamerFields", "Ask the unit for its streamer fields (answer in the console)"},
    {"textViewDebugRx", "Every line the unit sends"},
    {"textDebugTx", "A command line to send to the unit as typed, e.g. A (Return sends)"},
    {"buttonClearDebugRx", "Clear the console"},
    // Streamer tab
    {"sliderStreamerWidth", "Width of the streamer bar, in pixels"},
    {"sliderStreamerTop", "Top of the streamer, in 255ths of the picture height from the bottom"},
    {"sliderStreamerBottom", "Bottom of the streamer, in 255ths of the picture height from the bottom"},
    {"sliderStreamerTransparency", "Transparency of streamer and end bar, 0 opaque to 255 clear"},
    {"textStreamerDuration", "How long a streamer takes to cross the picture, in seconds: 0.02 s a step"},
    {"stepperStreamerDuration", "Streamer duration: 0.02 s a step"},
    {"textStreamerDelay", "Delay before a streamer starts, in seconds: 0.02 s a step"},
    {"stepperStreamerDelay", "Streamer delay: 0.02 s a step"},
    {"colorWellStreamer0", "Colour of streamer 0 (choosing one sends it and plays the streamer)"},
    {"colorWellStreamer1", "Colour of streamer 1 (choosing one sends it and plays the streamer)"},
    {"colorWellStreamer2", "Colour of streamer 2 (choosing one sends it and plays the streamer)"},
    {"colorWellStreamer3", "Colour of streamer 3 (choosing one sends it and plays the streamer)"},
    {"colorWellEndBar", "Colour of the end bar the streamers run into"},
    {"buttonStreamer0", "Play streamer 0 on the unit now"},
    {"buttonStreamer1", "Play streamer 1 on the unit now"},
    {"buttonStreamer2", "Play streamer 2 on the unit now"},
    {"buttonStreamer3", "Play streamer 3 on the unit now"},
    {"buttonAccum", "Play an accumulating streamer (it leaves its bar drawn)"},
    {"monitorView", "The streamer as the unit draws it at 1920 x 1080"},
    // Punch tab
    {"sliderPunchSize", "Radius of the punch, in pixels"},
    {"colorWellPunch0", "Colour of punch 0 (choosing one sends it and flashes the punch)"},
    {"colorWellPunch1", "Colour of punch 1 (choosing one sends it and flashes the punch)"},
    {"colorWellPunch2", "Colour of punch 2 (choosing one sends it and flashes the punch)"},
    {"colorWellPunch3", "Colour of punch 3 (choosing one sends it and flashes the punch)"},
    {"checkBoxRev0", "Punch 0 drawn reversed"},
    {"checkBoxRev1", "Punch 1 drawn reversed"},
    {"checkBoxRev2", "Punch 2 drawn reversed"},
    {"checkBoxRev3", "Punch 3 drawn reversed"},
    {"buttonPunch0", "Flash punch 0 on the unit now"},
    {"buttonPunch1", "Flash punch 1 on the unit now"},
    {"buttonPunch2", "Flash punch 2 on the unit now"},
    {"buttonPunch3", "Flash punch 3 on the unit now"},
    {"textDurationFrames", "How long a punch shows, in frames (Return sends)"},
    {"durationFrames", "Punch duration, one frame a step"},
    {"textRepeatSeconds", "Time between repeated punches, in seconds: 0.01 s a step (Return sends)"},
    {"repeatSeconds", "Repeat interval, one hundredth of a second a step"},
    {"textRepeatCount", "How many times a punch repeats (Return sends)"},
    {"repeatCount", "Repeat count, one a step"},
    {"checkBoxPunchEnable", "Punches are drawn at all"},
    {"checkBoxBeepsEnable", "Beep with each punch"},
    {"checkBoxBlackCueBlack", "Black picture, then the cue, then black"},
    {"checkBoxPictureWhenStopped", "Show the picture while the transport is stopped"},
    {"punchView", "The punch as the unit draws it; click or drag to place it"},
    // Overlay tab
    {"matrixAnnunciator", "The annunciator's mode: off, rehearse, record or playback"},
    {"comboBoxAnnunciatorForeground", "Text colour of the annunciator in rehearse"},
    {"comboBoxAnnunciatorBackground", "Box colour of the annunciator in rehearse"},
    {"comboBoxAnnunciatorForegroundRecord", "Text colour of the annunciator in record"},
    {"comboBoxAnnunciatorBackgroundRecord", "Box colour of the annunciator in record"},
    {"comboBoxAnnunciatorForegroundPlayback", "Text colour of the annunciator in playback"},
    {"comboBoxAnnunciatorBackgroundPlayback", "Box colour of the annunciator in playback"},
    {"textAnnunciatorSize", "Size number of the annunciator, 0 to 2 (Return sends)"},
    {"stepperAnnunciatorSize", "Annunciator size, one size a step"},
    {"checkBoxTcVisible", "Show the timecode window"},
    {"comboBoxTcForeground", "Text colour of the timecode window"},
    {"comboBoxTcBackground", "Box colour of the timecode window"},
    {"textTcSize", "Size number of the timecode window, 0 to 4 (Return sends)"},
    {"stepperTcSize", "Timecode window size, one size a step"},
    {"comboBoxTextForeground", "Text colour of the text lines"},
    {"comboBoxTextBackground", "Box colour of the text lines"},
    {"textTextSize", "Size number of the text lines, 0 to 3 (Return sends)"},
    {"stepperTextSize", "Text size, one size a step"},
    {"showSampleText", "Show two sample text lines on the unit"},
    {"clearSampleText", "Clear the text lines on the unit"},
    {"matrixCom", "The unit's control protocol: MIDI or Sony 9-pin"},
    {"annunciatorView", "The overlay as the unit places it; drag a box to move it"},
    // Update tab
    {"labelUpdate", "What the running update or cue transfer is doing"},
    {"progressBarUpdate", "Progress of the running update or cue transfer"},
    // Cue list window
    {"cueTableView", "The cue list: ID, In and Out times (HH:MM:SS:FF), text, character, reason and status (click it, or Ctrl+D, to mark a cue done); drop text or PDF cue sheets here"},
    {"comboBoxFilterCharacter", "Show one character's cues only (sending and export still use the whole list)"},
    {"comboBoxFilterStatus", "Show cues of one status only: to do, done or omitted"},
    {"labelCueCounts", "How many cues there are and how many are done, in all and per character"},
    {"checkBoxCharacterInText", "The character's name and a colon go before the text sent to the unit and written to the MIDI file"},
    {"checkBoxDuplicate", "Sorting removes cues whose In time repeats an earlier one"},
    {"checkBoxMidnightCalc", "The list crosses midnight: sorting puts times after midnight last"},
    {"checkBoxExportText", "The MIDI file carries each cue's text"},
    {"checkBoxCueIdInText", "The cue ID goes before the text in the MIDI file"},
    {"checkBoxPulldown", "The MIDI file runs 0.1 % slower (pull-down)"},
    {"textBoxMidiStart", "Timecode at the start of the MIDI file, HH:MM:SS:FF"},
    {"comboBoxMidiTcType", "Frame rate of the MIDI file's timecode"},
    {"buttonAddCue", "Add an empty cue at the end"},
    {"buttonRemoveCues", "Remove the selected cues"},
    {"buttonSort", "Sort by In time (removing duplicates and across midnight as ticked)"},
    {"buttonTxInOuts", "Check the list, then send every cue's In and Out time to the unit"},
    {"buttonCheck", "Check the list: what the unit and the MIDI file will do with it, row by row"},
    {"listFindings", "What the check found; choose a line to select its cue"},
    {"buttonClearText", "Clear the text lines on the unit"},
    {"buttonExportMidi", "Check and sort, then write the list as a MIDI cue track (.mid)"},
    {"buttonImportMidi", "Print the listing of a MIDI file on standard output"},
    {"buttonClearAll", "Remove every cue (Edit > Undo brings them back)"},
    // Unit output window
    {"unitOutputWindow", "What the unit puts on the picture; F11 full screen, Esc leaves it"},
    {"outputPicture", "The unit's output at 16:9 (F11: full screen here; right click: on another screen)"},
    {"buttonOutputPlay", "Run the timecode from where it stands, at the type's frame rate"},
    {"buttonOutputStop", "Hold the timecode (triggered streamers and punches still run)"},
    {"textOutputLocate", "A timecode to go to (HH:MM:SS:FF); Return or Locate goes there"},
    {"buttonOutputLocate", "Go to the timecode in the field beside it"},
    {"checkBoxOutputLoop", "Play the range from the first timecode to the second again and again"},
    {"textOutputLoopFirst", "The loop's first frame (HH:MM:SS:FF)"},
    {"textOutputLoopEnd", "The loop's end: the frame after its last (HH:MM:SS:FF)"},
    {"comboBoxOutputTcType", "The timecode's frame rate: 24, 25, 29.97 drop-frame or 30"},
    {"checkBoxOutputChaseMtc", "Follow MIDI Time Code from the ALSA sequencer port \"RZ48 MTC in\""},
    {"checkBoxOutputChaseLtc", "Follow linear timecode (LTC) on the sound input: 48 kHz, the first channel"},
    {"checkBoxOutputSendLtc", "Send the timecode as LTC to the sound output (48 kHz), for a DAW or the unit to follow"},
    {"buttonOutputOpenVideo", "Show a video under the output, frame for frame with the timecode (or drop the file here)"},
    {"labelOutputVideo", "The video under the output"},
    {"textOutputVideoStart", "The timecode of the video's first frame (HH:MM:SS:FF); empty: the file's own timecode tag, else 00:00:00:00"},
    {"textOutputVideoOffset", "Frames to move the video by against the timecode (negative: earlier)"},
    {"checkBoxOutputMute", "Silence the video's sound (it goes on following the picture)"},
    {"buttonOutputCloseVideo", "Take the video away: black under the output"},
    {"labelOutputTimecode", "The timecode of the frame shown"},
    {"labelOutputStatus", "What the window could not do, and why"},
    {"labelOutputSimulated", "Drawn by an emulated unit that follows every command sent to the real one"},
};
// clang-format on

} // namespace

void applyTooltips(QWidget* root)
{
    static const QHash<QString, const char*> table = [] {
        QHash<QString, const char*> t;
        for (const Tip& tip : kTips)
            t.insert(QLatin1String(tip.name), tip.text);
        return t;
    }();
    const QList<QWidget*> widgets = root->findChildren<QWidget*>() << root;
    for (QWidget* w : widgets) {
        QString name = w->objectName();
        // A stepper's arrows are named after it with "Up" or "Down", a
        // matrix's cells with "Cell" and their number.
        for (const char* arrow : {"Up", "Down"})
            if (!table.contains(name) && name.endsWith(QLatin1String(arrow)))
                name.chop(qsizetype(qstrlen(arrow)));
        if (const qsizetype cell = name.lastIndexOf(QLatin1String("Cell")); !table.contains(name) && cell > 0)
            name.truncate(cell);
        if (const auto it = table.find(name); it != table.end())
            w->setToolTip(QCoreApplication::translate(kContext, it.value()));
    }
}

} // namespace rz48
