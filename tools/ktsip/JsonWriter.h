// Compact JSON written straight into a string, for output that must be fast.
#ifndef KTSIP_TOOL_JSON_WRITER_H
#define KTSIP_TOOL_JSON_WRITER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

/// Appends JSON text to a string, in the layout of nlohmann::json's compact dump: no spaces,
/// `"` and `\` escaped, control bytes as \b \f \n \r \t or \u00XX. Strings are raw bytes,
/// each byte written as the code point of the same number (UTF-8 above 0x7F). The caller
/// keeps the nesting right; commas are put where they belong. The string holds the text
/// once the writer is destroyed (meanwhile it may hold spare bytes at its end).
class JsonWriter {
public:
    explicit JsonWriter(std::string& out) : m_Out(out), m_Used(out.size()) {}
    ~JsonWriter() { m_Out.resize(m_Used); }
    JsonWriter(const JsonWriter&) = delete;
    JsonWriter& operator=(const JsonWriter&) = delete;

    JsonWriter& beginObject() { return open('{'); }
    JsonWriter& endObject() { return close('}'); }
    JsonWriter& beginArray() { return open('['); }
    JsonWriter& endArray() { return close(']'); }
    /// The name of the next member of an object (a plain ASCII name, written as it is).
    template <std::size_t N>
    JsonWriter& key(const char (&name)[N]) {
        return key(name, N - 1);
    }
    JsonWriter& key(const char* name, std::size_t length);
    JsonWriter& value(const char* bytes, std::size_t length);
    JsonWriter& value(const std::string& bytes) { return value(bytes.data(), bytes.size()); }
    /// A NUL-terminated text (declared so that a pointer never becomes a bool).
    JsonWriter& value(const char* text) { return value(text, std::strlen(text)); }
    JsonWriter& value(std::int64_t number);
    JsonWriter& value(int number) { return value(static_cast<std::int64_t>(number)); }
    JsonWriter& value(unsigned number) { return value(static_cast<std::int64_t>(number)); }
    JsonWriter& value(std::uint64_t number);
    JsonWriter& value(bool flag);
    JsonWriter& null();
    /// Text that is already JSON (a number written another way, a dumped value).
    JsonWriter& raw(const char* text, std::size_t length);

    /// Ends a line of JSON Lines: the next value starts a new document.
    JsonWriter& newline() {
        *room(1) = '\n';
        m_NeedComma = false;
        return *this;
    }
    /// Bytes put as they are, outside any JSON value (a line of other output).
    void append(const char* bytes, std::size_t length) { put(bytes, length); }
    /// The text written so far.
    std::size_t size() const { return m_Used; }
    const char* data() const { return m_Out.data(); }
    /// Takes back what was written after size() was `mark` (in a top-level document).
    void rewind(std::size_t mark) {
        m_Used = mark;
        m_NeedComma = false;
    }
    /// Forgets the text written (the string keeps its storage for what comes next).
    void clear() {
        m_Used = 0;
        m_NeedComma = false;
    }

private:
    JsonWriter& open(char bracket);
    JsonWriter& close(char bracket);
    void separate() {
        if (m_NeedComma) *room(1) = ',';
        m_NeedComma = true;
    }
    /// Room for `length` more bytes: where to write them (counted as written).
    char* room(std::size_t length) {
        if (m_Used + length > m_Out.size()) m_Out.resize(2 * (m_Used + length) + 256);
        char* at = &m_Out[m_Used];
        m_Used += length;
        return at;
    }
    void put(const char* bytes, std::size_t length) { std::memcpy(room(length), bytes, length); }

    std::string& m_Out;
    std::size_t m_Used;  // bytes of m_Out that are text
    bool m_NeedComma = false;
};

#endif
