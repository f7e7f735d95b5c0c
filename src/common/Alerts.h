#pragma once
// Modal alerts go through one small interface: the application installs a
// sink that shows a real message box, tests install one that records them.
// Without a sink the alert is printed as a diagnostic line.
#include <QString>
#include <QStringList>

namespace rz48 {

enum class SaveChoice { Save, Discard, Cancel };
// What an alert tells: it shows the icon of its kind, so the ones that
// matter stand out.
enum class AlertKind { Information, Warning, Error };

// The title of every alert and question the program shows.
inline QString alertTitle() { return QStringLiteral("RZ-48 panel"); }

class AlertSink {
public:
    virtual ~AlertSink() = default;
    // A modal alert with the default button only.
    virtual void showAlert(const QString& message, const QString& informative, AlertKind kind) = 0;
    // Unsaved work is about to be lost: save it, discard it, or stay.
    virtual SaveChoice askSaveChanges(const QString& message) { return SaveChoice::Discard; }
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
void showAlert(const QString& message, const QString& informative = QString(), AlertKind kind = AlertKind::Warning);
inline void showInformation(const QString& message, const QString& informative = QString())
{
    showAlert(message, informative, AlertKind::Information);
}
inline void showError(const QString& message, const QString& informative = QString())
{
    showAlert(message, informative, AlertKind::Error);
}
// Without a sink, unsaved work is discarded (nobody is there to ask).
SaveChoice askSaveChanges(const QString& message);
// Without a sink nobody answers: the escape button.
int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton, int escapeButton);

} // namespace rz48
