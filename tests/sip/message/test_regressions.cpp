// Inputs found by fuzzing (fuzz/) that broke the message parser, kept as tests. Each test
// holds reduced forms of the input; its comment names the fuzz target and the invariant
// that broke.
#include <gtest/gtest.h>

#include <string>

#include "KtErrorStream.h"
#include "KtSipMessage.h"
#include "KtSipResponse.h"

namespace {

std::string wire(const KtSipMessage& message) {
    KtByteArrayOutputStream out(512);
    message.serialize(out);
    return std::string(out.data(), out.size());
}

void dropLine(void*, const char*, unsigned) {}

/// The output of `input` parsed once; "" when parsing throws. The error-stream lines of
/// the malformed inputs are dropped.
std::string parsedOutput(const std::string& input, KtHandle<KtSipMessage>* kept = nullptr) {
    KtErrorStream::Sink sink = nullptr;
    void* context = nullptr;
    KtErrorStream::sSetSink(&dropLine, nullptr, &sink, &context);
    struct Restore {
        KtErrorStream::Sink sink;
        void* context;
        ~Restore() { KtErrorStream::sSetSink(sink, context); }
    } restore{sink, context};
    KtByteArrayInputStream in(input.data(), static_cast<unsigned>(input.size()));
    try {
        KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
        if (kept) *kept = message;
        return wire(*message);
    } catch (const KtException&) {
        return "";
    }
}

const std::string kResponseHeaders =
    "Via: SIP/2.0/UDP 192.0.2.105;branch=z9hG4bK2398ndaoe\r\nCall-ID: bigcode.asdof3u\r\n"
    "CSeq: 353494 INVITE\r\nFrom: <sip:user@example.com>;tag=39ansfi3\r\n"
    "To: <sip:user@example.edu>;tag=902jndnke3\r\nContent-Length: 0\r\n\r\n";

// fuzz_message, "the output of a valid message parses again": a status code that fits in
// 32 bits unsigned but not in an int was accepted and written back negative
// ("SIP/2.0 -47483646 ..."), which no parser reads.
TEST(Regressions, StatusCodeBeyondIntRangeIsRefusedOrWrittenBackReadable) {
    for (const char* code : {"4247483650", "2147483648", "4294967295", "3000000000"}) {
        SCOPED_TRACE(code);
        KtHandle<KtSipMessage> message;
        const std::string first = parsedOutput(std::string("SIP/2.0 ") + code + " Big\r\n" + kResponseHeaders, &message);
        if (first.empty()) continue;  // refused: fine
        KtHandle<KtSipResponse> response = message.dynamicCast<KtSipResponse>();
        ASSERT_FALSE(response.isNil());
        EXPECT_GE(response->getStatusCode(), 0) << "status code read as a negative number";
        EXPECT_EQ(first, parsedOutput(first)) << "the output of a valid response does not read back";
    }
}

// fuzz_message, "parse(serialize(m)) serializes to serialize(m)": a header line whose name
// held a CR ("Vi<CR>a") was kept as an unknown header that wrote "Via: ...", so a valid
// message gained a Via header (refused by the next parser) on its way through.
TEST(Regressions, HeaderNameWithACarriageReturnDoesNotTurnIntoAnotherHeader) {
    const std::string input =
        "OPTIONS sip:user@example.org SIP/2.0\r\nVia: SIP/2.0/UDP host4.example.com:5060;branch=z9hG4bKkdju43\r\n"
        "From: <sip:a@example.com>;tag=4\r\nTo: <sip:t@example.org>\r\nCall-ID: c1\r\nCSeq: 3 OPTIONS\r\n"
        "Vi\ra: SIP/2.0/UDRecord-RoutePent-L\r\nl: 0\r\n\r\n";
    KtHandle<KtSipMessage> message;
    const std::string first = parsedOutput(input, &message);
    ASSERT_NE("", first);
    EXPECT_EQ(first, parsedOutput(first)) << "the output reads back to itself";
    int vias = 0;
    for (KtHandle<KtSipHeader> h = message->mGetHeader("Via"); !h.isNil(); h = h->getNext()) ++vias;
    EXPECT_EQ(1, vias);
    EXPECT_EQ(std::string::npos, first.find("UDRecord")) << "the malformed line is not written back";
}

// fuzz_message, "parse(serialize(m)) serializes to serialize(m)": the header part of a sip:
// request URI is lifted into message headers, and a lifted name that is not a token (it
// holds ":", a space, or an escaped ":") was kept as the name of an unknown header. Written
// out, "Contact:<sip:evil@e>" with the value z becomes the line "Contact:<sip:evil@e>: z",
// which the next reader takes as a Contact header: a request URI could inject header
// lines into every message forwarded from it.
TEST(Regressions, RequestUriHeaderNamesCannotInjectHeaderLines) {
    const std::string tail =
        " SIP/2.0\r\nVia: SIP/2.0/UDP h.example;branch=z9hG4bK1\r\nTo: <sip:u@example.com>\r\n"
        "From: <sip:u@example.com>;tag=1\r\nCall-ID: c\r\nCSeq: 1 INVITE\r\nContent-Length: 0\r\n\r\n";
    for (const char* uri : {"sip:u@h?Contact:<sip:evil@e>=z", "sip:u@h?Via%3aSIP/2.0/UDP%20evil.example=x",
                            "sip:u@h?X:Y=z", "sip:user@example.com?RINVITE%20sip:bob@b.el?Subject=x"}) {
        SCOPED_TRACE(uri);
        KtHandle<KtSipMessage> message;
        const std::string first = parsedOutput(std::string("INVITE ") + uri + tail, &message);
        if (first.empty()) continue;  // refused: fine
        KtHandle<KtSipMessage> again;
        EXPECT_EQ(first, parsedOutput(first, &again)) << "the output reads back to itself";
        ASSERT_FALSE(again.isNil());
        EXPECT_EQ(message->mGetHeader("Contact").isNil(), again->mGetHeader("Contact").isNil())
            << "a Contact header appears on the next hop";
        for (const KtSipHeader* h = message->mGetHeaderByID(HeaderUnknown).get(); h != nullptr; h = h->getNext().get())
            EXPECT_EQ(std::string::npos, std::string(h->getToken().c_str()).find_first_of(": \t"))
                << "header name " << h->getToken().c_str();
    }
}

}  // namespace
