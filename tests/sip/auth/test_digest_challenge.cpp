// Digest challenges: the pair-list reader, serialization, the scheme factory and the
// WWW-Authenticate / Proxy-Authenticate headers.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "HeaderTestSupport.h"
#include "KtException.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipProxyAuthenticateHeader.h"
#include "KtSipWWWAuthenticateHeader.h"

namespace {

using namespace kttest;

typedef std::vector<std::pair<std::string, std::string>> Pairs;

Pairs pairsOf(const KtSipDigestChallengeInfo& c) {
    Pairs out;
    for (unsigned i = 0; i < c.getParameters()->size(); ++i)
        out.emplace_back(c.getParameters()->getName(i).c_str(), c.getParameters()->getValueAt(i).c_str());
    return out;
}

struct PairCase { const char* name; std::string list; Pairs expected; };

TEST(DigestChallenge, PairListReading) {
    const PairCase cases[] = {
        {"rfc2617", "realm=\"testrealm@host.com\",qop=\"auth,auth-int\",nonce=\"dcd98b\",opaque=\"5ccc\"",
         {{"realm", "testrealm@host.com"}, {"qop", "auth,auth-int"}, {"nonce", "dcd98b"}, {"opaque", "5ccc"}}},
        {"equals in value", "nonce=\"YWJj==\",stale=FALSE", {{"nonce", "YWJj=="}, {"stale", "FALSE"}}},
        {"last name lower-cased", "Nonce=\"n\",Realm=\"r\"", {{"Nonce", "n"}, {"realm", "r"}}},
        {"blanks", "realm=\"a b\", nonce = \"n\" ,  qop=auth", {{"realm", "a b"}, {"nonce", "n"}, {"qop", "auth"}}},
        {"repeated name replaced", "nonce=\"1\",nonce=\"2\"", {{"nonce", "2"}}},
        {"comma without pair kept in name", "a=1,b,c=2", {{"a", "1"}, {"b,c", "2"}}},
        {"line end stops", "realm=\"r\"\r\nnonce=\"n\"", {{"realm", "r"}}},
        {"bare word and empty name dropped", "=x,realm=r,stale", {{"realm", "r"}}}, {"empty", "", {}},
        {"tab before a name trimmed", "a=1,\tb=2", {{"a", "1"}, {"b", "2"}}},
        {"text after the closing quote", "a=\"x\"y,b=2", {{"a", "xy"}, {"b", "2"}}},
        {"blank inside a bare value dropped", "a=x y,b=2", {{"a", "xy"}, {"b", "2"}}},
        {"comma and equals inside quotes", "a=\"p,q=r\",b=2", {{"a", "p,q=r"}, {"b", "2"}}},
        {"empty values", "a=,b=\"\",c=3", {{"a", ""}, {"b", ""}, {"c", "3"}}},
        {"line end inside quotes kept", "a=\"x\r\ny\",b=2", {{"a", "x\r\ny"}, {"b", "2"}}},
        {"line end after a comma", "a=1,\r\nb=2", {{"a", "1"}}},
        {"NUL inside quotes ends the value", std::string("a=\"x\0y\",b=2", 11), {{"a", "x"}, {"b", "2"}}},
    };
    for (const PairCase& c : cases) {
        KtHandle<KtSipDigestChallengeInfo> challenge =
            KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(static_cast<unsigned>(c.list.size()), c.list.data()));
        EXPECT_EQ(pairsOf(*challenge), c.expected) << c.name;
    }
}

TEST(DigestChallenge, BufferLimit) {
    // Name and value bytes are buffered; quotes, "=" and "," are not.
    const std::string fits = "n=\"" + std::string(1023, 'x') + "\"";
    EXPECT_EQ(KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(fits.c_str()))->getValue("n").length(), 1023u);
    for (const std::string& over : {"n=\"" + std::string(1024, 'x') + "\"", std::string(100000, ',') + "=",
                                    "a=\"" + std::string(5000, ' ') + "\""})
        EXPECT_EQ(thrown([&] { KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(over.c_str())); }),
                  "Buffer overflew !!!") << over.size() << " bytes";
}

TEST(DigestChallenge, BufferLimitCountsEveryPair) {
    // The limit holds for the bytes of the whole list, pair after pair.
    const std::string fits = "a=\"" + std::string(510, 'x') + "\",b=" + std::string(511, 'y') + ",c=";
    EXPECT_EQ(KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(fits.c_str()))->getValue("b").length(), 511u);
    const std::string over = "a=\"" + std::string(510, 'x') + "\",b=" + std::string(513, 'y') + ",c=";
    EXPECT_EQ(thrown([&] { KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(over.c_str())); }),
              "Buffer overflew !!!");
}

TEST(DigestChallenge, Serialization) {
    KtSipDigestChallengeInfo c("R");
    c.setValue("nonce", "N");
    c.setValue("algorithm", "MD5");
    c.setValue("qop", "auth");
    EXPECT_EQ(written(c), "realm=\"R\",nonce=\"N\",algorithm=MD5,qop=\"auth\"");
    KtHandle<KtSipDigestChallengeInfo> parsed = KtSipDigestChallengeInfo::sCreateFrom(
        KtByteArray::sCreate("domain=\"sip:a sip:b\",STALE=true,Uri=sip:x,opaque=\"o\""));
    EXPECT_EQ(written(*parsed), "domain=\"sip:a sip:b\",STALE=true,Uri=sip:x,opaque=\"o\"");
}

TEST(DigestChallenge, SchemeFactory) {
    KtHandle<KtByteArray> list = KtByteArray::sCreate("realm=\"r\"");
    EXPECT_EQ(KtSipChallengeInfo::constructFrom("digest", list)->getRealm(), "r");
    EXPECT_EQ(KtSipChallengeInfo::constructFrom("DIGEST", list)->getType(), "Digest");
    for (const char* scheme : {"Basic", "", "Digestx"})
        EXPECT_EQ(thrown([&] { KtSipChallengeInfo::constructFrom(scheme, list); }), "Challenge type not supported !")
            << scheme;
}

TEST(DigestChallenge, HeaderLines) {
    struct Row { std::string line; HeaderID id; std::string written; } rows[] = {
        {"WWW-Authenticate:  Digest realm=\"a, b\",qop=\"auth,auth-int\",nonce=\"n\"\r\n", HeaderWWWAuthenticate,
         "WWW-Authenticate: Digest realm=\"a, b\",qop=\"auth,auth-int\",nonce=\"n\"\r\n"},
        {"proxy-authenticate: digest Realm=\"r\", algorithm=MD5-sess,\r\n Nonce=\"n\"\r\n", HeaderProxyAuthenticate,
         "proxy-authenticate: Digest Realm=\"r\",algorithm=MD5-sess,nonce=\"n\"\r\n"},
    };
    for (const Row& row : rows) {
        KtHandle<KtSipHeader> h = parseHeaderText(row.line);
        ASSERT_EQ(h->getHeaderID(), row.id) << row.line;
        EXPECT_TRUE(h->getNext().isNil()) << "split at a comma: " << row.line;
        EXPECT_EQ(written(*h), row.written);
        KtHandle<KtSipAuthenticateHeader> a = h.dynamicCast<KtSipAuthenticateHeader>();
        ASSERT_FALSE(a.isNil());
        EXPECT_EQ(a->getChallengeType(), "Digest");
        // A clone owns its own challenge.
        KtHandle<KtSipHeader> copy = h->clone();
        a->getChallenge().dynamicCast<KtSipDigestChallengeInfo>()->setValue("nonce", "changed");
        EXPECT_EQ(written(*copy), row.written);
    }
    EXPECT_EQ(KtSipWWWAuthenticateHeader::sToken, "WWW-Authenticate");
    EXPECT_EQ(KtSipProxyAuthenticateHeader::sToken, "Proxy-Authenticate");
    EXPECT_EQ(thrown([] { parseHeaderLine("WWW-Authenticate: Basic realm=\"r\""); }), "Challenge type not supported !");
}

// The value after the colon is read in place when its line end lies in the stream's window and
// collected otherwise (here a window growing a byte at a time): both give the same header.
// The value ends at its line end or at a NUL, and the scheme at the first space or tab.
TEST(DigestChallenge, ValueReadInPlaceOrCollected) {
    struct Row { const char* name; std::string value; std::string written; } rows[] = {
        {"WWW-Authenticate", " Digest realm=\"r\", nonce=\"n\"\r\n",
         "WWW-Authenticate: Digest realm=\"r\",nonce=\"n\"\r\n"},
        {"WWW-Authenticate", "Digest\trealm=\"r\"\r\n", "WWW-Authenticate: Digest realm=\"r\"\r\n"},
        {"WWW-Authenticate", std::string("Digest realm=\"r\"\0, nonce=\"n\"\r\n", 29),
         "WWW-Authenticate: Digest realm=\"r\"\r\n"},
        {"Proxy-Authenticate", "digest\r\n", "Proxy-Authenticate: Digest \r\n"},
        {"Proxy-Authenticate", "Digest  realm=\"r\"\r\r\n", "Proxy-Authenticate: Digest realm=\"r\r\"\r\n"},
        {"Authorization", "Digest username=\"u\",\trealm=r, response=\"x\"\n",
         "Authorization: Digest username=\"u\",realm=\"r\",nonce=\"\",response=\"x\",uri=\"\"\r\n"},
        {"Proxy-Authorization", "  DIGEST response=\"x\"",
         "Proxy-Authorization: Digest username=\"\",realm=\"\",nonce=\"\",response=\"x\",uri=\"\"\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + (": " + row.value));
        for (int collected = 0; collected < 2; ++collected) {
            KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(row.name));
            KtByteArrayInputStream whole = kttest::streamOf(row.value);
            kttest::GrowingStream growing(row.value);
            h->parseRest(collected ? static_cast<KtInputStream&>(growing) : whole);
            EXPECT_EQ(written(*h), row.written);
        }
    }
    for (const char* name : {"WWW-Authenticate", "Authorization"}) {
        const std::string nulFirst("\0Digest realm=\"r\"\r\n", 19);
        for (const std::string& value : std::vector<std::string>{"", "\r\n", nulFirst, "Basic\r\n"}) {
            kttest::GrowingStream growing(value);
            KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(name));
            EXPECT_EQ(thrown([&] { h->parseRest(growing); }),
                      name[0] == 'W' ? "Challenge type not supported !" : "Credentials type not supported !");
        }
    }
}

}  // namespace
