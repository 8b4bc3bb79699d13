// Building requests from parts, and the Call-ID, CSeq and tag generators.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <regex>
#include <typeinfo>

#include "KtDate.h"
#include "KtInetAddress.h"
#include "KtSipCSeq.h"
#include "KtSipCallIdHeader.h"
#include "KtSipCallid.h"
#include "KtSipTag.h"
#include "MessageTestSupport.h"

using namespace kttest;

namespace {

const char* const kFrom = "\"Alice\" <sip:alice@a.example>;tag=88";
const char* const kTo = "<sip:bob@b.example>";
const char* const kContact = "<sip:alice@10.0.0.1:5070>";

KtHandle<KtSipFromHeader> from() { return new KtSipFromHeader(kFrom); }
KtHandle<KtSipToHeader> to(const char* text = kTo) { return new KtSipToHeader(text); }
KtHandle<KtSipContactHeader> contact() { return new KtSipContactHeader(kContact); }

// The dialog headers every form writes with Call-ID c1 and CSeq 5 (method substituted).
std::string dialog(const std::string& method, bool withContact = true) {
    return std::string("From: \"Alice\" <sip:alice@a.example>;tag=88\r\nTo: <sip:bob@b.example>\r\n") +
           (withContact ? "Contact: <sip:alice@10.0.0.1:5070>\r\n" : "") + "Call-ID: c1\r\nCSeq: 5 " + method + "\r\n";
}

TEST(RequestBuild, EachFormWritesItsHeadersInOrder) {
    struct Row { const char* name; std::function<KtSipRequest*()> build; std::string wire; };
    const KtString invite("INVITE");
    const Row rows[] = {
        {"form 2: texts", [&] { return new KtSipRequest(invite, kFrom, kTo, kContact, "c1", 5); },
         "INVITE sip:bob@b.example SIP/2.0\r\n" + dialog("INVITE") + "Content-Length: 0\r\n\r\n"},
        {"form 2: empty contact, a body",
         [&] { return new KtSipRequest(invite, kFrom, kTo, "", "c1", 5, "text/plain", "abc", 3); },
         "INVITE sip:bob@b.example SIP/2.0\r\n" + dialog("INVITE", false) +
             "Content-Length: 3\r\nContent-Type: text/plain\r\n\r\nabc"},
        {"form 2: length 0 ignores body and type",
         [&] { return new KtSipRequest(invite, kFrom, kTo, nullptr, "c1", 5, "text/plain", "abc", 0); },
         "INVITE sip:bob@b.example SIP/2.0\r\n" + dialog("INVITE", false) + "Content-Length: 0\r\n\r\n"},
        {"form 3: header objects; To URI headers stay in the URI",
         [&] { return new KtSipRequest(invite, from(), to("<sip:bob@b.example?Subject=hi>"), contact(), "c1", 5); },
         "INVITE sip:bob@b.example?Subject=hi SIP/2.0\r\nFrom: \"Alice\" <sip:alice@a.example>;tag=88\r\n"
         "To: <sip:bob@b.example?Subject=hi>\r\nContact: <sip:alice@10.0.0.1:5070>\r\nCall-ID: c1\r\nCSeq: 5 INVITE\r\n"
         "Content-Length: 0\r\n\r\n"},
        {"form 4: target's URI headers become headers",
         [&] {
             KtHandle<KtSipNameAddress> target(new KtSipNameAddress("Bob", new KtSipURL("sip:bob@gw.example?Subject=hi")));
             return new KtSipRequest(KtString("MESSAGE"), target, from(), to(), nullptr, "c1", 5);
         },
         "MESSAGE sip:bob@gw.example SIP/2.0\r\n" + dialog("MESSAGE", false) + "Content-Length: 0\r\nSubject: hi\r\n\r\n"},
        {"form 5: the URI's body replaces the given one",
         [&] {
             return new KtSipRequest(KtString("MESSAGE"), KtHandle<KtURI>(new KtSipURL("sip:gw.example?Subject=hi;body=hello")),
                                     from(), to(), contact(), "c1", 5, "text/plain", "abc", 3);
         },
         "MESSAGE sip:gw.example SIP/2.0\r\n" + dialog("MESSAGE") +
             "Content-Type: text/plain\r\nSubject: hi\r\nContent-Length: 5\r\n\r\nhello"},
        {"method class, form 2", [&] { return new KtSipInviteMessage(kFrom, kTo, kContact, "c1", 5); },
         "INVITE sip:bob@b.example SIP/2.0\r\n" + dialog("INVITE") + "Content-Length: 0\r\n\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        KtHandle<KtSipRequest> request(row.build());
        EXPECT_EQ(row.wire, wire(*request));
        EXPECT_TRUE(request->isValid());
    }
}

TEST(RequestBuild, SharingAndCopying) {
    // Form 3 adds the given objects and copies the To URI; form 5 shares the given URI.
    KtHandle<KtSipToHeader> given = to();
    KtHandle<KtSipRequest> copied(new KtSipRequest(KtString("INFO"), from(), given, nullptr, "c1", 5));
    EXPECT_EQ(given.get(), copied->mGetHeaderByID(HeaderTo).get());
    EXPECT_NE(given->getNameAddress()->getURI().get(), copied->getURI().get());
    KtHandle<KtURI> uri(new KtSipURL("sip:gw.example"));
    EXPECT_EQ(uri.get(), KtSipRequest(KtString("INFO"), uri, from(), to(), nullptr).getURI().get());
    const KtHandle<KtSipRequest> clone(KtSipInviteMessage(from(), to(), contact(), "c1", 5).clone());
    EXPECT_EQ(typeid(KtSipInviteMessage), typeid(*clone));
}

TEST(RequestBuild, Refusals) {
    struct Row { const char* name; std::function<void()> build; const char* message; };
    const KtString none, empty("");
    const Row rows[] = {
        {"form 1 nil", [&] { KtSipRequest r(none); }, "KtSipRequest constructor expects a Method Name"},
        {"form 1 empty", [&] { KtSipRequest r(empty); }, "KtSipRequest constructor expects a Method Name"},
        {"form 2", [&] { KtSipRequest r(empty, kFrom, kTo, kContact); }, "The SIP Method cannot be NULL or EMPTY"},
        {"form 3", [&] { KtSipRequest r(none, from(), to(), contact()); }, "The SIP Method cannot be NULL or EMPTY"},
        {"form 4", [&] { KtSipRequest r(empty, KtHandle<KtSipNameAddress>(new KtSipNameAddress()), from(), to(), nullptr); },
         "The SIP Method cannot be NULL or EMPTY"},
        {"form 5", [&] { KtSipRequest r(none, KtHandle<KtURI>(new KtSipURL("sip:x")), from(), to(), nullptr); },
         "The SIP Method cannot be NULL or EMPTY"},
        {"form 3 nil To", [&] { KtSipRequest r(KtString("BYE"), from(), nullptr, nullptr); },
         "KtSipRequest constructor expects a To header"},
        {"form 5 nil URI", [&] { KtSipRequest r(KtString("BYE"), KtHandle<KtURI>(), from(), to(), nullptr); },
         "KtSipRequest constructor expects a request URI"},
        {"tag prefix", [&] { KtSipTag t(std::string(KtSipTag::MAX_PREFIX_LENGTH + 1, 'p').c_str()); },
         "Tag prefix too long"},
    };
    for (const Row& row : rows)  // plain KtExceptions, no KtSipParseError
        EXPECT_EQ(row.message, kttest::thrownOtherThan<KtSipParseError>(row.build)) << row.name;
}

TEST(RequestBuild, GeneratedValues) {
    // Call-ID: UUID "@" host, new on every request; CSeq below 0xFFFFFF with the method.
    const std::string host = KtInetAddress::sGetLocalHost(250).getHostName();
    const std::regex callId("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}@" + host);
    std::string seen[2];
    for (std::string& value : seen) {
        KtSipRequest request(KtString("OPTIONS"), kFrom, kTo, nullptr, "", 0);
        value = request.mGetHeaderByID(HeaderCallId).dynamicCast<KtSipCallIdHeader>()->getValue().c_str();
        EXPECT_TRUE(std::regex_match(value, callId)) << value;
        const auto cseq = request.mGetHeaderByID(HeaderCSeq).dynamicCast<KtSipCSeqHeader>();
        EXPECT_LT(cseq->getNumber(), 16777215u);
        EXPECT_STREQ("OPTIONS", cseq->getMethod().c_str());
    }
    EXPECT_NE(seen[0], seen[1]);
    EXPECT_TRUE(std::regex_match(KtSipCallid(nullptr).c_str(), callId));
    EXPECT_STREQ("@h.example", KtSipCallid("h.example").c_str() + 36);

    // Tags: [prefix "-"] random "-" seconds, lower-case hex without leading zeros.
    KtSipTag tag("abc");
    const std::string first = tag.c_str();
    std::smatch m;
    ASSERT_TRUE(std::regex_match(first, m, std::regex("abc-([1-9a-f][0-9a-f]*|0)-([1-9a-f][0-9a-f]*)"))) << first;
    const unsigned long time = std::stoul(m[2].str(), nullptr, 16), now = KtTime::sGetCurrentTime().seconds;
    EXPECT_TRUE(time <= now && time + 5 >= now) << time << " " << now;
    KtHandle<KtSipTag> copy(tag.clone());
    tag.reGenerate(nullptr);
    EXPECT_TRUE(std::regex_match(tag.c_str(), std::regex("([1-9a-f][0-9a-f]*|0)-[1-9a-f][0-9a-f]*"))) << tag.c_str();
    EXPECT_EQ(first, copy->c_str()) << "a copy keeps its value";
}

// The generators draw from fixed seeds (123 for CSeq, 1 for tags): the first numbers of a
// process are always the same. The check runs in a freshly started copy of this program,
// where nothing has drawn before.
TEST(RequestBuildDeathTest, FirstDrawsOfAProcessAreFixed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    unsigned cseqSeed = 123, tagSeed = 1;
    const unsigned first = static_cast<unsigned>(rand_r(&cseqSeed)) % 16777215u;
    const unsigned second = static_cast<unsigned>(rand_r(&cseqSeed)) % 16777215u;
    char expected[96];
    std::snprintf(expected, sizeof expected, "cseq=%u,%u tag=%x-", first, second,
                  static_cast<unsigned>(rand_r(&tagSeed)));
    EXPECT_EXIT(
        {
            KtHandle<KtSipRequest> request(new KtSipRequest(KtString("OPTIONS"), kFrom, kTo, nullptr, "c1", 0));
            const unsigned drawn = request->mGetHeaderByID(HeaderCSeq).dynamicCast<KtSipCSeqHeader>()->getNumber();
            std::fprintf(stderr, "cseq=%u,%u tag=%s\n", drawn, KtSipCSeq().getValue(), KtSipTag(nullptr).c_str());
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), expected);
}

}  // namespace
