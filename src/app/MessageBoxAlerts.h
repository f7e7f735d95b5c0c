#pragma once
// Alerts as window-modal message boxes with the default button only. They
// open without a nested event loop, so the receive drain never re-enters.
#include "common/Alerts.h"
#include "common/FilePanels.h"

#include <QMessageBox>
#include <QPointer>

#include <vector>
#include <QWidget>

class MessageBoxAlerts : public rz48::AlertSink {
public:
    explicit MessageBoxAlerts(QWidget* parent)
        : parent_(parent)
    {
    }
    void showAlert(const QString& message, const QString& informative, rz48::AlertKind kind) override;
    rz48::SaveChoice askSaveChanges(const QString& message) override;
    int askButtons(const QString& message, const QString& informative, const QStringList& buttons, int defaultButton,
                   int escapeButton) override;

private:
    QPointer<QWidget> parent_;
    std::vector<QPointer<QMessageBox>> open_;
};

// Open and save panels as file dialogs.
class FileDialogPanel : public rz48::FilePanel {
public:
    explicit FileDialogPanel(QWidget* parent)
        : parent_(parent)
    {
    }
    QString savePath(const QString& title, const QString& suffix) override;
    QString savePathAmong(const QString& title, const QStringList& suffixes) override;
    QString openPath(const QString& title, const QStringList& suffixes) override;

private:
    QPointer<QWidget> parent_;
};
