#include "common/Alerts.h"

#include "common/Diagnostics.h"

namespace rz48 {
namespace {
AlertSink* g_sink = nullptr;
}

void setAlertSink(AlertSink* sink)
{
    g_sink = sink;
}

void showAlert(const QString& message, const QString& informative)
{
    if (g_sink) {
        g_sink->showAlert(message, informative);
        return;
    }
    diag("alert: %s\n", message.toUtf8().constData());
    if (!informative.isEmpty())
        diag("       %s\n", informative.toUtf8().constData());
}

SaveChoice askSaveChanges(const QString& message)
{
    return g_sink ? g_sink->askSaveChanges(message) : SaveChoice::Discard;
}

int askChoice(const QString& message, const QStringList& choices)
{
    return g_sink ? g_sink->askChoice(message, choices) : -1;
}

int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton, int escapeButton)
{
    return g_sink ? g_sink->askButtons(message, informative, buttons, defaultButton, escapeButton) : escapeButton;
}

} // namespace rz48
