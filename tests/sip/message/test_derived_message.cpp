// Messages derived from other messages: responses, ACK, PRACK, CANCEL and BYE; the default
// reason phrases of responses.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <typeinfo>

#include "KtSipResponseCode.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

const std::string kVias = "Via: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\nVia: SIP/2.0/UDP p.example;branch=z9hG4bK0\n";
const std::string kRoutes = "Record-Route: <sip:p1.example;lr>\nRecord-Route: <sip:p2.example;lr>\n";
const std::string kDialog = "From: \"Alice\" <sip:alice@a.example:5070>;tag=88\nCall-ID: c1\n";

KtHandle<KtSipRequest> request(const std::string& method, const std::string& to = "<sip:bob@b.example>") {
    return parse(crlf(method + " sip:bob@b.example SIP/2.0\n" + kVias + kRoutes + kDialog + "To: " + to + "\nCSeq: 7 " +
                      method + "\nContact: <sip:alice@10.0.0.1>\nContent-Length: 0\n\n"))
        .dynamicCast<KtSipRequest>();
}

KtHandle<KtSipResponse> response(int code, const std::string& method = "INVITE", bool contact = true) {
    return parse(crlf("SIP/2.0 " + std::to_string(code) + " X\n" + kVias + kDialog +
                      "To: <sip:bob@b.example>;tag=99\nCSeq: 7 " + method + "\n" +
                      (contact ? "Contact: <sip:bob@10.0.0.2:5062>\n" : "") + "Content-Length: 0\n\n"))
        .dynamicCast<KtSipResponse>();
}

KtHandle<KtSipInviteMessage> invite() { return request("INVITE").dynamicCast<KtSipInviteMessage>(); }

std::string cseqOf(const KtSipMessage& m) {
    const KtHandle<KtSipCSeqHeader> cseq = m.mGetHeaderByID(HeaderCSeq).dynamicCast<KtSipCSeqHeader>();
    return cseq.isNil() ? "" : std::to_string(cseq->getNumber()) + " " + cseq->getMethod().c_str();
}

TEST(DerivedMessage, CSeqRequestUriAndRoundTrip) {
    // name, builder, class, CSeq, request URI, key (after a Via of h.example:5080 was added where there
    // was none), and the whole text first written when given. None carries RAck: the caller adds it.
    struct Row { const char* name; std::function<KtSipRequest*()> build; const std::type_info& type;
                 const char *cseq, *uri, *key; std::string text = ""; };
    const char* const viaKey = "bobb.example5060alicea.example507088h.example5080c1";
    const std::string ackKey = std::string(viaKey) + "7", nextKey = std::string(viaKey) + "8";
    const Row rows[] = {
        {"ACK for 200 with Contact", [] { return new KtSipAckMessage(response(200)); }, typeid(KtSipAckMessage), "7 ACK",
         "sip:bob@10.0.0.2:5062", ackKey.c_str()},
        {"ACK for 200 with a body", [] { return new KtSipAckMessage(response(200), "v=0", "application/sdp", 3); },
         typeid(KtSipAckMessage), "7 ACK", "sip:bob@10.0.0.2:5062", ackKey.c_str(),
         "ACK sip:bob@10.0.0.2:5062 SIP/2.0\r\nFrom: \"Alice\" <sip:alice@a.example:5070>;tag=88\r\n"
         "To: <sip:bob@b.example>;tag=99\r\nCall-ID: c1\r\nCSeq: 7 ACK\r\nContent-Length: 3\r\n"
         "Content-Type: application/sdp\r\n\r\nv=0"},
        {"ACK for 200 without Contact", [] { return new KtSipAckMessage(response(200, "INVITE", false)); },
         typeid(KtSipAckMessage), "7 ACK", "sip:bob@b.example", ackKey.c_str()},
        {"ACK for 486 with Contact", [] { return new KtSipAckMessage(response(486)); }, typeid(KtSipAckMessage), "7 ACK",
         "sip:bob@b.example", ackKey.c_str()},
        {"PRACK for 183 with Contact", [] { return new KtSipPrackMessage(response(183)); }, typeid(KtSipPrackMessage),
         "8 PRACK", "sip:bob@b.example", nextKey.c_str()},
        {"BYE from 200", [] { return new KtSipByeMessage(response(200)); }, typeid(KtSipByeMessage), "8 BYE",
         "sip:bob@10.0.0.2:5062", nextKey.c_str()},
        {"BYE from 486 with Contact", [] { return new KtSipByeMessage(response(486)); }, typeid(KtSipByeMessage), "8 BYE",
         "sip:bob@10.0.0.2:5062", nextKey.c_str()},
        {"BYE from 200 without Contact", [] { return new KtSipByeMessage(response(200, "INVITE", false)); },
         typeid(KtSipByeMessage), "8 BYE", "sip:bob@b.example", nextKey.c_str()},
        {"CANCEL", [] { return new KtSipCancelMessage(invite()); }, typeid(KtSipCancelMessage), "7 CANCEL",
         "sip:bob@b.example", "bobb.example5060alicea.example507088a.example5070z9hG4bK1c17"},
        {"BYE from INVITE", [] { return new KtSipByeMessage(invite()); }, typeid(KtSipByeMessage), "8 BYE",
         "sip:alice@a.example:5070", "alicea.example5070bobb.example5060h.example5080c18"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        KtHandle<KtSipRequest> built(row.build());
        EXPECT_EQ(row.type, typeid(*built));
        EXPECT_EQ(row.cseq, cseqOf(*built));
        EXPECT_STREQ(row.uri, built->getURI()->getString().c_str());
        EXPECT_EQ(row.text.empty() ? 0u : 3u, built->getBodyLength());
        EXPECT_TRUE(built->mGetHeader("RAck").isNil());
        if (!row.text.empty()) { EXPECT_EQ(row.text, wire(*built)); }
        if (built->mGetHeaderByID(HeaderVia).isNil()) built->insertViaHeader("h.example", 5080, "UDP");
        KtHandle<KtSipMessage> back = parse(wire(*built));
        EXPECT_EQ(row.type, typeid(*back));
        EXPECT_TRUE(back->isValid());
        EXPECT_STREQ(row.key, back->createKey().c_str());
        EXPECT_EQ(wire(*built), wire(*back));
    }
}

TEST(DerivedMessage, Refusals) {
    struct Row { const char* name; std::function<void()> build; const char* message; };
    const Row rows[] = {
        {"code 99", [] { KtSipResponse r(99, request("INVITE")); }, "Invalid Response code"},
        {"code 700", [] { KtSipResponse r(700, request("INVITE")); }, "Invalid Response code"},
        {"nil request", [] { KtSipResponse r(200, KtHandle<KtSipRequest>()); }, "Handle to request is NIL"},
        {"ACK for REGISTER", [] { KtSipAckMessage a(response(200, "REGISTER")); },
         "The SIP ACK Request is only for INVITE Response"},
        {"ACK for lower-case invite", [] { KtSipAckMessage a(response(200, "invite")); },
         "The SIP ACK Request is only for INVITE Response"},
        {"PRACK for REGISTER", [] { KtSipPrackMessage p(response(183, "REGISTER")); },
         "The SIP PRACK Request is only for INVITE Response"},
        {"ACK nil", [] { KtSipAckMessage a{KtHandle<KtSipResponse>()}; }, "Handle to response is NIL"},
        {"CANCEL nil", [] { KtSipCancelMessage c{KtHandle<KtSipRequest>()}; }, "Handle to request is NIL"},
        {"BYE nil INVITE", [] { KtSipByeMessage b{KtHandle<KtSipInviteMessage>()}; }, "Handle to INVITE is NIL"},
        {"ACK body without type", [] { KtSipAckMessage a(response(200), "v=0", nullptr, 3); },
         "Can't build SIP request(with body) with no content-type"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.message, thrown<KtSipParseError>(row.build)) << row.name;
}

TEST(DerivedMessage, ResponseHeadersAndBody) {
    const std::string head = crlf(kVias + "From: \"Alice\" <sip:alice@a.example:5070>;tag=88\nTo: <sip:bob@b.example>\n"
                                          "Call-ID: c1\n"), routes = crlf(kRoutes);
    struct Row { int code; const char* method; const char* body; std::string wire; };
    const Row rows[] = {
        {100, "INVITE", nullptr, "SIP/2.0 100 Trying\r\n" + head + "CSeq: 7 INVITE\r\nContent-Length: 0\r\n\r\n"},
        {180, "INVITE", nullptr, "SIP/2.0 180 Ringing\r\n" + head + "CSeq: 7 INVITE\r\nContent-Length: 0\r\n\r\n"},
        {200, "INVITE", "v=0", "SIP/2.0 200 Ok\r\n" + head +
                                   "CSeq: 7 INVITE\r\nContent-Length: 3\r\nContent-Type: application/sdp\r\n" + routes +
                                   "\r\nv=0"},
        {200, "BYE", "v=0", "SIP/2.0 200 Ok\r\n" + head + "CSeq: 7 BYE\r\nContent-Length: 0\r\n\r\n"},
        {200, "CANCEL", "v=0", "SIP/2.0 200 Ok\r\n" + head + "CSeq: 7 CANCEL\r\nContent-Length: 0\r\n\r\n"},
        {699, "OPTIONS", nullptr, "SIP/2.0 699 Unknown 600 Class Response\r\n" + head +
                                      "CSeq: 7 OPTIONS\r\nContent-Length: 0\r\n\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.code) + " " + row.method);
        KtHandle<KtSipRequest> req = request(row.method);
        KtHandle<KtSipResponse> resp(new KtSipResponse(row.code, req, row.body, "application/sdp", row.body ? 3 : 0));
        EXPECT_EQ(row.wire, wire(*resp));
        EXPECT_TRUE(resp->isValid());
        EXPECT_EQ(req->createKey(), resp->createKey());
        if (!row.body || row.method != std::string("INVITE")) {
            EXPECT_EQ(nullptr, resp->getBody());
        }
        // Copies, not shared objects: the request may change afterwards.
        EXPECT_NE(req->mGetHeaderByID(HeaderFrom).get(), resp->mGetHeaderByID(HeaderFrom).get());
        EXPECT_NE(req->mGetHeaderByID(HeaderVia)->getNext().get(), resp->mGetHeaderByID(HeaderVia)->getNext().get());
    }
}

TEST(DerivedMessage, ResponseConnectionAndInvalidRequest) {
    for (KtSocketImpl::Transport transport : {KtSocketImpl::UDP, KtSocketImpl::TCP}) {
        KtHandle<KtSipRequest> req = request("OPTIONS");
        req->setConnectionAddress(KtInetAddress("10.0.0.5"));
        req->setConnectionPort(5070);
        req->setConnectionTransport(transport);
        KtSipResponse resp(200, req);  // only a TCP connection is carried over
        EXPECT_EQ(transport, resp.getConnectionTransport());
        EXPECT_EQ(transport == KtSocketImpl::TCP ? 5070u : 0u, resp.getConnectionPort());
        EXPECT_EQ(transport == KtSocketImpl::TCP ? "10.0.0.5" : "0.0.0.0", resp.getConnectionAddress().getHostAddress());
    }
    // No Via, a CSeq without method: the response is made all the same (the failed check
    // is only logged) and takes the request's method.
    KtHandle<KtSipRequest> bare(new KtSipRequest(KtString("OPTIONS")));
    bare->addHeader(new KtSipCSeqHeader(3, nullptr));
    KtSipResponse resp(404, bare);
    EXPECT_EQ(KtSipMessage::STATUS_PARSE_FAILED, resp.getStatus());
    EXPECT_EQ("SIP/2.0 404 Not Found\r\nCSeq: 3 OPTIONS\r\nContent-Length: 0\r\n\r\n", wire(resp));
}

TEST(DerivedMessage, ByeFromInviteSwapsAddressesAndTags) {
    // The INVITE's To, the BYE's From parameters, whether From and To of the BYE have angle brackets.
    struct Row { const char* to; const char* fromParameters; bool fromBrackets, toBrackets; };
    const Row rows[] = {{"sip:bob@b.example;tag=99", ";tag=99", true, true}, {"sip:bob@b.example", "", false, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.to);
        KtHandle<KtSipInviteMessage> inv = request("INVITE", row.to).dynamicCast<KtSipInviteMessage>();
        ASSERT_FALSE(inv.isNil());
        KtSipByeMessage bye(inv);
        EXPECT_EQ("BYE sip:alice@a.example:5070 SIP/2.0\r\nFrom: <sip:bob@b.example>" + std::string(row.fromParameters) +
                      "\r\nTo: \"Alice\" <sip:alice@a.example:5070>;tag=88\r\nCall-ID: c1\r\nCSeq: 8 BYE\r\n"
                      "Content-Length: 0\r\n\r\n",
                  wire(bye));
        const auto from = bye.mGetHeaderByID(HeaderFrom).dynamicCast<KtSipFromHeader>();
        const auto to = bye.mGetHeaderByID(HeaderTo).dynamicCast<KtSipToHeader>();
        EXPECT_EQ(row.fromBrackets, from->getNameAddress()->getAngleBrackets());
        EXPECT_EQ(row.toBrackets, to->getNameAddress()->getAngleBrackets());
    }
}

TEST(ReasonPhrase, EveryCodeFromMinus5To800) {
    const std::map<int, std::string> own = {
        {100, "Trying"}, {180, "Ringing"}, {181, "Call Is Being Forwarded"}, {182, "Queued"}, {183, "Session Progress"},
        {200, "Ok"}, {300, "Multiple Choices"}, {301, "Moved Permanently"}, {302, "Moved Temporarily"},
        {303, "See Other"}, {305, "Use Proxy"}, {380, "Alternative Service"}, {400, "Bad Request"},
        {401, "Unauthorized"}, {402, "Payment Required"}, {403, "Forbidden"}, {404, "Not Found"},
        {405, "Method Not Allowed"}, {406, "Not Acceptable"}, {407, "Proxy Authentication Required"},
        {408, "Request Timeout"}, {409, "Conflict"}, {410, "Gone"}, {411, "Length Required"},
        {413, "Request Message Body Too Large"}, {414, "Request-URI Too Large"}, {415, "Unsupported Media Type"},
        {416, "Unsupported URI Scheme"}, {420, "Bad Extension"}, {421, "Extension Required"},
        {422, "Session Timer Too Small"}, {480, "Temporarily not available"}, {481, "Call/Transaction Does Not Exist"},
        {482, "Loop Detected"}, {483, "Too Many Hops"}, {484, "Address Incomplete"}, {485, "Ambiguous"},
        {486, "Busy Here"}, {487, "Transaction Cancelled"}, {488, "Not Acceptable Here"}, {491, "Request Pending"},
        {493, "Undecipherable"}, {500, "Internal Server Error"}, {501, "Not Implemented"}, {502, "Bad Gateway"},
        {503, "Service Unavailable"}, {504, "Gateway Timeout"}, {505, "SIP Version not supported"},
        {513, "Message Too Large"}, {600, "Busy Everywhere"}, {603, "Decline"}, {604, "Does not exist anywhere"},
        {606, "Not Acceptable"},
    };
    for (int code = -5; code <= 800; ++code) {
        const auto found = own.find(code);
        const std::string expected = found != own.end() ? found->second
                                     : code >= 100 && code <= 699
                                         ? "Unknown " + std::to_string(code / 100 * 100) + " Class Response"
                                         : "Unknown Response";
        const char* phrase = KtSipResponseCode::getReasonPhrase(code);
        ASSERT_NE(nullptr, phrase) << code;
        EXPECT_EQ(expected, phrase) << "code " << code;
    }
    EXPECT_STREQ("Unknown Response", KtSipResponseCode::getReasonPhrase(-199));
    EXPECT_STREQ("Unknown Response", KtSipResponseCode::getReasonPhrase(2147483647));
}

}  // namespace
