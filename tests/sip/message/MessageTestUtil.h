// Helpers of the message tests: wire text, parsing, capture of the error stream.
#ifndef KTSIP_TESTS_MESSAGE_TEST_UTIL_H
#define KTSIP_TESTS_MESSAGE_TEST_UTIL_H

#include <string>
#include <vector>

#include "KtErrorStream.h"
#include "KtSipMessage.h"

namespace msgtest {

/// `text` with every LF turned into CR LF.
inline std::string crlf(const std::string& text) {
    std::string out;
    for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

/// Parses `wire` as one datagram.
inline KtHandle<KtSipMessage> parse(const std::string& wire) {
    KtByteArrayInputStream in(wire.data(), static_cast<unsigned>(wire.size()));
    return KtSipMessage::sConstructFrom(in);
}

/// Parses `rest` (the text after the first token) into `message`, which stays inspectable
/// when parsing throws.
inline void parseInto(KtSipMessage& message, const char* token, const std::string& rest) {
    KtByteArrayInputStream in(rest.data(), static_cast<unsigned>(rest.size()));
    message.parse(token, in);
}

/// The wire form of `message`, or of its start line alone.
inline std::string wire(const KtSipMessage& message, bool startLineOnly = false) {
    KtByteArrayOutputStream out(512);
    if (startLineOnly)
        message.serializeStartLine(out);
    else
        message.serialize(out);
    return std::string(out.data(), out.size());
}

/// The message of the KtException that `action` throws, "" when it throws none.
template <class Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const KtException& e) {
        return e.getMessage();
    }
    return "";
}

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

/// The headers of a valid INVITE from alice to bob (no Content-Length, no blank line).
inline std::string inviteHeaders() {
    return "Via: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\nFrom: <sip:alice@a.example:5070>;tag=88\n"
           "To: <sip:bob@b.example>\nCall-ID: c1\nCSeq: 4 INVITE\n";
}

}  // namespace msgtest

#endif
