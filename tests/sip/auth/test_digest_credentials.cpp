// Digest credentials: the MD5 response (RFC 2617 known answer, MD5-sess, auth-int), qop and
// nonce counts, algorithm refusals, serialization, the credentials headers, Authentication-Info
// and a full challenge -> Authorization -> validate round trip.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "HeaderTestSupport.h"
#include "KtException.h"
#include "KtHexEncoding.h"
#include "KtSipAuthenticationInfoHeader.h"
#include "KtSipAuthorizationHeader.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipProxyAuthorizationHeader.h"

namespace {

using namespace kttest;

const char* const RFC_CHALLENGE =
    "realm=\"testrealm@host.com\",qop=\"auth,auth-int\",nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\","
    "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"";

// MD5 straight from OpenSSL's libcrypto (loaded at run time: the test links only the
// library), as the reference the library's computation is checked against.
std::string refMd5(const std::string& data) {
    typedef unsigned char* (*Md5Fn)(const unsigned char*, size_t, unsigned char*);
    static void* lib = dlopen("libcrypto.so.3", RTLD_NOW);
    static Md5Fn md5 = lib ? reinterpret_cast<Md5Fn>(dlsym(lib, "MD5")) : nullptr;
    if (!md5) throw std::runtime_error("OpenSSL MD5 not available");
    unsigned char out[16];
    md5(reinterpret_cast<const unsigned char*>(data.data()), data.size(), out);
    return std::string(reinterpret_cast<char*>(out), 16);
}

std::string refHex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : bytes) out += {digits[c >> 4], digits[c & 15]};
    return out;
}

std::string hexOf(const KtHandle<KtByteArray>& bytes) { return KtHexEncoding::toHex(bytes).c_str(); }

KtHandle<KtSipDigestCredentialsInfo> answer(const std::string& challenge, const char* user, const char* password) {
    KtHandle<KtSipDigestCredentialsInfo> c = new KtSipDigestCredentialsInfo(
        KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(challenge.c_str())), user, password);
    c->setMethod("GET");
    c->setUri("/dir/index.html");
    return c;
}

TEST(DigestCredentials, Rfc2617KnownAnswer) {
    KtHandle<KtSipDigestCredentialsInfo> c = answer(RFC_CHALLENGE, "Mufasa", "Circle Of Life");
    c->setQop("auth", "0a4f113b", 1);
    EXPECT_EQ(hexOf(c->getRequestDigest()), "6629fae49393a05397450978507c4ef1");
    EXPECT_EQ(written(*c),
              "username=\"Mufasa\",realm=\"testrealm@host.com\",nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\","
              "response=\"6629fae49393a05397450978507c4ef1\",uri=\"/dir/index.html\","
              "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\",qop=\"auth\",nc=00000001,cnonce=\"0a4f113b\"");
}

TEST(DigestCredentials, SessionAndIntegrityAgainstReference) {
    // HA1 of bob:biloxi.com:pw13 has a zero byte at index 5, so the session A1 is cut there;
    // pw12's HA1 has none.
    EXPECT_NE(refMd5("bob:biloxi.com:pw13").find('\0'), std::string::npos);
    EXPECT_EQ(refMd5("bob:biloxi.com:pw12").find('\0'), std::string::npos);
    for (const char* password : {"pw13", "pw12"}) {
        KtHandle<KtSipDigestCredentialsInfo> c =
            answer("realm=\"biloxi.com\",nonce=\"n0\",algorithm=MD5-sess,qop=\"auth-int\"", "bob", password);
        c->setQop("auth-int", "c0", 2);
        const std::string a1 = refMd5(std::string("bob:biloxi.com:") + password) + ":n0:c0";
        const std::string sessHa1 = refMd5(a1.substr(0, a1.find('\0')));
        EXPECT_EQ(hexOf(c->generateA1()), refHex(sessHa1)) << password;
        for (const std::string& body : {std::string("v=0\r\n"), std::string()}) {
            c->setEntityBody(body.c_str());
            const std::string ha2 = refHex(refMd5("GET:/dir/index.html:" + (body.empty() ? "" : refHex(refMd5(body)))));
            EXPECT_EQ(hexOf(c->generateA2()), ha2) << body;
            EXPECT_EQ(hexOf(c->getRequestDigest()),
                      refHex(refMd5(refHex(sessHa1) + ":n0:00000002:c0:auth-int:" + ha2)));
        }
    }
}

TEST(DigestCredentials, QopChoiceAndNonceCount) {
    // qop options offered, qop chosen, nonce count, nc stored (null: nothing set)
    struct Row { const char* options; const char* qop; int nc; const char* storedNc; } rows[] = {
        {"auth,auth-int", "auth", 1, "00000001"}, {"auth-int", "auth", 255, "000000ff"},
        {"auth", "auth", 0x7fffffff, "7fffffff"}, {"auth", "auth-int", 1, nullptr},
        {"", "auth", 1, nullptr},                 {"auth", "", 1, nullptr},
    };
    for (const Row& r : rows) {
        auto c = answer(std::string("realm=r,nonce=n,qop=\"") + r.options + "\"", "u", "p");
        c->setQop(r.qop, "k", r.nc);
        EXPECT_EQ(c->hasValue("nc"), r.storedNc != nullptr) << r.options << " / " << r.qop;
        if (r.storedNc) {
            EXPECT_EQ(c->getValue("nc"), r.storedNc);
        }
    }
    // Without a chosen qop the response has no qop part: RFC 2069 form.
    KtHandle<KtSipDigestCredentialsInfo> plain = answer("realm=r,nonce=n", "u", "p");
    plain->setQop("auth", "k", 1);
    const std::string ha1 = refHex(refMd5("u:r:p")), ha2 = refHex(refMd5("GET:/dir/index.html"));
    EXPECT_EQ(hexOf(plain->getRequestDigest()), refHex(refMd5(ha1 + ":n:" + ha2)));
}

TEST(DigestCredentials, AlgorithmRefusals) {
    const std::string refused = "Unsupported Algorithm !!!";
    for (const char* algorithm : {"md5", "SHA-256", "", "MD"})
        EXPECT_EQ(refused, thrown([&] { answer(std::string("realm=r,algorithm=\"") + algorithm + "\"", "u", "p"); }))
            << algorithm;
    KtHandle<KtSipDigestCredentialsInfo> c = answer("realm=r,algorithm=MD5", "u", "p");
    c->setValue("algorithm", "SHA-256");
    EXPECT_EQ(refused, thrown([&] { c->generateA1(); }));
    EXPECT_EQ(refused, thrown([&] { c->generateA2(); }));
    EXPECT_EQ(refused, thrown([&] { c->getRequestDigest(); }));
    EXPECT_EQ(refused, thrown([&] { c->setEntityBody("x"); }));
    // A received response is written as it is: nothing is computed.
    c->setValue("response", "abc");
    EXPECT_EQ(written(*c),
              "username=\"u\",realm=\"r\",nonce=\"\",response=\"abc\",uri=\"/dir/index.html\",algorithm=SHA-256");
}

TEST(DigestCredentials, SerializationOrderAndAbsentEntries) {
    KtHandle<KtSipDigestCredentialsInfo> c = answer("realm=\"R\",nonce=\"N\"", "u", "p");
    EXPECT_FALSE(c->hasValue("algorithm"));
    EXPECT_FALSE(c->hasValue("opaque"));
    const std::string response =
        refHex(refMd5(refHex(refMd5("u:R:p")) + ":N:" + refHex(refMd5("GET:/dir/index.html"))));
    EXPECT_EQ(written(*c),
              "username=\"u\",realm=\"R\",nonce=\"N\",response=\"" + response + "\",uri=\"/dir/index.html\"");

    auto info = KtHandle<KtSipHeader>(KtSipHeader::sConstruct("Authentication-Info"))
                    .dynamicCast<KtSipAuthenticationInfoHeader>();
    ASSERT_FALSE(info.isNil());
    ASSERT_EQ(info->getHeaderID(), HeaderAuthenticationInfo);
    KtByteArrayInputStream in(
        KtByteArray::sCreate("cnonce=\"c\", qop=auth, rspauth=\"r\", nc=00000001, NextNonce=\"n\"\r\n"));
    info->doParse(in);
    EXPECT_EQ(info->getValue("NextNonce"), "n");  // no name is lower-cased here
    info->setNextNonce("n2");
    EXPECT_EQ(written(*info),
              "Authentication-Info: nextnonce=\"n2\",rspauth=\"r\",qop=auth,nc=00000001,cnonce=\"c\"\r\n");
}

TEST(DigestCredentials, ReceivedListsAndSchemes) {
    KtHandle<KtSipCredentialsInfo> c =
        KtSipCredentialsInfo::constructFrom("digest", KtByteArray::sCreate("Username=\"u\", CNonce=\"x\""));
    KtHandle<KtSipDigestCredentialsInfo> d = c.dynamicCast<KtSipDigestCredentialsInfo>();
    ASSERT_FALSE(d.isNil());
    EXPECT_EQ(d->getValue("Username"), "u");
    EXPECT_EQ(d->getValue("cnonce"), "x");
    EXPECT_TRUE(d->getUsername().empty());
    EXPECT_EQ("Credentials type not supported !",
              thrown([] { KtSipCredentialsInfo::constructFrom("Basic", KtByteArray::sCreate("x")); }));
    const std::string longList = "username=\"" + std::string(1000, 'u') + "\",realm=\"" + std::string(100, 'r') + "\"";
    EXPECT_EQ("Buffer overflew !!!",
              thrown([&] { KtSipDigestCredentialsInfo::sCreateFrom(KtByteArray::sCreate(longList.c_str())); }));
}

TEST(DigestCredentials, RoundTripThroughHeaders) {
    for (const char* name : {"Authorization", "Proxy-Authorization"}) {
        for (const char* algorithm : {"MD5", "MD5-sess"}) {
            SCOPED_TRACE(std::string(name) + " " + algorithm);
            KtHandle<KtSipDigestCredentialsInfo> client =
                answer(std::string(RFC_CHALLENGE) + ",algorithm=" + algorithm, "Mufasa", "Circle Of Life");
            client->setQop("auth", "0a4f113b", 7);
            KtHandle<KtSipAuthorizationHeader> out =
                KtHandle<KtSipHeader>(KtSipHeader::sConstruct(name)).dynamicCast<KtSipAuthorizationHeader>();
            ASSERT_FALSE(out.isNil());
            out->setCredentials(client);
            const std::string line = written(*out);
            ASSERT_EQ(line.rfind(std::string(name) + ": Digest username=\"Mufasa\",", 0), 0u) << line;

            KtHandle<KtSipHeader> parsed = parseHeaderText(line);
            ASSERT_TRUE(parsed->getNext().isNil()) << line;
            EXPECT_EQ(parsed->getHeaderID(), out->getHeaderID());
            KtHandle<KtSipAuthorizationHeader> auth = parsed.dynamicCast<KtSipAuthorizationHeader>();
            ASSERT_FALSE(auth.isNil());
            EXPECT_EQ(auth->getAuthenticationType(), "Digest");
            auto server = auth->getCredentials().dynamicCast<KtSipDigestCredentialsInfo>();
            ASSERT_FALSE(server.isNil());
            server->setMethod("GET");
            EXPECT_TRUE(server->validate("Mufasa", "Circle Of Life", "testrealm@host.com")) << line;
            EXPECT_FALSE(server->validate("Mufasa", "Circle of Life", "testrealm@host.com"));
            EXPECT_FALSE(server->validate("Mufasa", "Circle Of Life", "otherrealm@host.com"));
            server->setMethod("POST");
            EXPECT_FALSE(server->validate("Mufasa", "Circle Of Life", "testrealm@host.com"));
        }
    }
}

}  // namespace
