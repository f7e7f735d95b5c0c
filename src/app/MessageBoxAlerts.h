#pragma once
// Alerts as window-modal message boxes with the default button only. They
// open without a nested event loop, so the receive drain never re-enters.
#include "common/Alerts.h"

#include <QPointer>
#include <QWidget>

class MessageBoxAlerts : public rz48::AlertSink {
public:
    explicit MessageBoxAlerts(QWidget* parent)
        : parent_(parent)
    {
    }
    void showAlert(const QString& message, const QString& informative) override;

private:
    QPointer<QWidget> parent_;
};
