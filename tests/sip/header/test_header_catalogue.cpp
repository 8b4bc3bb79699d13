// The whole header catalogue: every registered name builds its class with its id, every
// class reads and writes a typical value, and clones are independent.
#include <gtest/gtest.h>

#include <cxxabi.h>
#include <memory>
#include <set>
#include <string>

#include "KtSipHeader.h"
#include "KtSipCallInfoHeader.h"

namespace {

std::string className(const KtSipHeader& h) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> n(abi::__cxa_demangle(typeid(h).name(), nullptr, nullptr, &status), std::free);
    return n ? n.get() : typeid(h).name();
}

struct Row {
    int id;
    const char* name;
    const char* compact;
    const char* cls;
    const char* value;  // a typical value, written back unchanged
};

const Row kCatalogue[] = {
    {1, "Via", "v", "KtSipViaHeader", "SIP/2.0/UDP a.example:5070;branch=z9hG4bK1"},
    {2, "From", "f", "KtSipFromHeader", "\"Alice\" <sip:alice@a.example>;tag=88"},
    {3, "To", "t", "KtSipToHeader", "<sip:bob@b.example>"},
    {4, "CSeq", nullptr, "KtSipCSeqHeader", "4 INVITE"},
    {5, "Call-ID", "i", "KtSipCallIdHeader", "c1@a.example"},
    {6, "Content-Length", "l", "KtSipContentLengthHeader", "10"},
    {7, "Accept-Encoding", nullptr, "KtSipAcceptEncodingHeader", "gzip"},
    {8, "Accept", nullptr, "KtSipAcceptHeader", "application/sdp"},
    {9, "Accept-Language", nullptr, "KtSipAcceptLanguageHeader", "en"},
    {10, "Alert-Info", nullptr, "KtSipAlertInfoHeader", "\"http://a.example/ring\""},
    {11, "Allow", nullptr, "KtSipAllowHeader", "INVITE"},
    {12, "Allow-Events", nullptr, "KtSipAllowEventsHeader", "presence"},
    {14, "Authentication-Info", nullptr, "KtSipAuthenticationInfoHeader", "nextnonce=\"n2\""},
    {15, "Authorization", nullptr, "KtSipAuthorizationHeader",
     "Digest username=\"u\",realm=\"r\",nonce=\"n\",response=\"0123456789abcdef0123456789abcdef\",uri=\"sip:x\""},
    {17, "CC-Diversion", nullptr, "KtSipCCDiversionHeader", "<sip:c@c.example>;reason=busy"},
    {18, "Contact", "m", "KtSipContactHeader", "<sip:alice@10.0.0.1:5070>;expires=60"},
    {19, "Content-Disposition", nullptr, "KtSipContentDispositionHeader", "session;handling=required"},
    {20, "Content-Encoding", "e", "KtSipContentEncodingHeader", "gzip"},
    {21, "Content-Type", "c", "KtSipContentTypeHeader", "application/sdp"},
    {22, "Date", nullptr, "KtSipDateHeader", "Sat, 13 Nov 2010 23:29:00 GMT"},
    {24, "Error-Info", nullptr, "KtSipErrorInfoHeader", "\"sip:not-in-service@a.example\""},
    {25, "Event", nullptr, "KtSipEventHeader", "presence;id=1"},
    {26, "Expires", nullptr, "KtSipExpiresHeader", "3600"},
    {28, "In-Reply-To", nullptr, "KtSipInReplyToHeader", "70710@saturn.example"},
    {29, "Max-Forwards", nullptr, "KtSipMaxForwardsHeader", "70"},
    {30, "MIME-Version", nullptr, "KtSipMIMEVersionHeader", "1.0"},
    {31, "Min-Expires", nullptr, "KtSipMinExpiresHeader", "60"},
    {32, "Min-SE", nullptr, "KtSipMinSEHeader", "90"},
    {33, "Organization", nullptr, "KtSipOrganizationHeader", "Boxes by Bob"},
    {34, "Priority", nullptr, "KtSipPriorityHeader", "urgent"},
    {35, "Proxy-Authenticate", nullptr, "KtSipProxyAuthenticateHeader", "Digest realm=\"r\",nonce=\"n\""},
    {36, "Proxy-Authorization", nullptr, "KtSipProxyAuthorizationHeader",
     "Digest username=\"u\",realm=\"r\",nonce=\"n\",response=\"0123456789abcdef0123456789abcdef\",uri=\"sip:x\""},
    {37, "Proxy-Require", nullptr, "KtSipProxyRequireHeader", "foo"},
    {38, "RAck", nullptr, "KtSipRAckHeader", "776656 1 INVITE"},
    {39, "RSeq", nullptr, "KtSipRSeqHeader", "988789"},
    {40, "Record-Route", nullptr, "KtSipRecordRouteHeader", "<sip:p1.example;lr>"},
    {41, "Refer-To", nullptr, "KtSipReferToHeader", "sip:carol@c.example"},
    {42, "Referred-By", nullptr, "KtSipReferredByHeader", "<sip:alice@a.example>"},
    {43, "Replaces", nullptr, "KtSipReplacesHeader", "425928@b.example;to-tag=7743;from-tag=6472"},
    {44, "Require", nullptr, "KtSipRequireHeader", "100rel"},
    {45, "Response-Key", nullptr, "KtSipResponseKeyHeader", "pgp version=2,algorithm=md5"},
    {46, "Retry-After", nullptr, "KtSipRetryAfterHeader", "120"},
    {47, "Route", nullptr, "KtSipRouteHeader", "<sip:p1.example;lr>"},
    {48, "Server", nullptr, "KtSipServerHeader", "HomeServer/2"},
    {49, "Session-Expires", "x", "KtSipSessionExpiresHeader", "1800;refresher=uac"},
    {50, "Session", nullptr, "KtSipSessionHeader", "QoS"},
    {51, "Subject", "s", "KtSipSubjectHeader", "Meeting"},
    {53, "Supported", "k", "KtSipSupportedHeader", "replaces"},
    {54, "Timestamp", nullptr, "KtSipTimestampHeader", "54 0.5"},
    {56, "Unsupported", nullptr, "KtSipUnsupportedHeader", "foo"},
    {57, "User-Agent", nullptr, "KtSipUserAgentHeader", "Softphone/1.0"},
    {58, "WWW-Authenticate", nullptr, "KtSipWWWAuthenticateHeader", "Digest realm=\"r\",nonce=\"n\""},
    {59, "Warning", nullptr, "KtSipWarningHeader", "399 gw1 \"Incompatible\""},
};

KtHandle<KtSipHeader> parse(const std::string& line) {
    KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
    return KtSipHeader::sConstructFrom(in);
}

}  // namespace

TEST(HeaderCatalogue, EveryNameBuildsItsClassWithItsId) {
    std::set<std::string> expected;
    for (const Row& r : kCatalogue) {
        for (const char* name : {r.name, r.compact}) {
            if (name == nullptr) continue;
            expected.insert(name);
            ASSERT_TRUE(KtSipHeader::sIsRegistered(name)) << name;
            KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(name));
            EXPECT_EQ(className(*h), r.cls) << name;
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

TEST(HeaderCatalogue, CallInfoExistsButIsNotRegistered) {
    EXPECT_FALSE(KtSipHeader::sIsRegistered("Call-Info"));
    KtHandle<KtSipHeader> received = parse("Call-Info: <tel:1234>\r\n");
    EXPECT_EQ(className(*received), "KtSipUnknownHeader");
    EXPECT_EQ(received->getHeaderID(), HeaderUnknown);
    KtHandle<KtSipHeader> built(new KtSipCallInfoHeader("\"http://www.example.com/alice/photo.jpg\";purpose=icon"));
    EXPECT_EQ(built->getHeaderID(), HeaderCallInfo);
    KtByteArrayOutputStream out;
    built->serialize(out);
    EXPECT_EQ(std::string(out.data(), out.size()),
              "Call-Info: \"http://www.example.com/alice/photo.jpg\";purpose=icon\r\n");
}

TEST(HeaderCatalogue, TypicalValuesRoundTripAndClonesAreIndependent) {
    for (const Row& r : kCatalogue) {
        for (const char* name : {r.name, r.compact}) {
            if (name == nullptr) continue;
            std::string line = std::string(name) + ": " + r.value + "\r\n";
            KtHandle<KtSipHeader> h;
            try {
                h = parse(line);
            } catch (const KtException& e) {
                ADD_FAILURE() << line << " threw " << e.getMessage();
                continue;
            }
            EXPECT_EQ(className(*h), r.cls) << line;
            EXPECT_TRUE(h->getNext().isNil()) << line;
            EXPECT_STREQ(h->getValueString().c_str(), r.value) << line;
            KtByteArrayOutputStream out;
            h->serialize(out);
            EXPECT_EQ(std::string(out.data(), out.size()), line);

            KtHandle<KtSipHeader> copy(h->clone());
            EXPECT_NE(copy.get(), h.get());
            EXPECT_EQ(className(*copy), r.cls);
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
