#include "common/PosixRegex.h"

namespace rz48 {

PosixRegex::PosixRegex(const char* pattern)
    : ok_(regcomp(&compiled_, pattern, REG_EXTENDED) == 0)
{
}

PosixRegex::~PosixRegex()
{
    if (ok_)
        regfree(&compiled_);
}

std::optional<PosixRegex::Match> PosixRegex::firstMatch(const QString& text) const
{
    if (!ok_)
        return std::nullopt;
    const QByteArray utf8 = text.toUtf8();
    regmatch_t match[1];
    if (regexec(&compiled_, utf8.constData(), 1, match, 0) != 0)
        return std::nullopt;
    return Match {match[0].rm_so, match[0].rm_eo};
}

} // namespace rz48
