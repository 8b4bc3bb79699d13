// Parsing of whole messages: first token, request and status lines, header section, body.
// Rows that come from inputs found by fuzzing (fuzz/) name the fuzz target.
#include <gtest/gtest.h>

#include <typeinfo>

#include "KtSipSubjectHeader.h"
#include "KtSipUnknownHeader.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

const std::string kTail = crlf(inviteHeaders() + "Content-Length: 0\n\n");

/// A request with the first token `token`, the mandatory headers and `method` in its CSeq.
std::string minimalRequest(const std::string& token, const std::string& method) {
    return token + " sip:bob@b.example SIP/2.0\r\n" +
           crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\nCall-ID: c\nCSeq: 1 " + method + "\n\n");
}

TEST(MessageFirstToken, KeepAliveAndMissingToken) {
    const std::pair<std::string, bool> rows[] = {  // input, keep-alive (else no token)
        {"", false}, {"\r\n\r\n", true}, {"\n", true}, {" INVITE", true}, {"\tINVITE", true}, {"/2.0", true}, {"\rX", true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        EXPECT_EQ(row.second ? "Keep-alive datagram encountered" : "SIP Method Token Expected",
                  thrown([&] { parse(row.first); }));
    }
    EXPECT_THROW(parse("\r\n"), KtSipParseKeepAliveException);
    EXPECT_THROW(parse(""), KtSipParseError);
}

TEST(MessageFirstToken, TokenSelectsClass) {
    std::vector<std::pair<std::string, const std::type_info*>> rows = {
        {"UPDATE", &typeid(KtSipUnknownRequest)}, {"invite", &typeid(KtSipUnknownRequest)},
        {"sip", &typeid(KtSipUnknownRequest)},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", &typeid(KtSipUnknownRequest)},  // cut to 31 characters
    };
    for (const MessageClass& c : kMessageClasses)
        if (c.token != std::string("SIP")) rows.emplace_back(c.token, &c.type);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        const std::string method = row.first.substr(0, 31);
        KtHandle<KtSipMessage> message = parse(minimalRequest(row.first, method));
        EXPECT_EQ(*row.second, typeid(*message));
        KtHandle<KtSipRequest> request = message.dynamicCast<KtSipRequest>();
        EXPECT_EQ(method, request->getMethod().c_str());
        EXPECT_TRUE(message->isValid());
        EXPECT_FALSE(request->useLocalOutboundProxy());
    }
    EXPECT_TRUE(KtSipMessage::sIsRegistered("SIP"));
    EXPECT_FALSE(KtSipMessage::sIsRegistered("UPDATE"));
}

TEST(MessageFirstToken, ATokenCutAt31CharactersNoLongerMatchesItsCSeq) {
    QuietErrors quiet;
    for (size_t length : {31u, 32u, 33u, 100u, 5000u}) {
        const std::string method(length, 'M');
        KtHandle<KtSipMessage> message;
        thrown([&] { message = parse(minimalRequest(method, method)); });
        EXPECT_EQ(length <= 31, !message.isNil() && message->isValid()) << length;
    }
}

TEST(MessageFirstToken, MethodsRegisteredLaterAreFoundHoweverMany) {
    // Registered one by one, each checked at once: the first ones go through the parser's
    // lookup table, the later ones (more than it holds) through the registry map.
    auto classOf = [](const std::string& token) -> const std::type_info& {
        KtHandle<KtSipMessage> message = parse(minimalRequest(token, token));
        return typeid(*message);
    };
    for (int i = 0; i < 48; ++i) {
        const std::string method = "XKT" + std::to_string(i);
        SCOPED_TRACE(method);
        EXPECT_EQ(typeid(KtSipUnknownRequest), classOf(method));
        KtSipMessage::sAddConstructor(method.c_str(), &make<KtSipInfoMessage>);
        EXPECT_EQ(typeid(KtSipInfoMessage), classOf(method));
        EXPECT_EQ(typeid(KtSipInfoMessage), classOf("XKT0"));
        EXPECT_EQ(typeid(KtSipInviteMessage), classOf("INVITE"));
        EXPECT_EQ(typeid(KtSipUnknownRequest), classOf("XKT"));
    }
}

TEST(RequestLine, Cases) {
    const std::string pad(1023 - std::string(" sip:alice SIP/2.0\r").size(), ' ');
    const std::string version = "Invalid SIP Version", scheme = "Upsupported Scheme",
                      start = "Invalid Start-Line for SIP request";
    // the text after the method (line end included), status, and the request URI written (status 0) or the error
    struct Row { std::string rest; int status; std::string outcome; } const rows[] = {
        {" sip:alice SIP/2.0\r\n", 0, "sip:alice"}, {" sip:alice SIP/2.0\n", 0, "sip:alice"},
        {" sip:alice SIP/2.0   \r\n", 0, "sip:alice"},
        {" sip:alice" + pad + " SIP/2.0\r\n", 0, "sip:alice"},  // 1,023 characters
        {" sip:alice " + pad + " SIP/2.0\r\n", 414, start + ": too long"},
        {" sip:alice " + std::string(70000, 'u') + " SIP/2.0\r\n", 414, start + ": too long"},
        {" sip:alice SIP/2.1\r\n", 505, version}, {" sip:alice SIP/3.0\r\n", 505, version},
        {" sip:alice SIP/2.00\r\n", 2, version}, {" sip:alice sip/2.0\r\n", 2, version},
        {" sip:alice HTTP/1.1\r\n", 2, version}, {" sips:alice@a.example SIP/2.0\r\n", 416, scheme},
        {" mailto:alice@a.example SIP/2.0\r\n", 416, scheme},
        {" SIP:alice@a.example SIP/2.0\r\n", 0, "sip:alice@a.example"},
        {" Tel:+1-212-555-0100 SIP/2.0\r\n", 0, "tel:+1-212-555-0100"},
        {" telnet://x SIP/2.0\r\n", 0, "tel://x"}, {" sipx:alice SIP/2.0\r\n", 416, scheme},
        {" <sip:alice@a.example> SIP/2.0\r\n", 0, "sip:alice@a.example"},
        {" sip:aliceSIP/2.0\r\n", 2, start}, {"        \r\n", 2, start}, {"\r\n", 2, start},
        {" sip:alice SIP/2.0", 2, start + ": reached end of message looking for end-of-line"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        const bool accepted = row.status == 0;
        KtHandle<KtSipInviteMessage> request(new KtSipInviteMessage());
        ErrorCapture errors;
        const std::string text = row.rest + (accepted ? kTail : "");
        EXPECT_EQ(accepted ? "" : row.outcome, thrown([&] { parseInto(*request, "INVITE", text); }));
        EXPECT_EQ(row.status, request->getStatus());
        if (accepted)
            EXPECT_EQ("INVITE " + row.outcome + " SIP/2.0\r\n", wire(*request, true));
        else
            EXPECT_EQ(std::vector<std::string>{"Exception occurred while parsing start-line of message: " +
                                               row.outcome}, errors.lines);
    }
}

TEST(RequestLine, URIHeadersBecomeMessageHeaders) {
    // request URI; the URI written and the lines lifted from it, which come first. Names that
    // are not tokens are dropped (found by fuzz_message: "Contact:<sip:evil@e>" kept as a name
    // was written as the line "Contact:<sip:evil@e>: z", a Contact header on the next hop).
    const std::pair<std::string, std::string> rows[] = {
        {"sip:bob@b.example?Subject=hi", "sip:bob@b.example SIP/2.0\r\nSubject: hi"},
        {"sip:u@h?Contact:<sip:evil@e>=z", "sip:u@h SIP/2.0"}, {"sip:u@h?X:Y=z", "sip:u@h SIP/2.0"},
        {"sip:u@h?Via%3aSIP/2.0/UDP%20evil.example=x", "sip:u@h SIP/2.0"},
        {"sip:user@example.com?RINVITE%20sip:bob@b.el?Subject=x", "sip:user@example.com SIP/2.0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        const std::string out = wire(*parse("INVITE " + row.first + " SIP/2.0\r\n" + kTail));
        EXPECT_EQ("INVITE " + row.second + "\r\n" + kTail, out);
        EXPECT_EQ(out, wire(*parse(out)));
    }

    // On a request with Subjects already: replaced; "body" becomes the body.
    KtSipRequest built(KtString("MESSAGE"));
    built.addHeader(new KtSipSubjectHeader("old"));
    built.addHeader(new KtSipSubjectHeader("older"));
    built.addHeader(new KtSipUnknownHeader("X-Keep", "1"));
    built.setURI(new KtSipURL("sip:bob@b.example?Subject=hi;body=hello"));
    built.stripSipURLHeaders();
    EXPECT_EQ("MESSAGE sip:bob@b.example SIP/2.0\r\nX-Keep: 1\r\nSubject: hi\r\nContent-Length: 5\r\n\r\nhello",
              wire(built));
    // Angle brackets never stay in a request URI.
    KtHandle<KtURI> generic(new KtURI());
    generic->setScheme("<urn");
    generic->setSchemeData("service:sos>");
    built.setURI(generic);
    EXPECT_EQ("MESSAGE urn:service:sos SIP/2.0\r\n", wire(built, true));
    EXPECT_STREQ("<urn", generic->getScheme().c_str()) << "setURI stores a copy";
}

TEST(StatusLine, Cases) {
    // after "SIP"; the start line written, version and code, or (code 0) the error
    struct Row { std::string rest, outcome; unsigned major = 0, minor = 0; int code = 0; } const rows[] = {
        {"/2.0 180 Ringing\r\n", "SIP/2.0 180 Ringing\r\n", 2, 0, 180},
        {"/1.1 200 OK\r\n", "SIP/1.1 200 OK\r\n", 1, 1, 200}, {"/2.0 200 \r\n", "SIP/2.0 200 \r\n", 2, 0, 200},
        {"/2.0 404 Not Found\n", "SIP/2.0 404 Not Found\r\n", 2, 0, 404},
        {"/2.0 999 Odd\r\n", "SIP/2.0 999 Odd\r\n", 2, 0, 999},
        {"/2.0 200 " + std::string(128, 'x') + "\r\n", "SIP/2.0 200 " + std::string(127, 'x') + "\r\n", 2, 0, 200},
        {"/2.0 200 " + std::string(20000, 'x') + "\r\n", "SIP/2.0 200 " + std::string(127, 'x') + "\r\n", 2, 0, 200},
        {"/20 200 OK\r\n", "'.' expected in response start line"},
        {"/2.0 200", "unexpected end of response start line"},
        {"/2.0 OK\r\n", "Invalid status code in response start line"},
        {"/2.0 4294967301 Big\r\n", "Invalid status code in response start line"},
        // Found by fuzz_message: codes that fit 32 bits unsigned but not an int were written back negative.
        {"/2.0 2147483648 Big\r\n", "Invalid status code in response start line"},
        {"/2.0 4294967295 Big\r\n", "Invalid status code in response start line"},
        {"/x.0 200 OK\r\n", "Invalid SIP version in response start line"},
    };
    const std::string headers = crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\nCall-ID: c\nCSeq: 1 INVITE\n\n");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        const bool accepted = row.code != 0;
        KtHandle<KtSipResponse> response(new KtSipResponse());
        ErrorCapture errors;
        const std::string text = row.rest + (accepted ? headers : "");
        EXPECT_EQ(accepted ? "" : row.outcome, thrown([&] { parseInto(*response, "SIP", text); }));
        EXPECT_EQ(accepted ? 0u : 1u, errors.lines.size());
        EXPECT_EQ(accepted ? 0 : 2, response->getStatus());
        if (!accepted) continue;
        EXPECT_EQ(row.major, response->getMajorVersion());
        EXPECT_EQ(row.minor, response->getMinorVersion());
        EXPECT_EQ(row.code, response->getStatusCode());
        EXPECT_EQ(row.outcome, wire(*response, true));
    }
}

TEST(MessageBody, WithAndWithoutContentLength) {
    // input, error (null when parsed), the body held and written last
    struct Row { std::string input; const char* error; std::string body; };
    const std::string head = "OPTIONS sip:b SIP/2.0\r\n" + crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\n"
                                                                "Call-ID: o1\nCSeq: 1 OPTIONS\n");
    const char* shortBody = "message body is shorter than Content-Length";
    const Row rows[] = {
        {head + "\r\n0123456789", nullptr, "0123456789"}, {head + "\r\n", nullptr, ""},
        {head + "Content-Length: 4\r\n\r\nabcd", nullptr, "abcd"},
        {head + "Content-Length: 4\r\n\r\nabcdEXTRA", nullptr, "abcd"},
        {head + "Content-Length: 2\n\nhi", nullptr, "hi"},
        {head + "Content-Length: 3\r\n\r\n" + std::string("a\0b", 3), nullptr, std::string("a\0b", 3)},
        {head + "Content-Length: 100\r\n\r\n" + std::string(40, 'b'), shortBody, ""},
        {head + "Content-Length: 65536\r\n\r\nabc", shortBody, ""},
        {head + "Content-Length: 4294967295\r\n\r\nabc", shortBody, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.input.substr(head.size()));
        ErrorCapture errors;
        KtHandle<KtSipMessage> message;
        EXPECT_EQ(row.error ? row.error : "", thrown([&] { message = parse(row.input); }));
        if (row.error) {
            EXPECT_EQ(std::vector<std::string>{std::string("KtException Occurred while parsing body of message: ") +
                                               row.error},
                      errors.lines);
            continue;
        }
        EXPECT_TRUE(message->isValid());
        EXPECT_EQ(row.body.size(), message->getBodyLength());
        EXPECT_EQ(row.body, std::string(message->getBody() ? message->getBody() : "", message->getBodySize()));
        EXPECT_EQ(HeaderContentLength, message->getHeaderOrder().back());
        const std::string text = wire(*message);
        EXPECT_EQ("\r\n\r\n" + row.body, text.substr(text.size() - row.body.size() - 4));
    }
    ErrorCapture errors;
    KtHandle<KtSipOptionsMessage> direct(new KtSipOptionsMessage());
    EXPECT_THROW(parseInto(*direct, "OPTIONS", " sip:b SIP/2.0\r\n" + crlf(inviteHeaders()) +
                                                   "Content-Length: 9\r\n\r\nabc"),
                 KtSipParseError);
    EXPECT_EQ(1, direct->getStatus());
}

TEST(MessageHeaders, BadLinesMarkStatusAndParsingGoesOn) {
    struct Row { std::string headers; int status; const char* errorLine; } const rows[] = {
        {"CSeq: x\n", 1, "Caught KtException from KtSipHeader::sConstructFrom(): Invalid CSeq header"},
        {": value\n", 1, "Caught KtException from KtSipHeader::sConstructFrom(): Header token expected"},
        {"Accept: text/plain\nContent-Type: application/sdp\n", 2, nullptr},
        {"Accept: text/plain, application/sdp\nContent-Type: application/sdp\n", 0, nullptr},
        {"Accept: Application/SDP\nContent-Type: application/sdp\n", 2, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.headers);
        ErrorCapture errors;
        KtHandle<KtSipMessage> message = parse(
            crlf("MESSAGE sip:b SIP/2.0\nVia: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\nCall-ID: c\n" +
                 row.headers + "X-After: 1\nCSeq: 1 MESSAGE\n\n"));
        EXPECT_EQ(row.status, message->getStatus());
        EXPECT_FALSE(message->mGetHeader("X-After").isNil()) << "lines after the bad one are read";
        EXPECT_EQ(row.errorLine ? std::vector<std::string>{row.errorLine} : std::vector<std::string>{}, errors.lines);
    }
}

}  // namespace
