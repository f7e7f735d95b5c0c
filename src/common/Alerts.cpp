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

void showAlert(const QString& message, const QString& informative, AlertKind kind)
{
    if (g_sink) {
        g_sink->showAlert(message, informative, kind);
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

int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton, int escapeButton)
{
    return g_sink ? g_sink->askButtons(message, informative, buttons, defaultButton, escapeButton) : escapeButton;
}

} // namespace rz48
