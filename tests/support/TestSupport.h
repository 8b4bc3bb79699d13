// Helpers shared by every test program: the message of a thrown exception, the text an
// object writes, a stream over a string and what is left of it, the bytes of a file, a
// silenced error stream.
#ifndef KTSIP_TEST_SUPPORT_H
#define KTSIP_TEST_SUPPORT_H

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "KtErrorStream.h"
#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"

namespace kttest {

/// The message of the `E` that `action` throws, "" when it throws none. Exceptions of
/// other types pass through, which fails the test.
template <class E = KtException, class Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const E& e) {
        return e.getMessage();
    }
    return "";
}

/// The message of the KtException that `action` throws when it is not an `E`; "" when it
/// throws none or an `E`.
template <class E, class Action>
std::string thrownOtherThan(Action action) {
    return thrown([&] { thrown<E>(action); });
}

/// What `object.serialize()` writes.
template <class T>
std::string written(const T& object) {
    KtByteArrayOutputStream out(512);
    object.serialize(out);
    return std::string(out.data(), out.size());
}

/// A stream over `text`, which must outlive it.
inline KtByteArrayInputStream streamOf(const std::string& text) {
    return KtByteArrayInputStream(text.data(), static_cast<unsigned>(text.size()));
}
inline KtByteArrayInputStream streamOf(const char* text) {
    return KtByteArrayInputStream(text, static_cast<unsigned>(std::strlen(text)));
}
KtByteArrayInputStream streamOf(std::string&&) = delete;  // would outlive its text

/// The bytes of the file at `path` ("" when it cannot be read).
inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// The bytes of `in` not read yet.
inline std::string rest(const KtInputStream& in) { return std::string(in.current(), in.end()); }

/// Reads `in` to its end (across refills) and returns what it read.
inline std::string drain(KtInputStream& in) {
    std::string s;
    for (int c = in.read(); c >= 0; c = in.read()) s.push_back(static_cast<char>(c));
    return s;
}

/// Hands out its text one byte per window, so that every reader crosses window ends and
/// refills on every byte.
class TricklingStream : public KtInputStream {
public:
    explicit TricklingStream(std::string text) : m_Text(std::move(text)) { setWindow(m_Text.data(), m_Text.data()); }

protected:
    bool refill() override {
        const char* next = m_pEnd;
        if (next >= m_Text.data() + m_Text.size()) return false;
        setWindow(next, next + 1);
        return true;
    }

private:
    std::string m_Text;
};

/// Calls `read(in, label)` twice over `text`: from a stream holding it whole ("whole") and
/// from a TricklingStream ("trickled"), so that a row checks both the in-place and the
/// gathered reading of one grammar.
template <class Read>
void readWholeAndTrickled(const std::string& text, Read read) {
    KtByteArrayInputStream whole(text.data(), static_cast<unsigned>(text.size()));
    read(static_cast<KtInputStream&>(whole), "whole");
    TricklingStream trickled(text);
    read(static_cast<KtInputStream&>(trickled), "trickled");
}

/// Hands out its text in windows that grow by one byte per refill and always start at the
/// text's beginning: every reader finds its window ending right after the byte it stands on
/// (so in-place fast paths give way to the general readers), while marks stay valid.
class GrowingStream : public KtInputStream {
public:
    explicit GrowingStream(std::string text) : m_Text(std::move(text)) {
        setWindow(m_Text.data(), m_Text.data());
    }

protected:
    bool refill() override {
        if (m_pEnd >= m_Text.data() + m_Text.size()) return false;
        ++m_pEnd;  // the earlier bytes, and so any mark among them, stay in the window
        return true;
    }

private:
    std::string m_Text;
};

/// Collects the lines written to the error stream while it lives.
class ErrorCapture {
public:
    ErrorCapture() { KtErrorStream::sSetSink(&sink, this, &m_Sink, &m_Context); }
    ~ErrorCapture() { KtErrorStream::sSetSink(m_Sink, m_Context); }
    std::vector<std::string> lines;

private:
    static void sink(void* self, const char* line, unsigned length) {
        static_cast<ErrorCapture*>(self)->lines.emplace_back(line, length);
    }
    KtErrorStream::Sink m_Sink = nullptr;
    void* m_Context = nullptr;
};

/// Drops the lines written to the error stream while it lives (from any thread).
class QuietErrors {
public:
    QuietErrors() { KtErrorStream::sSetSink([](void*, const char*, unsigned) {}, nullptr, &m_Sink, &m_Context); }
    ~QuietErrors() { KtErrorStream::sSetSink(m_Sink, m_Context); }

private:
    KtErrorStream::Sink m_Sink = nullptr;
    void* m_Context = nullptr;
};

}  // namespace kttest

#endif
