#pragma once
// A POSIX extended regular expression, compiled once, matched against the
// UTF-8 form of a text. Offsets are byte offsets into that form.
#include <QString>

#include <optional>
#include <regex.h>

namespace rz48 {

class PosixRegex {
public:
    explicit PosixRegex(const char* pattern);
    ~PosixRegex();
    PosixRegex(const PosixRegex&) = delete;
    PosixRegex& operator=(const PosixRegex&) = delete;

    struct Match {
        long long start; // byte offsets into the UTF-8 form
        long long end;
    };
    std::optional<Match> firstMatch(const QString& text) const;

private:
    regex_t compiled_ {};
    bool ok_ = false;
};

} // namespace rz48
