#pragma once
// Which lines from the unit are reports at all.
#include "common/FieldScanner.h"

#include <QString>

#include <optional>

namespace rz48 {

// The report line a raw line stands for, trimmed of white space and line
// breaks; none when the line is empty or its second character is not a
// space (such lines are ignored).
std::optional<QString> acceptReport(const QString& line);

} // namespace rz48
