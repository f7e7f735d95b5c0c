#include "app/MessageBoxAlerts.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace {

QMessageBox::Icon iconOf(rz48::AlertKind kind)
{
    switch (kind) {
    case rz48::AlertKind::Information: return QMessageBox::Information;
    case rz48::AlertKind::Warning: return QMessageBox::Warning;
    case rz48::AlertKind::Error: return QMessageBox::Critical;
    }
    return QMessageBox::Warning;
}

} // namespace

void MessageBoxAlerts::showAlert(const QString& message, const QString& informative, rz48::AlertKind kind)
{
    // The same alert while it is still open is not stacked on itself.
    std::erase_if(open_, [](const QPointer<QMessageBox>& b) { return b.isNull(); });
    for (const QPointer<QMessageBox>& open : open_) {
        if (open->text() == message && open->informativeText() == informative) {
            open->raise();
            return;
        }
    }
    auto* box = new QMessageBox(iconOf(kind), rz48::alertTitle(), message, QMessageBox::Ok, parent_);
    box->setInformativeText(informative);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(parent_ ? Qt::WindowModal : Qt::ApplicationModal);
    box->open();
    open_.push_back(box);
}

rz48::SaveChoice MessageBoxAlerts::askSaveChanges(const QString& message)
{
    QMessageBox box(QMessageBox::Warning, rz48::alertTitle(), message,
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, parent_);
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save: return rz48::SaveChoice::Save;
    case QMessageBox::Discard: return rz48::SaveChoice::Discard;
    default: return rz48::SaveChoice::Cancel;
    }
}

QString FileDialogPanel::savePath(const QString& title, const QString& suffix)
{
    QFileDialog dialog(parent_, title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(suffix);
    dialog.setNameFilter(QStringLiteral("*.%1").arg(suffix));
    return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty() ? dialog.selectedFiles().first() : QString();
}

QString FileDialogPanel::savePathAmong(const QString& title, const QStringList& suffixes)
{
    QFileDialog dialog(parent_, title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    QStringList filters;
    for (const QString& s : suffixes)
        filters << QStringLiteral("*.%1").arg(s);
    dialog.setNameFilters(filters);
    dialog.setDefaultSuffix(suffixes.value(0));
    // The name gets the extension of the kind of file chosen.
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&dialog](const QString& filter) { dialog.setDefaultSuffix(filter.mid(2)); });
    return dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty() ? dialog.selectedFiles().first() : QString();
}

QString FileDialogPanel::openPath(const QString& title, const QStringList& suffixes)
{
    QStringList patterns;
    for (const QString& s : suffixes)
        patterns << QStringLiteral("*.%1").arg(s);
    return QFileDialog::getOpenFileName(parent_, title, QString(), patterns.join(u' '));
}

int MessageBoxAlerts::askButtons(const QString& message, const QString& informative, const QStringList& buttons,
                                 int defaultButton, int escapeButton)
{
    QMessageBox box(QMessageBox::Question, rz48::alertTitle(), message, QMessageBox::NoButton, parent_);
    box.setInformativeText(informative);
    QList<QPushButton*> made;
    for (qsizetype i = 0; i < buttons.size(); ++i)
        made << box.addButton(buttons[i], i == escapeButton ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
    if (defaultButton >= 0 && defaultButton < made.size())
        box.setDefaultButton(made[defaultButton]);
    if (escapeButton >= 0 && escapeButton < made.size())
        box.setEscapeButton(made[escapeButton]);
    box.exec();
    const qsizetype pressed = made.indexOf(qobject_cast<QPushButton*>(box.clickedButton()));
    return pressed >= 0 ? int(pressed) : escapeButton;
}
