// URIs found by fuzzing (fuzz/fuzz_message) that broke the SIP URL scanner, kept as tests.
#include <gtest/gtest.h>

#include <string>

#include "KtErrorStream.h"
#include "KtSipMessage.h"
#include "KtSipParseError.h"
#include "KtURI.h"

namespace {

KtHandle<KtURI> uriFrom(const std::string& text, bool inBracket) {
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    return KtURI::sConstructFrom(in, inBracket);
}

void dropLine(void*, const char*, unsigned) {}

// A raw NUL byte in a URL parameter or in the header part was stored (the texts are kept
// NUL-terminated) as a cut or empty value: "?Route=<NUL>..." held an empty Route that was
// written "?Route=", which no reader accepts, so a valid REGISTER came out with a Contact
// its next reader drops. A raw NUL is refused like an escaped one (%00).
TEST(UriRegressions, RawNulInParametersAndHeadersIsRefused) {
    const struct {
        const char* name;
        std::string text;
        bool inBracket;
    } refused[] = {
        {"header value", std::string("<sip:u@h.example?Route=\0\0x>", 27), true},
        {"header name", std::string("<sip:u@h.example?Ro\0ute=x>", 26), true},
        {"parameter name", std::string("sip:x;\0e", 8), true},
        {"parameter value", std::string("<sip:u@h.example;p=\0v>", 22), false},
    };
    for (const auto& row : refused) {
        SCOPED_TRACE(row.name);
        EXPECT_THROW(uriFrom(row.text, row.inBracket), KtSipParseError);
    }
    EXPECT_EQ("sip:u@h.example;p=v?h=1", std::string(uriFrom("<sip:u@h.example;p=v?h=1>", false)->getString().c_str()));

    // The message the fuzzer built: the Contact is refused on the first read already (status
    // 1), and what is written reads back to the same text.
    KtErrorStream::Sink sink = nullptr;
    void* context = nullptr;
    KtErrorStream::sSetSink(&dropLine, nullptr, &sink, &context);
    const std::string input = std::string(
        "REGISTER sip:example.com SIP/2.0\r\nVia: SIP/2.0/UDP h.example;branch=z9hG4bK1\r\n"
        "To: <sip:u@example.com>\r\nFrom: <sip:u@example.com>;tag=1\r\nCall-ID: c\r\nCSeq: 1 REGISTER\r\n"
        "Contact: sip:user@example.com?Route=\0\0\0\x01%3Csip:s.example%3E\r\nl: 0\r\n\r\n", 235);
    KtByteArrayInputStream in(input.data(), static_cast<unsigned>(input.size()));
    KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
    KtByteArrayOutputStream out(512);
    message->serialize(out);
    const std::string first(out.data(), out.size());
    KtByteArrayInputStream again(first.data(), static_cast<unsigned>(first.size()));
    KtByteArrayOutputStream out2(512);
    KtSipMessage::sConstructFrom(again)->serialize(out2);
    KtErrorStream::sSetSink(sink, context);
    EXPECT_EQ(KtSipMessage::STATUS_BAD_HEADER, message->getStatus());
    EXPECT_EQ(first, std::string(out2.data(), out2.size()));
}

}  // namespace
