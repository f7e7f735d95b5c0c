// What comes before an update: the loader image, whether one may start,
// and the file the operator chooses, checked before anything is sent.
#include "panel/UpdateController.h"

#include "common/FileIo.h"
#include "common/Alerts.h"
#include "common/Diagnostics.h"
#include "common/FilePanels.h"
#include "link/UnitLink.h"
#include "update/FirmwareCheck.h"
#include "update/UpdateImages.h"

#include <QFile>
#include <QFileInfo>

QByteArray UpdateController::loaderForUpdate()
{
    QString error;
    QByteArray loader;
    if (options_.simulated && options_.loaderPath.isEmpty()) {
        loader = options_.simulatedLoader;
    } else {
        const QStringList paths = options_.loaderPath.isEmpty() ? rz48::update::defaultLoaderPaths() : QStringList {options_.loaderPath};
        QStringList reasons;
        for (const QString& path : paths) {
            loader = rz48::update::readLoaderImage(path, &error);
            if (!loader.isEmpty())
                break;
            reasons << error;
        }
        if (loader.isEmpty()) {
            rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                            tr("Place the %1-byte loader image at %2, or name it with --loader FILE.\n%3")
                                .arg(rz48::update::kLoaderSize)
                                .arg(paths.value(0), reasons.join(u'\n')));
            return {};
        }
    }
    if (loader.size() != rz48::update::kLoaderSize) {
        rz48::showAlert(tr("The microcontroller cannot be updated without the unit's loader image."),
                        tr("The loader image has %1 bytes; it must have %2.").arg(loader.size()).arg(rz48::update::kLoaderSize));
        return {};
    }
    if (rz48::update::isTestLoader(loader) && !options_.simulated) {
        rz48::showAlert(tr("That loader image is the emulated unit's test loader."),
                        tr("It would leave a real unit without a working program; nothing was sent."));
        return {};
    }
    return loader;
}

bool UpdateController::mayStart()
{
    if (isUpdating()) {
        rz48::showAlert(tr("An update is already running."), tr("One update at a time: wait for this one to end."));
        return false;
    }
    if (!link_ || !link_->hasPort()) {
        rz48::showAlert(tr("No unit is connected: there is nothing to update."),
                        tr("Connect the unit (Unit > Reconnect looks for it again), then start the update."));
        return false;
    }
    return true;
}

QByteArray UpdateController::askForFile(Kind kind)
{
    if (showTab_)
        showTab_();
    if (makeRoom_)
        makeRoom_();
    const bool micro = kind == Kind::Micro;
    const QString path = micro ? rz48::askOpenPathWithExtension(tr("Microcontroller program"), QStringLiteral("s19"),
                                                                {QStringLiteral("s19"), QStringLiteral("S19")})
                               : rz48::askOpenPathWithExtension(tr("FPGA configuration"), QStringLiteral("mcs"),
                                                                {QStringLiteral("MCS"), QStringLiteral("mcs")});
    return path.isEmpty() ? QByteArray() : checkedFile(path, kind);
}

QByteArray UpdateController::checkedFile(const QString& path, Kind kind)
{
    const qint64 limit = (kind == Kind::Micro ? 16 : 64) * 1024 * 1024;
    QByteArray bytes;
    QString error;
    if (!rz48::readFileBounded(path, limit, bytes, &error)) {
        if (kind == Kind::Micro)
            rz48::showAlert(QStringLiteral("problem opening file, try again"), error);
        else
            rz48::showError(tr("cannot read %1").arg(path), error);
        return {};
    }
    const rz48::update::FirmwareCheck check = kind == Kind::Micro ? rz48::update::checkMicroProgram(bytes)
                                                                  : rz48::update::checkFpgaConfiguration(bytes);
    if (!check.ok) {
        rz48::showAlert(tr("%1 was refused: nothing was sent to the unit.").arg(QFileInfo(path).fileName()),
                        tr("Line %1: %2").arg(check.line).arg(check.why));
        return {};
    }
    rz48::diag("%s: %s\n", qPrintable(path), qPrintable(check.verdict()));
    fileWarnings_.clear();
    for (const QString& warning : check.warnings) {
        rz48::diag("%s: line %s\n", qPrintable(path), qPrintable(warning));
        fileWarnings_ << tr("Line %1").arg(warning);
    }
    return bytes;
}
