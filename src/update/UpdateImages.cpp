#include "update/UpdateImages.h"

#include "common/Diagnostics.h"
#include "update/SRecord.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <vector>

namespace rz48::update {

bool settingsComplete(const SettingsImage& settings)
{
    if (settings.size == 0 || settings.address != kSettingsAddress)
        return false;
    for (uint32_t offset = 0; offset <= settings.size && offset + 16 <= settings.buffer.size(); offset += 16) {
        bool blank = true;
        for (uint32_t i = 0; i < 16; ++i)
            blank = blank && settings.buffer[offset + i] == 0xFF;
        if (blank)
            return false;
    }
    return true;
}

QStringList microRecords(const QString& s19Text, const SettingsImage& settings)
{
    std::vector<uint8_t> image(65536, 0xFF);
    for (const QString& raw : s19Text.split(u'\n')) {
        const QString line = raw.trimmed();
        if (line.isEmpty())
            continue;
        SRecord record;
        if (record.setSRec(line) != 0 || record.recType() != 1 || record.count() == 0)
            continue; // other types and bad lines are skipped
        for (uint32_t i = 0; i < record.count(); ++i)
            image[(record.address() + i) & 0xFFFF] = record.buffer()[i];
    }

    if (settings.size > 0 && settings.address == kSettingsAddress) {
        if (!settingsComplete(settings)) {
            rz48::diag("missed a j record...\n");
        } else {
            const uint32_t n = std::min<uint32_t>(std::max<uint32_t>(settings.size, 1), uint32_t(settings.buffer.size()));
            std::copy(settings.buffer.begin(), settings.buffer.begin() + n, image.begin() + kSettingsAddress);
        }
    }

    QStringList records;
    for (uint32_t address = 0x8000; address <= 0xFFF0; address += 16) {
        SRecord record;
        record.encode(image.data() + address, 1, address, 16);
        if (!record.empty())
            records << record.sRec();
    }
    records << QStringLiteral("S9030000FC");
    return records;
}

QByteArray readLoaderImage(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return {};
    }
    const QByteArray bytes = file.read(kLoaderSize + 1);
    if (bytes.size() != kLoaderSize) {
        if (error)
            *error = QStringLiteral("%1 has %2 bytes; the loader image has exactly %3")
                         .arg(path)
                         .arg(file.size())
                         .arg(kLoaderSize);
        return {};
    }
    return bytes;
}

QStringList defaultLoaderPaths()
{
    QStringList paths;
    for (const QString& dir : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
        paths << QDir(dir).filePath(QStringLiteral("rz48/rz48-loader.bin"));
    return paths;
}

bool isTestLoader(const QByteArray& loader)
{
    return loader.startsWith(kTestLoaderSignature);
}

QByteArray nextFpgaBatch(const QStringList& lines, qsizetype& next)
{
    QByteArray batch;
    while (next < lines.size() && batch.size() + lines[next].toUtf8().size() <= 1021) {
        batch += lines[next].trimmed().toUtf8();
        ++next;
    }
    return batch;
}

void appendReceived(QByteArray& buffer, const QByteArray& incoming)
{
    buffer += incoming.left(std::max<qsizetype>(kEchoBufferMax - buffer.size(), 0));
}

bool echoMatches(const QByteArray& tx, const QByteArray& rx)
{
    return rx.startsWith(tx);
}

} // namespace rz48::update
