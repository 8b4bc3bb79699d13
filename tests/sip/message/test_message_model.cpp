// The header store of a message: adding, looking up, removing, copying (used from
// several threads at once: test_concurrency.cpp).
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "KtSipUnknownHeader.h"
#include "KtSipViaHeader.h"
#include "HeaderTestSupport.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

/// The names (unknown headers) or Via hosts of the chain from `first` on, joined by spaces.
std::string chain(const KtSipHeader* first) {
    std::string out;
    for (const KtSipHeader* h = first; h; h = h->getNext().get()) {
        const KtSipViaHeader* via = dynamic_cast<const KtSipViaHeader*>(h);
        out += (out.empty() ? "" : " ") + std::string(via ? via->getHost().c_str() : h->getToken().c_str());
    }
    return out;
}

/// The kinds of `message` in its order, each as its chain, separated by " | ".
std::string layout(const KtSipMessage& message) {
    std::string out;
    for (HeaderID id : message.getHeaderOrder()) out += " | " + chain(message.mGetHeaderByID(id).get());
    return out.substr(std::min<size_t>(out.size(), 3));
}

KtHandle<KtSipHeader> via(const char* host) { return new KtSipViaHeader(host, 5060, "udp"); }
KtHandle<KtSipHeader> unknown(const char* name, const char* value = "1") { return new KtSipUnknownHeader(name, value); }
KtHandle<KtSipHeader> viaPair(const char* first, const char* second) {
    KtHandle<KtSipHeader> pair = via(first);
    pair->addNext(via(second).get());
    return pair;
}
std::string value(const KtSipMessage& m, const char* name) {
    const KtHandle<KtSipHeader> h = m.mGetHeader(name);
    return h.isNil() ? "-" : h->getValueString().c_str();
}

TEST(MessageModel, AddingRemovingAndLookingUp) {
    using Op = std::function<void(KtSipResponse&, std::string& result)>;
    // Removals: the results of the calls, "1" or "0".
    const auto remove = [](std::vector<const char*> names) {
        return Op([names](KtSipResponse& m, std::string& result) {
            for (const char* name : names) result += m.removeHeader(name) ? "1" : "0";
        });
    };
    // header lines added first, the operation, what it returns, the layout afterwards
    struct Row { const char* name; std::vector<std::string> lines; Op op; std::string result; const char* layout; };
    const std::string viaLines[] = {"Via: SIP/2.0/UDP v1", "Call-ID: c1", "Via: SIP/2.0/UDP v2"};
    const Row rows[] = {
        {"kinds stay together in first-added order",
         {"From: <sip:a@a.example>", viaLines[0], "To: <sip:b@b.example>", viaLines[2]},
         [](KtSipResponse& m, std::string& result) { result = wire(m); },
         "SIP/2.0 0 \r\nFrom: <sip:a@a.example>\r\nVia: SIP/2.0/UDP v1\r\nVia: SIP/2.0/UDP v2\r\n"
         "To: <sip:b@b.example>\r\n\r\n", "From | v1 v2 | To"},
        {"append, prepend, a chain added whole", {viaLines[0]},
         [](KtSipResponse& m, std::string&) {
             m.addHeader(m.mGetHeaderByID(HeaderVia));  // heads the chain: ignored
             m.addHeader(via("v2"));
             m.addHeader(via("v0"), true);
             m.asynchAddHeader(via("v3"), false);
             m.asynchAddHeader(via("v-1"), true);
             m.addHeader(viaPair("c1", "c2"));
         }, "", "v-1 v0 v1 v2 v3 c1 c2"},
        // Linking them again would close a loop.
        {"headers inside the chain and nil handles are ignored", {"Via: SIP/2.0/UDP v1, SIP/2.0/UDP v2, SIP/2.0/UDP v3"},
         [](KtSipResponse& m, std::string&) {
             const KtHandle<KtSipHeader> second = m.mGetHeaderByID(HeaderVia)->getNext();
             m.addHeader(second);
             m.addHeader(second, true);
             m.addHeader(second->getNext());
             m.addHeader(nullptr);
             m.addSingleHeader(nullptr);
             m.asynchAddHeader(nullptr, false);
             m.addHeaderByID(nullptr);
         }, "", "v1 v2 v3"},
        {"remove takes the first element", {viaLines[0], viaLines[1], viaLines[2]}, remove({"Via"}), "1", "v2 | Call-ID"},
        {"remove by compact name; the last element takes the kind out of the order",
         {viaLines[0], viaLines[1], viaLines[2]}, remove({"Via", "v", "Via", nullptr}), "1100", "Call-ID"},
        {"unknown: the only element stays", {"X-Foo: 1"}, remove({"X-Foo", "x-foo"}), "11", "X-Foo"},
        {"unknown: a first element with a successor goes", {"X-A: 1", "X-B: 1"}, remove({"X-A"}), "1", "X-B"},
        {"unknown: a later element stays", {"X-A: 1", "X-B: 1"}, remove({"X-B", "X-C"}), "10", "X-A X-B"},
        {"unknown: none", {}, remove({"X-A"}), "0", ""},
        // Known kinds are found by any of their names, case ignored; unknown names exactly.
        {"lookup", {viaLines[1], "X-Foo: foo", "X-Bar: bar"},
         [](KtSipResponse& m, std::string& result) {
             result = value(m, "call-id") + value(m, "X-Bar") + value(m, "x-foo") + value(m, "Content-Type") +
                    std::to_string(m.mTokenToID("CALL-ID")) + std::to_string(m.mTokenToID("i")) +
                    std::to_string(m.mTokenToID("Content-Type")) + value(m, "X-Foo");
         },
         "c1bar--" + std::to_string(HeaderCallId) + std::to_string(HeaderCallId) + std::to_string(HeaderUnknown) + "foo",
         "Call-ID | X-Foo X-Bar"},
        {"addSingleHeader adds the first element of its argument", {viaLines[0]},
         [](KtSipResponse& m, std::string& result) {
             const KtHandle<KtSipHeader> pair = viaPair("c1", "c2");
             m.addSingleHeader(pair);
             m.addSingleHeader(via("c0"), true);
             m.addSingleHeader(m.mGetHeaderByID(HeaderVia));  // heads the chain: ignored
             result = chain(pair.get());
         }, "c1 c2", "c0 v1 c1"},
        // The chain is found by name only: X-A does not find the unknown chain headed by X-B,
        // so its copy replaces that chain and the unknown id enters the order a second time.
        {"addSingleHeader of an unknown name", {"X-B: b"},
         [](KtSipResponse& m, std::string& result) {
             m.addSingleHeader(unknown("X-A", "a"));
             result = wire(m);
         }, "SIP/2.0 0 \r\nX-A: a\r\nX-A: a\r\n\r\n", "X-A | X-A"},
        {"addSingleHeader of that name again", {"X-B: b"},
         [](KtSipResponse& m, std::string&) {
             m.addSingleHeader(unknown("X-A", "a"));
             m.addSingleHeader(unknown("X-A", "a2"));
         }, "", "X-A X-A | X-A X-A"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        KtSipResponse message;
        for (const std::string& line : row.lines) message.addHeader(parseHeaderLine(line));
        std::string result;
        row.op(message, result);
        EXPECT_EQ(row.result, result);
        EXPECT_EQ(row.layout, layout(message));
    }
    EXPECT_TRUE(KtSipResponse().mGetHeaderByID(static_cast<HeaderID>(60)).isNil());
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
    EXPECT_EQ("proxy.example a.example", chain(request->mGetHeaderByID(HeaderVia).get()));
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
