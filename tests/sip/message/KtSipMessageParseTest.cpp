// Parsing of whole messages: first token, request and status lines, header section, body.
#include <gtest/gtest.h>

#include <typeinfo>

#include "KtSipAckMessage.h"
#include "KtSipByeMessage.h"
#include "KtSipCancelMessage.h"
#include "KtSipInfoMessage.h"
#include "KtSipInviteMessage.h"
#include "KtSipMessageMessage.h"
#include "KtSipNotifyMessage.h"
#include "KtSipOptionsMessage.h"
#include "KtSipPrackMessage.h"
#include "KtSipReferMessage.h"
#include "KtSipRegisterMessage.h"
#include "KtSipResponse.h"
#include "KtSipSubjectHeader.h"
#include "KtSipSubscribeMessage.h"
#include "KtSipUnknownHeader.h"
#include "KtSipUnknownRequest.h"
#include "MessageTestUtil.h"

using namespace msgtest;

namespace {

const std::string kTail = crlf(inviteHeaders() + "Content-Length: 0\n\n");

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
    const std::pair<std::string, const std::type_info*> rows[] = {
        {"ACK", &typeid(KtSipAckMessage)}, {"BYE", &typeid(KtSipByeMessage)}, {"CANCEL", &typeid(KtSipCancelMessage)},
        {"INFO", &typeid(KtSipInfoMessage)}, {"INVITE", &typeid(KtSipInviteMessage)},
        {"MESSAGE", &typeid(KtSipMessageMessage)}, {"NOTIFY", &typeid(KtSipNotifyMessage)},
        {"OPTIONS", &typeid(KtSipOptionsMessage)}, {"PRACK", &typeid(KtSipPrackMessage)},
        {"REFER", &typeid(KtSipReferMessage)}, {"REGISTER", &typeid(KtSipRegisterMessage)},
        {"SUBSCRIBE", &typeid(KtSipSubscribeMessage)}, {"UPDATE", &typeid(KtSipUnknownRequest)},
        {"invite", &typeid(KtSipUnknownRequest)}, {"sip", &typeid(KtSipUnknownRequest)},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", &typeid(KtSipUnknownRequest)},  // cut to 31 characters
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        const std::string method = row.first.substr(0, 31);
        KtHandle<KtSipMessage> message = parse(row.first + " sip:bob@b.example SIP/2.0\r\n" +
                                               crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\n"
                                                    "Call-ID: c\nCSeq: 1 " + method + "\n\n"));
        EXPECT_EQ(*row.second, typeid(*message));
        KtHandle<KtSipRequest> request = message.dynamicCast<KtSipRequest>();
        EXPECT_EQ(method, request->getMethod().c_str());
        EXPECT_TRUE(message->isValid());
        EXPECT_FALSE(request->useLocalOutboundProxy());
    }
    EXPECT_TRUE(KtSipMessage::sIsRegistered("SIP"));
    EXPECT_FALSE(KtSipMessage::sIsRegistered("UPDATE"));
}

TEST(RequestLine, Cases) {
    const std::string pad(1023 - std::string(" sip:alice SIP/2.0\r").size(), ' ');
    struct Row {
        std::string rest;  // the text after the method, line end included
        int status;
        const char* error;  // nullptr when accepted
        const char* uri;
    } const rows[] = {
        {" sip:alice SIP/2.0\r\n", 0, nullptr, "sip:alice"},
        {" sip:alice SIP/2.0\n", 0, nullptr, "sip:alice"},
        {" sip:alice SIP/2.0   \r\n", 0, nullptr, "sip:alice"},
        {" sip:alice" + pad + " SIP/2.0\r\n", 0, nullptr, "sip:alice"},  // 1,023 characters
        {" sip:alice " + pad + " SIP/2.0\r\n", 414, "Invalid Start-Line for SIP request: too long", nullptr},
        {" sip:alice SIP/2.1\r\n", 505, "Invalid SIP Version", nullptr},
        {" sip:alice SIP/3.0\r\n", 505, "Invalid SIP Version", nullptr},
        {" sip:alice SIP/2.00\r\n", 2, "Invalid SIP Version", nullptr},
        {" sip:alice sip/2.0\r\n", 2, "Invalid SIP Version", nullptr},
        {" sip:alice HTTP/1.1\r\n", 2, "Invalid SIP Version", nullptr},
        {" sips:alice@a.example SIP/2.0\r\n", 416, "Upsupported Scheme", nullptr},
        {" mailto:alice@a.example SIP/2.0\r\n", 416, "Upsupported Scheme", nullptr},
        {" SIP:alice@a.example SIP/2.0\r\n", 0, nullptr, "sip:alice@a.example"},
        {" Tel:+1-212-555-0100 SIP/2.0\r\n", 0, nullptr, "tel:+1-212-555-0100"},
        {" <sip:alice@a.example> SIP/2.0\r\n", 0, nullptr, "sip:alice@a.example"},
        {" sip:aliceSIP/2.0\r\n", 2, "Invalid Start-Line for SIP request", nullptr},
        {"        \r\n", 2, "Invalid Start-Line for SIP request", nullptr},
        {"\r\n", 2, "Invalid Start-Line for SIP request", nullptr},
        {" sip:alice SIP/2.0", 2, "Invalid Start-Line for SIP request: reached end of message looking for end-of-line",
         nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        KtHandle<KtSipInviteMessage> request(new KtSipInviteMessage());
        ErrorCapture errors;
        EXPECT_EQ(row.error ? row.error : "", thrown([&] { parseInto(*request, "INVITE", row.rest + (row.error ? "" : kTail)); }));
        EXPECT_EQ(row.status, request->getStatus());
        if (row.error) {
            EXPECT_EQ(std::vector<std::string>{std::string("Exception occurred while parsing start-line of message: ") +
                                               row.error},
                      errors.lines);
        } else {
            EXPECT_EQ("INVITE " + std::string(row.uri) + " SIP/2.0\r\n", wire(*request, true));
        }
    }
}

TEST(RequestLine, URIHeadersBecomeMessageHeaders) {
    KtHandle<KtSipMessage> message = parse("INVITE sip:bob@b.example?Subject=hi SIP/2.0\r\n" + kTail);
    EXPECT_EQ("INVITE sip:bob@b.example SIP/2.0\r\n", wire(*message, true));
    EXPECT_STREQ("hi", message->mGetHeader("Subject")->getValueString().c_str());

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
    struct Row {
        std::string rest;  // after "SIP"
        const char* error;
        unsigned major, minor;
        int code;
        const char* written;  // nullptr: the phrase is cut to 127 characters
    } const rows[] = {
        {"/2.0 180 Ringing\r\n", nullptr, 2, 0, 180, "SIP/2.0 180 Ringing\r\n"},
        {"/1.1 200 OK\r\n", nullptr, 1, 1, 200, "SIP/1.1 200 OK\r\n"},
        {"/2.0 404 Not Found\n", nullptr, 2, 0, 404, "SIP/2.0 404 Not Found\r\n"},
        {"/2.0 200 \r\n", nullptr, 2, 0, 200, "SIP/2.0 200 \r\n"},
        {"/2.0 999 Odd\r\n", nullptr, 2, 0, 999, "SIP/2.0 999 Odd\r\n"},
        {"/2.0 200 " + std::string(200, 'x') + "\r\n", nullptr, 2, 0, 200, nullptr},
        {"/20 200 OK\r\n", "'.' expected in response start line", 0, 0, 0, nullptr},
        {"/2.0 200", "unexpected end of response start line", 0, 0, 0, nullptr},
        {"/2.0 OK\r\n", "Invalid status code in response start line", 0, 0, 0, nullptr},
        {"/2.0 4294967301 Big\r\n", "Invalid status code in response start line", 2, 0, 0, nullptr},
        {"/x.0 200 OK\r\n", "Invalid SIP version in response start line", 0, 0, 0, nullptr},
    };
    const std::string headers = crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\nCall-ID: c\nCSeq: 1 INVITE\n\n");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rest);
        KtHandle<KtSipResponse> response(new KtSipResponse());
        ErrorCapture errors;
        EXPECT_EQ(row.error ? row.error : "",
                  thrown([&] { parseInto(*response, "SIP", row.rest + (row.error ? "" : headers)); }));
        EXPECT_EQ(row.error ? 1u : 0u, errors.lines.size());
        EXPECT_EQ(row.error ? 2 : 0, response->getStatus());
        if (row.error) continue;
        EXPECT_EQ(row.major, response->getMajorVersion());
        EXPECT_EQ(row.minor, response->getMinorVersion());
        EXPECT_EQ(row.code, response->getStatusCode());
        EXPECT_EQ(row.written ? std::string(row.written) : "SIP/2.0 200 " + std::string(127, 'x') + "\r\n",
                  wire(*response, true));
    }
}

TEST(MessageBody, WithAndWithoutContentLength) {
    struct Row {
        std::string input;
        const char* error;  // nullptr when parsing succeeds
        std::string body;   // the body held and written last
    };
    const std::string head = "OPTIONS sip:b SIP/2.0\r\n" + crlf("Via: SIP/2.0/UDP a\nFrom: <sip:a@a>\nTo: <sip:b@b>\n"
                                                                "Call-ID: o1\nCSeq: 1 OPTIONS\n");
    const char* shortBody = "message body is shorter than Content-Length";
    const Row rows[] = {
        {head + "\r\n0123456789", nullptr, "0123456789"},
        {head + "\r\n", nullptr, ""},
        {head + "Content-Length: 4\r\n\r\nabcd", nullptr, "abcd"},
        {head + "Content-Length: 4\r\n\r\nabcdEXTRA", nullptr, "abcd"},
        {head + "Content-Length: 2\n\nhi", nullptr, "hi"},
        {head + "Content-Length: 3\r\n\r\n" + std::string("a\0b", 3), nullptr, std::string("a\0b", 3)},
        {head + "Content-Length: 100\r\n\r\n" + std::string(40, 'b'), shortBody, ""},
        {head + "Content-Length: 4000000000\r\n\r\nabc", shortBody, ""},
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
    struct Row {
        std::string headers;
        int status;
        const char* errorLine;
    } const rows[] = {
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

TEST(MessageHeaders, CompactNamesAndLongChains) {
    std::string text = "OPTIONS sip:b SIP/2.0\r\n";
    for (int i = 0; i < 5000; ++i) text += "v: SIP/2.0/UDP h" + std::to_string(i) + "\r\n";
    text += crlf("f: <sip:a@a>\nt: <sip:b@b>\ni: c\nCSeq: 1 OPTIONS\nl: 0\n\n");
    KtHandle<KtSipMessage> message = parse(text);
    EXPECT_TRUE(message->isValid());
    unsigned count = 0;
    for (KtSipHeader* h = message->mGetHeaderByID(HeaderVia).get(); h; h = h->getNext().get()) ++count;
    EXPECT_EQ(5000u, count);
    EXPECT_EQ(text, wire(*message));
    EXPECT_EQ(text, wire(*KtHandle<KtSipMessage>(message->clone())));
}

}  // namespace
