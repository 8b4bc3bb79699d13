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

// The written form of each byte: itself, an escape, or its two UTF-8 bytes.
struct ByteForms {
    char text[256][6];
    unsigned char length[256];
    ByteForms() {
        static const char hex[] = "0123456789abcdef";
        for (int c = 0; c < 256; ++c) {
            char* t = text[c];
            const char* shortEscape = c == '"' ? "\\\"" : c == '\\' ? "\\\\" : c == '\b' ? "\\b" : c == '\f' ? "\\f"
                                      : c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : nullptr;
            if (shortEscape != nullptr) {
                std::memcpy(t, shortEscape, 2);
                length[c] = 2;
            } else if (c < 0x20) {
                std::memcpy(t, "\\u00", 4);
                t[4] = hex[c >> 4];
                t[5] = hex[c & 15];
                length[c] = 6;
            } else if (c >= 0x80) {
                t[0] = static_cast<char>(0xC0 | (c >> 6));
                t[1] = static_cast<char>(0x80 | (c & 0x3F));
                length[c] = 2;
            } else {
                t[0] = static_cast<char>(c);
                length[c] = 1;
            }
        }
    }
};
const ByteForms kForms;

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
constexpr std::uint64_t kHighs = 0x8080808080808080ULL;

// True when the eight bytes at `p` are all written as they are (tested together).
bool plainWord(const unsigned char* p) {
    std::uint64_t w;
    std::memcpy(&w, p, 8);
    const std::uint64_t quote = w ^ (kOnes * '"');
    const std::uint64_t backslash = w ^ (kOnes * '\\');
    const std::uint64_t special = (w | ((w - kOnes * 0x20) & ~w) | ((quote - kOnes) & ~quote) |
                                   ((backslash - kOnes) & ~backslash)) & kHighs;
    return special == 0;
}

}  // namespace

JsonWriter& JsonWriter::value(const char* bytes, std::size_t length) {
    separate();
    const unsigned char* in = reinterpret_cast<const unsigned char*>(bytes);
    // First the size of the text, then the text written in place.
    std::size_t size = 2;
    std::size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        if (plainWord(in + i)) {
            size += 8;
            continue;
        }
        for (std::size_t j = i; j < i + 8; ++j) size += kForms.length[in[j]];
    }
    for (; i < length; ++i) size += kForms.length[in[i]];
    // Six spare bytes: every byte's form is copied whole, its length then counted.
    char* out = room(size + 6);
    m_Used -= 6;
    *out++ = '"';
    if (size == length + 2) {
        std::memcpy(out, bytes, length);
        out += length;
    } else {
        for (i = 0; i < length;) {
            if (i + 8 <= length && plainWord(in + i)) {
                std::memcpy(out, in + i, 8);
                out += 8;
                i += 8;
                continue;
            }
            for (const std::size_t end = i + 8 < length ? i + 8 : length; i < end; ++i) {
                std::memcpy(out, kForms.text[in[i]], 6);
                out += kForms.length[in[i]];
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
