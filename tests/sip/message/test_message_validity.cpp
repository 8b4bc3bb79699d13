// The validity rules and the transaction key.
#include <gtest/gtest.h>

#include "KtSipCSeqHeader.h"
#include "KtSipCallIdHeader.h"
#include "KtSipFromHeader.h"
#include "KtSipToHeader.h"
#include "KtSipViaHeader.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

TEST(MessageValidity, RulesInOrder) {
    const std::string via = "Via: SIP/2.0/UDP a\n", from = "From: <sip:a@a>;tag=1\n", to = "To: <sip:b@b>\n",
                      cseq = "CSeq: 1 INVITE\n", callId = "Call-ID: c1\n", all = via + from + to + cseq + callId;
    struct Row { bool request; std::string headers; const char* error /* null when valid */; } const rows[] = {
        {true, all, nullptr}, {false, all, nullptr},
        {true, all + via, nullptr},  // several Vias are normal
        {true, from + to + cseq + callId, "missing Via header"}, {false, cseq, "missing Via header"},
        {true, via + to + cseq + callId, "missing From header"}, {true, all + from, "multiple From headers detected"},
        {true, via + from + cseq + callId, "missing To header"}, {true, via + from + callId, "missing To header"},
        {true, all + to, "multiple To headers detected"}, {true, via + from + to + callId, "missing CSeq header"},
        {true, via + from + to + "CSeq: 1 BYE\n" + callId, "invalid method in CSeq header (got=\"BYE\" expected=\"INVITE\""},
        {false, via + from + to + "CSeq: 1 BYE\n" + callId, nullptr},  // responses skip the method rule
        {true, via + from + to + "CSeq: 1 invite\n" + callId, nullptr},
        {true, via + from + to + "CSeq: 1 BYE\n" + cseq + callId, "invalid method in CSeq header (got=\"BYE\" expected=\"INVITE\""},
        {true, all + cseq, "multiple CSeq headers detected"},
        {true, all + "Content-Length: 0\nContent-Length: 0\n", "multiple Content-Length headers detected"},
        {true, via + from + to + cseq, "missing Call-ID header"},
        {true, all + callId, "multiple Call-ID headers detected"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.headers);
        KtHandle<KtSipMessage> message(row.request ? static_cast<KtSipMessage*>(new KtSipInviteMessage())
                                                   : static_cast<KtSipMessage*>(new KtSipResponse()));
        const std::string error = thrown([&] {
            parseInto(*message, row.request ? "INVITE" : "SIP",
                      (row.request ? " sip:b SIP/2.0\r\n" : "/2.0 200 OK\r\n") + crlf(row.headers + "\n"));
        });
        EXPECT_EQ(row.error ? row.error : "", error);
        EXPECT_EQ(row.error ? 2 : 0, message->getStatus());
        // isValid of a request also wants the CSeq method in the request's own case.
        EXPECT_EQ(!row.error && row.headers.find("invite") == std::string::npos, message->isValid());
    }
    // A built message can lack a Content-Length (parsing always supplies one).
    KtSipResponse response;
    response.addHeader(new KtSipViaHeader("a.example", 5060, "UDP"));
    response.addHeader(new KtSipFromHeader("<sip:a@a.example>"));
    response.addHeader(new KtSipToHeader("<sip:b@b.example>"));
    response.addHeader(new KtSipCSeqHeader(1, "INVITE"));
    // Validity failures are plain KtExceptions.
    EXPECT_EQ("missing Content-Length header",
              kttest::thrownOtherThan<KtSipParseError>([&] { response.checkValidity(); }));
    EXPECT_EQ(2, response.getStatus());
}

TEST(TransactionKey, Cases) {
    // headers; the key, or the error. A bad header line (status 1) still yields a key; a
    // message the validity rules refuse (status 2) does not.
    const std::pair<std::string, const char*> rows[] = {
        {inviteHeaders(), "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14"},
        {"Via: SIP/2.0/UDP host\nFrom: <sip:alice@a.example>\nTo: <sip:bob@host:5080>;tag=x\nCall-ID: k\nCSeq: 7 INVITE\n",
         "bobhost5080alicea.example5060host5060k7"},
        {"Via: SIP/2.0/TCP h:1;branch=b\nFrom: <sip:a.example>;tag=t\nTo: <tel:+1-212-555-0100>\nCall-ID: id\n"
         "CSeq: 4294967295 INVITE\n",
         "+1-212-555-0100a.example5060th1bid4294967295"},
        {inviteHeaders() + ": nameless\n", "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14"},
        {inviteHeaders() + "Accept: text/plain\nContent-Type: application/sdp\n",
         "Unable to create transaction key for INVALID SIP Message"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        QuietErrors quiet;
        const KtHandle<KtSipMessage> message = parse(crlf("INVITE sip:bob@b.example SIP/2.0\n" + row.first + "\n"));
        std::string key;
        const std::string error = thrown([&] { key = message->createKey().c_str(); });
        EXPECT_EQ(row.second, error.empty() ? key : error);
    }

    KtSipInviteMessage noVia;
    noVia.addHeader(new KtSipFromHeader("<sip:alice@a.example:5070>;tag=88"));
    noVia.addHeader(new KtSipToHeader("<sip:bob@b.example>"));
    noVia.addHeader(new KtSipCallIdHeader("c1"));
    EXPECT_THROW(noVia.createKey(), KtException) << "no CSeq, no key";
    noVia.addHeader(new KtSipCSeqHeader(4, "INVITE"));
    EXPECT_STREQ("bobb.example5060alicea.example507088c14", noVia.createKey().c_str());
}

}  // namespace
