// The whole header catalogue: every registered name builds its class with its id, every
// class reads and writes a typical value, and clones are independent.
#include <gtest/gtest.h>

#include <cxxabi.h>
#include <memory>
#include <set>
#include <string>

#include "HeaderTestSupport.h"
#include "KtSipHeader.h"

namespace {

using namespace kttest;

std::string className(const KtSipHeader& h) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> n(abi::__cxa_demangle(typeid(h).name(), nullptr, nullptr, &status), std::free);
    return n ? n.get() : typeid(h).name();
}

// Id, full and compact name, class (KtSip<cls>Header), and a typical value (written back unchanged).
struct Row { int id; const char *name, *compact, *cls, *value; };

const Row kCatalogue[] = {
    {1, "Via", "v", "Via", "SIP/2.0/UDP a.example:5070;branch=z9hG4bK1"},
    {2, "From", "f", "From", "\"Alice\" <sip:alice@a.example>;tag=88"}, {3, "To", "t", "To", "<sip:bob@b.example>"},
    {4, "CSeq", nullptr, "CSeq", "4 INVITE"}, {5, "Call-ID", "i", "CallId", "c1@a.example"},
    {6, "Content-Length", "l", "ContentLength", "10"}, {7, "Accept-Encoding", nullptr, "AcceptEncoding", "gzip"},
    {8, "Accept", nullptr, "Accept", "application/sdp"}, {9, "Accept-Language", nullptr, "AcceptLanguage", "en"},
    {10, "Alert-Info", nullptr, "AlertInfo", "\"http://a.example/ring\""},
    {11, "Allow", nullptr, "Allow", "INVITE"}, {12, "Allow-Events", nullptr, "AllowEvents", "presence"},
    {14, "Authentication-Info", nullptr, "AuthenticationInfo", "nextnonce=\"n2\""},
    {15, "Authorization", nullptr, "Authorization",
     "Digest username=\"u\",realm=\"r\",nonce=\"n\",response=\"0123456789abcdef0123456789abcdef\",uri=\"sip:x\""},
    {17, "CC-Diversion", nullptr, "CCDiversion", "<sip:c@c.example>;reason=busy"},
    {18, "Contact", "m", "Contact", "<sip:alice@10.0.0.1:5070>;expires=60"},
    {19, "Content-Disposition", nullptr, "ContentDisposition", "session;handling=required"},
    {20, "Content-Encoding", "e", "ContentEncoding", "gzip"},
    {21, "Content-Type", "c", "ContentType", "application/sdp"},
    {22, "Date", nullptr, "Date", "Sat, 13 Nov 2010 23:29:00 GMT"},
    {24, "Error-Info", nullptr, "ErrorInfo", "\"sip:not-in-service@a.example\""},
    {25, "Event", nullptr, "Event", "presence;id=1"}, {26, "Expires", nullptr, "Expires", "3600"},
    {28, "In-Reply-To", nullptr, "InReplyTo", "70710@saturn.example"},
    {29, "Max-Forwards", nullptr, "MaxForwards", "70"}, {30, "MIME-Version", nullptr, "MIMEVersion", "1.0"},
    {31, "Min-Expires", nullptr, "MinExpires", "60"}, {32, "Min-SE", nullptr, "MinSE", "90"},
    {33, "Organization", nullptr, "Organization", "Boxes by Bob"}, {34, "Priority", nullptr, "Priority", "urgent"},
    {35, "Proxy-Authenticate", nullptr, "ProxyAuthenticate", "Digest realm=\"r\",nonce=\"n\""},
    {36, "Proxy-Authorization", nullptr, "ProxyAuthorization",
     "Digest username=\"u\",realm=\"r\",nonce=\"n\",response=\"0123456789abcdef0123456789abcdef\",uri=\"sip:x\""},
    {37, "Proxy-Require", nullptr, "ProxyRequire", "foo"}, {38, "RAck", nullptr, "RAck", "776656 1 INVITE"},
    {39, "RSeq", nullptr, "RSeq", "988789"}, {40, "Record-Route", nullptr, "RecordRoute", "<sip:p1.example;lr>"},
    {41, "Refer-To", nullptr, "ReferTo", "sip:carol@c.example"},
    {42, "Referred-By", nullptr, "ReferredBy", "<sip:alice@a.example>"},
    {43, "Replaces", nullptr, "Replaces", "425928@b.example;to-tag=7743;from-tag=6472"},
    {44, "Require", nullptr, "Require", "100rel"},
    {45, "Response-Key", nullptr, "ResponseKey", "pgp version=2,algorithm=md5"},
    {46, "Retry-After", nullptr, "RetryAfter", "120"}, {47, "Route", nullptr, "Route", "<sip:p1.example;lr>"},
    {48, "Server", nullptr, "Server", "HomeServer/2"},
    {49, "Session-Expires", "x", "SessionExpires", "1800;refresher=uac"}, {50, "Session", nullptr, "Session", "QoS"},
    {51, "Subject", "s", "Subject", "Meeting"}, {53, "Supported", "k", "Supported", "replaces"},
    {54, "Timestamp", nullptr, "Timestamp", "54 0.5"}, {56, "Unsupported", nullptr, "Unsupported", "foo"},
    {57, "User-Agent", nullptr, "UserAgent", "Softphone/1.0"},
    {58, "WWW-Authenticate", nullptr, "WWWAuthenticate", "Digest realm=\"r\",nonce=\"n\""},
    {59, "Warning", nullptr, "Warning", "399 gw1 \"Incompatible\""},
};

}  // namespace

TEST(HeaderCatalogue, EveryNameBuildsItsClassWithItsId) {
    std::set<std::string> expected;
    for (const Row& r : kCatalogue) {
        for (const char* name : {r.name, r.compact}) {
            if (name == nullptr) continue;
            expected.insert(name);
            ASSERT_TRUE(KtSipHeader::sIsRegistered(name)) << name;
            KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(name));
            EXPECT_EQ(className(*h), "KtSip" + std::string(r.cls) + "Header") << name;
            EXPECT_EQ(static_cast<int>(h->getHeaderID()), r.id) << name;
            EXPECT_STREQ(h->getToken().c_str(), r.name) << name;
            EXPECT_STREQ(h->getExpandedToken().c_str(), r.name) << name;
            EXPECT_STREQ(h->getCompactToken().c_str(), r.compact ? r.compact : r.name) << name;
        }
    }
    // 64 entries: 53 names and 11 compact forms; nothing else is registered.
    std::set<std::string> registered;
    for (const char* n : KtSipHeader::sRegisteredNames()) registered.insert(n);
    registered.erase("X-Kt-Test");  // registered by the framework test of this program
    registered.erase("y");
    EXPECT_EQ(registered.size(), 64u);
    EXPECT_EQ(registered, expected);
}

TEST(HeaderCatalogue, TypicalValuesRoundTripAndClonesAreIndependent) {
    for (const Row& r : kCatalogue) {
        for (const char* name : {r.name, r.compact}) {
            if (name == nullptr) continue;
            std::string line = std::string(name) + ": " + r.value + "\r\n";
            KtHandle<KtSipHeader> h;
            EXPECT_EQ("", thrown([&] { h = parseHeaderText(line); })) << line;
            if (h.isNil()) continue;
            EXPECT_EQ(className(*h), "KtSip" + std::string(r.cls) + "Header") << line;
            EXPECT_TRUE(h->getNext().isNil()) << line;
            EXPECT_STREQ(h->getValueString().c_str(), r.value) << line;
            EXPECT_EQ(written(*h), line);

            KtHandle<KtSipHeader> copy(h->clone());
            EXPECT_NE(copy.get(), h.get());
            EXPECT_EQ(className(*copy), className(*h));
            EXPECT_EQ(copy->getHeaderID(), h->getHeaderID());
            EXPECT_STREQ(copy->getValueString().c_str(), r.value) << line;
            // Re-reading the original must not disturb the copy.
            KtByteArrayInputStream again(line.data() + std::strlen(name) + 1,
                                         static_cast<unsigned>(line.size() - std::strlen(name) - 1));
            h->doParse(again);
            EXPECT_STREQ(copy->getValueString().c_str(), r.value) << line;
        }
    }
}
