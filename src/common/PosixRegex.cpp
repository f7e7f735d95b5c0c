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
    // regexec reads a C string: a NUL byte would end the text early and hide
    // what follows it. It stands in as another control character, which
    // keeps every offset.
    QByteArray utf8 = text.toUtf8();
    utf8.replace('\0', '\x01');
    regmatch_t match[1];
    if (regexec(&compiled_, utf8.constData(), 1, match, 0) != 0)
        return std::nullopt;
    return Match {match[0].rm_so, match[0].rm_eo};
}

} // namespace rz48
