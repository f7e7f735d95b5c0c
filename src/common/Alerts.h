#pragma once
// Modal alerts go through one small interface: the application installs a
// sink that shows a real message box, tests install one that records them.
// Without a sink the alert is printed as a diagnostic line.
#include <QString>
#include <QStringList>

namespace rz48 {

enum class SaveChoice { Save, Discard, Cancel };

class AlertSink {
public:
    virtual ~AlertSink() = default;
    // A modal alert with the default button only.
    virtual void showAlert(const QString& message, const QString& informative) = 0;
    // Unsaved work is about to be lost: save it, discard it, or stay.
    virtual SaveChoice askSaveChanges(const QString& message) { return SaveChoice::Discard; }
    // One of `choices`, by index; -1 when cancelled.
    virtual int askChoice(const QString& message, const QStringList& choices) { return -1; }
    // A question with a named button for each answer: the index of the one
    // pressed. `defaultButton` is the one Return presses; dismissing the
    // question (Esc, closing it) answers `escapeButton`.
    virtual int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton,
                           int escapeButton)
    {
        return escapeButton;
    }
};

// Installs the sink (nullptr restores printing). Not owned.
void setAlertSink(AlertSink* sink);
void showAlert(const QString& message, const QString& informative = QString());
// Without a sink, unsaved work is discarded (nobody is there to ask).
SaveChoice askSaveChanges(const QString& message);
// Without a sink nobody chooses: -1.
int askChoice(const QString& message, const QStringList& choices);
// Without a sink nobody answers: the escape button.
int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton, int escapeButton);

} // namespace rz48
