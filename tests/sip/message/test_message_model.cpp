// The header store of a message: adding, looking up, removing, copying (used from
// several threads at once: test_concurrency.cpp).
#include <gtest/gtest.h>

#include "KtSipCallIdHeader.h"
#include "KtSipFromHeader.h"
#include "KtSipToHeader.h"
#include "KtSipUnknownHeader.h"
#include "KtSipViaHeader.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

/// The names (unknown headers) or Via hosts of the chain of kind `id`, joined by spaces.
std::string chain(const KtSipMessage& message, HeaderID id) {
    std::string out;
    for (KtSipHeader* h = message.mGetHeaderByID(id).get(); h; h = h->getNext().get()) {
        const KtSipViaHeader* via = dynamic_cast<const KtSipViaHeader*>(h);
        out += (out.empty() ? "" : " ") + std::string(via ? via->getHost().c_str() : h->getToken().c_str());
    }
    return out;
}

KtHandle<KtSipHeader> via(const char* host) { return new KtSipViaHeader(host, 5060, "udp"); }
KtHandle<KtSipHeader> unknown(const char* name, const char* value = "1") { return new KtSipUnknownHeader(name, value); }

TEST(MessageModel, KindsStayTogetherInFirstAddedOrder) {
    KtSipResponse message;
    message.addHeader(new KtSipFromHeader("<sip:a@a.example>"));
    message.addHeader(via("v1"));
    message.addHeader(new KtSipToHeader("<sip:b@b.example>"));
    message.addHeader(via("v2"));
    EXPECT_EQ("SIP/2.0 0 \r\nFrom: <sip:a@a.example>\r\nVia: SIP/2.0/UDP v1:5060\r\nVia: SIP/2.0/UDP v2:5060\r\n"
              "To: <sip:b@b.example>\r\n\r\n",
              wire(message));
    EXPECT_EQ((std::vector<HeaderID>{HeaderFrom, HeaderVia, HeaderTo}), message.getHeaderOrder());
}

TEST(MessageModel, AppendPrependAndAddingTwice) {
    KtSipResponse message;
    KtHandle<KtSipHeader> first = via("v1");
    message.addHeader(first);
    message.addHeader(first);  // heads the chain: ignored
    message.addHeader(via("v2"));
    message.addHeader(via("v0"), true);
    message.asynchAddHeader(via("v3"), false);
    message.asynchAddHeader(via("v-1"), true);
    KtHandle<KtSipHeader> pair = via("c1");
    pair->addNext(via("c2").get());
    message.addHeader(pair);  // a chain is added whole
    EXPECT_EQ("v-1 v0 v1 v2 v3 c1 c2", chain(message, HeaderVia));
    // Headers already inside the chain are not linked again (that would close a loop).
    message.addHeader(first);
    message.addHeader(first, true);
    message.addHeader(pair);
    EXPECT_EQ("v-1 v0 v1 v2 v3 c1 c2", chain(message, HeaderVia));
    // Nil handles are ignored.
    message.addHeader(nullptr);
    message.addSingleHeader(nullptr);
    message.asynchAddHeader(nullptr, false);
    message.addHeaderByID(nullptr);
    EXPECT_EQ(std::vector<HeaderID>{HeaderVia}, message.getHeaderOrder());
}

TEST(MessageModel, RemoveHeader) {
    KtSipResponse message;
    message.addHeader(via("v1"));
    message.addHeader(new KtSipCallIdHeader("c1"));
    message.addHeader(via("v2"));
    EXPECT_TRUE(message.removeHeader("Via"));
    EXPECT_EQ("v2", chain(message, HeaderVia));
    EXPECT_EQ((std::vector<HeaderID>{HeaderVia, HeaderCallId}), message.getHeaderOrder());
    EXPECT_TRUE(message.removeHeader("v"));
    EXPECT_EQ(std::vector<HeaderID>{HeaderCallId}, message.getHeaderOrder());
    EXPECT_FALSE(message.removeHeader("Via"));
    EXPECT_FALSE(message.removeHeader(nullptr));
    // Lookup: known kinds by any of their names, case ignored; unknown names exactly.
    message.addHeader(unknown("X-Foo", "foo"));
    message.addHeader(unknown("X-Bar", "bar"));
    EXPECT_EQ(HeaderCallId, message.mTokenToID("CALL-ID"));
    EXPECT_EQ(HeaderCallId, message.mTokenToID("i"));
    EXPECT_EQ(HeaderUnknown, message.mTokenToID("Content-Type")) << "registered but absent";
    EXPECT_STREQ("c1", message.mGetHeader("call-id")->getValueString().c_str());
    EXPECT_STREQ("bar", message.mGetHeader("X-Bar")->getValueString().c_str());
    EXPECT_TRUE(message.mGetHeader("x-foo").isNil());
    EXPECT_TRUE(message.mGetHeader("Content-Type").isNil());
    EXPECT_TRUE(message.mGetHeaderByID(static_cast<HeaderID>(60)).isNil());

    // unknown headers present, name removed, result, names remaining
    struct Row { std::vector<const char*> unknowns; const char* name; bool result; const char* remaining; };
    const Row rows[] = {
        {{"X-Foo"}, "X-Foo", true, "X-Foo"},        // the only element stays
        {{"X-Foo"}, "x-foo", true, "X-Foo"},        // case ignored
        {{"X-A", "X-B"}, "X-A", true, "X-B"},       // a first element with a successor goes
        {{"X-A", "X-B"}, "X-B", true, "X-A X-B"},   // a later element stays
        {{"X-A", "X-B"}, "X-C", false, "X-A X-B"}, {{}, "X-A", false, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        KtSipResponse unknownOnly;
        for (const char* name : row.unknowns) unknownOnly.addHeader(unknown(name));
        EXPECT_EQ(row.result, unknownOnly.removeHeader(row.name));
        EXPECT_EQ(row.remaining, chain(unknownOnly, HeaderUnknown));
    }
}

TEST(MessageModel, AddSingleHeader) {
    KtSipResponse message;
    message.addHeader(via("v1"));
    KtHandle<KtSipHeader> pair = via("c1");
    pair->addNext(via("c2").get());
    message.addSingleHeader(pair);
    message.addSingleHeader(via("c0"), true);
    message.addSingleHeader(message.mGetHeaderByID(HeaderVia));  // heads the chain: ignored
    EXPECT_EQ("c0 v1 c1", chain(message, HeaderVia));
    EXPECT_FALSE(pair->getNext().isNil()) << "the argument keeps its chain";

    // The chain is found by name only: X-A does not find the unknown chain headed by X-B, so
    // its copy replaces that chain and the unknown id enters the order a second time.
    KtSipResponse unknowns;
    unknowns.addHeader(unknown("X-B", "b"));
    unknowns.addSingleHeader(unknown("X-A", "a"));
    EXPECT_EQ("X-A", chain(unknowns, HeaderUnknown));
    EXPECT_EQ((std::vector<HeaderID>{HeaderUnknown, HeaderUnknown}), unknowns.getHeaderOrder());
    EXPECT_EQ("SIP/2.0 0 \r\nX-A: a\r\nX-A: a\r\n\r\n", wire(unknowns));
    unknowns.addSingleHeader(unknown("X-A", "a2"));
    EXPECT_EQ("X-A X-A", chain(unknowns, HeaderUnknown));
}

TEST(MessageModel, CopyIsDeepAndIndependent) {
    ErrorCapture errors;
    KtHandle<KtSipMessage> source = parse(crlf(
        "MESSAGE sip:bob@b.example SIP/2.0\nVia: SIP/2.0/UDP a.example;branch=z9hG4bK1\nVia: SIP/2.0/UDP p\n"
        "From: <sip:a@a.example>;tag=1\nTo: <sip:bob@b.example>\nX-Two: 2\nCall-ID: m1\nCSeq: 1 MESSAGE\n: bad\n"
        "X-One: 1\nContent-Type: text/plain\nContent-Length: 5\n\nhello"));
    EXPECT_EQ(1, source->getStatus());
    source->setConnectionAddress(KtInetAddress("10.0.0.5"));
    source->setConnectionPort(5070);
    source->setLocalPort(5060);
    source->setConnectionTransport(KtSocketImpl::TCP);

    KtHandle<KtSipMessage> copy(source->clone());
    EXPECT_EQ(typeid(*source), typeid(*copy));
    EXPECT_EQ(0, copy->getStatus());
    EXPECT_EQ(wire(*source), wire(*copy));
    EXPECT_EQ(source->getHeaderOrder(), copy->getHeaderOrder());
    const auto n = [](unsigned v) { return ":" + std::to_string(v); };
    EXPECT_EQ("10.0.0.5:5070:5060:1", copy->getConnectionAddress().getHostAddress() + n(copy->getConnectionPort()) +
                                          n(copy->getLocalPort()) + n(copy->getConnectionTransport()));
    for (int id = 0; id < HeaderSlotCount; ++id) {
        const KtSipHeader* a = source->mGetHeaderByID(static_cast<HeaderID>(id)).get();
        const KtSipHeader* b = copy->mGetHeaderByID(static_cast<HeaderID>(id)).get();
        for (; a && b; a = a->getNext().get(), b = b->getNext().get()) EXPECT_NE(a, b);
        EXPECT_EQ(a == nullptr, b == nullptr) << "chain lengths differ for id " << id;
    }
    EXPECT_NE(source->getBody(), copy->getBody());

    const std::string before = wire(*source);
    copy->removeHeader("Via");
    copy->setBody("bye", "text/plain", 3);
    copy->addHeader(unknown("X-Three"));
    EXPECT_EQ(before, wire(*source));
}

TEST(MessageModel, RequestHelpers) {
    KtHandle<KtSipMessage> message = parse(crlf("INVITE sip:bob@b.example SIP/2.0\n" + inviteHeaders() +
                                                "Require: 100rel\nk: timer, replaces\n"
                                                "Content-Type: application/sdp\nContent-Length: 0\n\n"));
    EXPECT_TRUE(message->isRequired("100rel"));
    EXPECT_FALSE(message->isRequired("timer"));
    EXPECT_TRUE(message->isSupported("replaces"));
    EXPECT_FALSE(message->isSupported("Replaces"));
    EXPECT_STREQ("application/sdp", message->getBodyType().c_str());
    EXPECT_STREQ("", KtSipResponse().getBodyType().c_str());

    KtHandle<KtSipRequest> request = message.dynamicCast<KtSipRequest>();
    request->insertViaHeader("proxy.example", 5080, "tcp");
    EXPECT_EQ("proxy.example a.example", chain(*request, HeaderVia));
    EXPECT_STREQ("bob", request->getURL()->getUser().c_str());
    EXPECT_TRUE(request->getAuthorizationHeader().isNil());

    KtSipInviteMessage invite;
    invite.setUseLocalOutboundProxy(true);
    KtHandle<KtSipRequest> copy(invite.clone());
    EXPECT_TRUE(copy->useLocalOutboundProxy());
    EXPECT_EQ(invite.getMethod().get(), copy->getMethod().get()) << "the method string is shared";
    EXPECT_NE(invite.getURI().get(), copy->getURI().get()) << "the URI is copied";
    EXPECT_TRUE(invite.getURL().isNil()) << "a generic URI is no SIP URL";
    invite.setURI(nullptr);
    EXPECT_EQ("", wire(invite, true)) << "no URI, no request line";
}

}  // namespace
