#include "common/Diagnostics.h"

#include <algorithm>
#include <cstdio>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace rz48 {
namespace {
std::mutex g_mutex;
bool g_capturing = false;
std::string g_captured;
bool g_toStandardError = false;
} // namespace

void diagnosticsToStandardError()
{
    std::lock_guard lock(g_mutex);
    g_toStandardError = true;
}

void diagText(std::string_view text)
{
    std::lock_guard lock(g_mutex);
    if (g_capturing) {
        g_captured.append(text);
        return;
    }
    FILE* out = g_toStandardError ? stderr : stdout;
    std::fwrite(text.data(), 1, text.size(), out);
    std::fflush(out);
}

void diag(const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (n > 0) {
        std::vector<char> buf(static_cast<size_t>(n) + 1);
        std::vsnprintf(buf.data(), buf.size(), fmt, args);
        diagText(std::string_view(buf.data(), static_cast<size_t>(n)));
    }
    va_end(args);
}

DiagCapture::DiagCapture()
{
    std::lock_guard lock(g_mutex);
    g_capturing = true;
    g_captured.clear();
}

DiagCapture::~DiagCapture()
{
    std::lock_guard lock(g_mutex);
    g_capturing = false;
    g_captured.clear();
}

std::string DiagCapture::text() const
{
    std::lock_guard lock(g_mutex);
    return g_captured;
}

void DiagCapture::clear()
{
    std::lock_guard lock(g_mutex);
    g_captured.clear();
}

std::string hexBytes(std::string_view bytes, const char* itemFormat)
{
    std::string text;
    char item[16];
    for (char c : bytes) {
        const int n = std::snprintf(item, sizeof item, itemFormat, unsigned(static_cast<unsigned char>(c)));
        text.append(item, size_t(std::clamp(n, 0, int(sizeof item) - 1)));
    }
    return text;
}

} // namespace rz48
