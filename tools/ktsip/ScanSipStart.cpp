// Recognizing the start of a SIP message in captured bytes.
#include "ScanSipStart.h"

#include <cstring>

namespace {

bool tokenChar(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != 0 && std::strchr("-.!%*_+`'~", c) != nullptr);
}

}  // namespace

ScanSipStart::Answer ScanSipStart::sCheck(const char* p, std::size_t n) {
    if (n == 0) return NeedMore;
    if (p[0] == '\r' || p[0] == '\n') {
        for (std::size_t i = 1; i < n; ++i)
            if (p[i] != '\r' && p[i] != '\n') return No;
        return Yes;
    }
    static const char kSip[] = "SIP/";
    if (p[0] == 'S' && std::memcmp(p, kSip, n < 4 ? n : 4) == 0) return n < 4 ? NeedMore : Yes;
    std::size_t i = 0;
    while (i < n && i < 32 && tokenChar(static_cast<unsigned char>(p[i]))) ++i;
    if (i == n) return i < 32 ? NeedMore : No;
    if (i == 0 || p[i] != ' ') return No;
    const std::size_t limit = n < MAX_LINE ? n : MAX_LINE;
    const void* end = std::memchr(p + i, '\n', limit - i);
    if (end == nullptr) return n < MAX_LINE ? NeedMore : No;
    std::size_t lineEnd = static_cast<std::size_t>(static_cast<const char*>(end) - p);
    if (lineEnd > 0 && p[lineEnd - 1] == '\r') --lineEnd;
    // The version is the last word of the line, after the URI.
    std::size_t space = lineEnd;
    while (space > i && p[space - 1] != ' ') --space;
    return space > i + 1 && lineEnd - space >= 4 && std::memcmp(p + space, kSip, 4) == 0 ? Yes : No;
}

std::size_t ScanSipStart::sFindNext(const char* p, std::size_t n) {
    for (std::size_t at = 0; at < n;) {
        const void* nl = std::memchr(p + at, '\n', n - at);
        if (nl == nullptr) return n;
        at = static_cast<std::size_t>(static_cast<const char*>(nl) - p) + 1;
        if (at < n && p[at] != '\r' && p[at] != '\n' && sCheck(p + at, n - at) == Yes) return at;
    }
    return n;
}
