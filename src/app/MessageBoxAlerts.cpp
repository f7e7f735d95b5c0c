#include "app/MessageBoxAlerts.h"

#include <QMessageBox>

void MessageBoxAlerts::showAlert(const QString& message, const QString& informative)
{
    auto* box = new QMessageBox(QMessageBox::Warning, QStringLiteral("RZ48"), message, QMessageBox::Ok, parent_);
    box->setInformativeText(informative);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(parent_ ? Qt::WindowModal : Qt::ApplicationModal);
    box->open();
}
