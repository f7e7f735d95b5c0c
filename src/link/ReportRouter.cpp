#include "link/ReportRouter.h"

#include "link/ReportScanner.h"
#include "common/Diagnostics.h"

void ReportRouter::on(std::initializer_list<char> letters, Handler handler)
{
    for (char letter : letters) {
        Entry& entry = entries_[size_t(uint8_t(letter)) % entries_.size()];
        entry.owned = true;
        entry.handler = handler;
    }
}

void ReportRouter::route(const QString& raw)
{
    const std::optional<QString> accepted = rz48::acceptReport(raw);
    if (!accepted)
        return;
    const QString& line = *accepted;
    const char16_t letter = line.at(0).unicode();
    if (letter == '#')
        return;
    const Entry* entry = letter < entries_.size() ? &entries_[letter] : nullptr;
    if (!entry || !entry->owned) {
        rz48::diag("unknown command: %s\n", QString(line.at(0)).toUtf8().constData());
        return;
    }
    if (entry->handler) {
        Fields fields(line, scratch_);
        entry->handler(line, fields);
    }
}
