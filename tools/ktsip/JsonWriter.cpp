// Compact JSON written straight into a string.
#include "JsonWriter.h"

#include <cstring>

JsonWriter& JsonWriter::open(char bracket) {
    separate();
    *room(1) = bracket;
    m_NeedComma = false;
    return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
    *room(1) = bracket;
    m_NeedComma = true;
    return *this;
}

JsonWriter& JsonWriter::key(const char* name, std::size_t length) {
    char* out = room(length + 4);
    if (m_NeedComma) *out++ = ',';
    else --m_Used;
    *out++ = '"';
    std::memcpy(out, name, length);
    out[length] = '"';
    out[length + 1] = ':';
    m_NeedComma = false;
    return *this;
}

namespace {

// Bytes written as they are: printable ASCII other than the quote and the backslash.
struct PlainBytes {
    bool plain[256];
    constexpr PlainBytes() : plain() {
        for (int c = 0x20; c < 0x80; ++c) plain[c] = c != '"' && c != '\\';
    }
};
constexpr PlainBytes kPlain;

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
constexpr std::uint64_t kHighs = 0x8080808080808080ULL;

// True when the eight bytes at `p` are all plain (tested together, without branches).
bool plainWord(const unsigned char* p) {
    std::uint64_t w;
    std::memcpy(&w, p, 8);
    const std::uint64_t quote = w ^ (kOnes * '"');
    const std::uint64_t backslash = w ^ (kOnes * '\\');
    const std::uint64_t special = (w | ((w - kOnes * 0x20) & ~w) | ((quote - kOnes) & ~quote) |
                                   ((backslash - kOnes) & ~backslash)) & kHighs;
    return special == 0;
}

// Extra bytes the escaped form of `c` takes.
std::size_t extra(unsigned char c) {
    if (kPlain.plain[c]) return 0;
    return c >= 0x80 || c == '"' || c == '\\' || c == '\b' || c == '\f' || c == '\n' || c == '\r' || c == '\t' ? 1 : 5;
}

}  // namespace

JsonWriter& JsonWriter::value(const char* bytes, std::size_t length) {
    static const char hex[] = "0123456789abcdef";
    separate();
    const unsigned char* in = reinterpret_cast<const unsigned char*>(bytes);
    // First the size of the text, then the text written in place.
    std::size_t size = length + 2;
    std::size_t i = 0;
    for (; i + 8 <= length; i += 8)
        if (!plainWord(in + i))
            for (std::size_t j = i; j < i + 8; ++j) size += extra(in[j]);
    for (; i < length; ++i) size += extra(in[i]);
    char* out = room(size);
    *out++ = '"';
    if (size == length + 2) {
        std::memcpy(out, bytes, length);
        out += length;
    } else {
        for (i = 0; i < length; ++i) {
            if (i % 8 == 0 && i + 8 <= length && plainWord(in + i)) {
                std::memcpy(out, in + i, 8);
                out += 8;
                i += 7;
                continue;
            }
            const unsigned char c = in[i];
            if (kPlain.plain[c]) {
                *out++ = static_cast<char>(c);
                continue;
            }
            if (c >= 0x80) {
                *out++ = static_cast<char>(0xC0 | (c >> 6));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
                continue;
            }
            *out++ = '\\';
            switch (c) {
                case '"': *out++ = '"'; break;
                case '\\': *out++ = '\\'; break;
                case '\b': *out++ = 'b'; break;
                case '\f': *out++ = 'f'; break;
                case '\n': *out++ = 'n'; break;
                case '\r': *out++ = 'r'; break;
                case '\t': *out++ = 't'; break;
                default:
                    *out++ = 'u';
                    *out++ = '0';
                    *out++ = '0';
                    *out++ = hex[c >> 4];
                    *out++ = hex[c & 15];
            }
        }
    }
    *out = '"';
    return *this;
}

JsonWriter& JsonWriter::value(std::uint64_t number) {
    separate();
    char text[24];
    char* end = text + sizeof text;
    char* at = end;
    do {
        *--at = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    put(at, static_cast<std::size_t>(end - at));
    return *this;
}

JsonWriter& JsonWriter::value(std::int64_t number) {
    if (number >= 0) return value(static_cast<std::uint64_t>(number));
    separate();
    *room(1) = '-';
    m_NeedComma = false;
    return value(0 - static_cast<std::uint64_t>(number));
}

JsonWriter& JsonWriter::value(bool flag) { return raw(flag ? "true" : "false", flag ? 4 : 5); }

JsonWriter& JsonWriter::null() { return raw("null", 4); }

JsonWriter& JsonWriter::raw(const char* text, std::size_t length) {
    separate();
    put(text, length);
    return *this;
}
