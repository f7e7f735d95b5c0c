#include "link/ReportScanner.h"

namespace rz48 {

std::optional<QString> acceptReport(const QString& line)
{
    if (line.isEmpty())
        return std::nullopt;
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    if (trimmed.size() > 1 && trimmed.at(1) != u' ')
        return std::nullopt;
    return trimmed;
}

} // namespace rz48
