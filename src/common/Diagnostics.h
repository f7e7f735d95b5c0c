#pragma once
// Diagnostic lines go to standard output through one function, so that tests
// can capture exactly what the program prints.
#include <string>
#include <string_view>

namespace rz48 {

// printf-style diagnostic to standard output (flushed at once).
void diag(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void diagText(std::string_view text);
// Each byte in `itemFormat` (a printf format of one unsigned), one after another.
std::string hexBytes(std::string_view bytes, const char* itemFormat = "%02x ");
// A program whose standard output is its result (a command-line tool) sends
// the diagnostics to standard error instead.
void diagnosticsToStandardError();

// While an object of this class lives, diagnostics are collected in it
// instead of being printed. Only one capture is active at a time.
class DiagCapture {
public:
    DiagCapture();
    ~DiagCapture();
    DiagCapture(const DiagCapture&) = delete;
    DiagCapture& operator=(const DiagCapture&) = delete;

    std::string text() const;
    void clear();
};

} // namespace rz48
