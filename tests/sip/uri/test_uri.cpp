// Scheme dispatch, the generic URI, the scheme registry and the tel: URL.
#include <gtest/gtest.h>

#include <string>

#include "KtException.h"
#include "KtSipParseError.h"
#include "KtSipURL.h"
#include "KtTelURL.h"
#include "KtURI.h"
#include "TestSupport.h"

namespace {

using kttest::rest;
using kttest::thrown;

enum Kind { Sip, Tel, Generic };

// Input read with or without the in-bracket flag; class, scheme, getString(), in-bracket flag
// and the text left in the stream afterwards.
struct DispatchCase { const char *name, *input; bool inBracket; Kind kind; const char *scheme, *text;
                      bool inBracketAfter; const char* rest; };

TEST(KtURIDispatch, ChoosesClassByFirstThreeLetters) {
    const DispatchCase cases[] = {
        {"space and bracket skipped, case ignored", " <SIP:alice>", false, Sip, "SIP", "sip:alice", false, ""},
        {"request line", "sip:bob@b.example\r\n", true, Sip, "sip", "sip:bob@b.example", true, "\r\n"},
        {"scheme starting with tel", "telnet://x", false, Tel, "tel", "tel://x", false, ""},
        {"tel in brackets", "<tel:+1234>;tag=1", true, Tel, "tel", "tel:+1234", true, ";tag=1"},
        {"unknown scheme ignores the flag", "mailto:bob", true, Generic, "mailto", "mailto:bob", false, ""},
        {"bracketed generic", "<urn:x:y>;p=1", false, Generic, "urn", "urn:x:y", false, ";p=1"},
        {"generic stops at line end", "im:a b\r\n", false, Generic, "im", "im:a b", false, "\r\n"},
        {"generic parts trimmed", "< urn : a b >", false, Generic, "urn", "urn:a b", false, ""},
        {"blanks between the letters are skipped too", "t e\tl:+1", false, Tel, "tel", "tel:+1", false, ""},
    };
    // Read where the text stands and through a window that always ends at the byte read.
    for (const DispatchCase& c : cases) {
        for (bool inPlace : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (inPlace ? " (in place)" : " (growing window)"));
            KtByteArrayInputStream whole = kttest::streamOf(c.input);
            kttest::GrowingStream growing(c.input);
            KtInputStream& in = inPlace ? static_cast<KtInputStream&>(whole) : growing;
            KtHandle<KtURI> uri = KtURI::sConstructFrom(in, c.inBracket);
            ASSERT_FALSE(uri.isNil());
            EXPECT_EQ(c.kind == Sip, uri->isSipURL());
            EXPECT_EQ(c.kind == Tel, dynamic_cast<KtTelURL*>(uri.get()) != nullptr);
            EXPECT_STREQ(c.scheme, uri->getScheme().c_str());
            EXPECT_STREQ(c.text, uri->getString().c_str());
            EXPECT_EQ(c.inBracketAfter, uri->isInBracket());
            EXPECT_EQ(c.rest, kttest::drain(in));
        }
    }
}

TEST(KtURIDispatch, Errors) {
    const char* cases[][2] = {{"foo", "INVALID URI"},  {"", "INVALID URI"}, {"<foo", "INVALID URI"},
                              {"ab", "INVALID URI"}, {"sips:bob@b", "Scheme is not SIP"}};
    for (const auto& c : cases) {
        KtByteArrayInputStream in = kttest::streamOf(c[0]);
        EXPECT_EQ(c[1], thrown([&] { KtURI::sConstructFrom(in, true); })) << c[0];
        kttest::GrowingStream growing(c[0]);
        EXPECT_EQ(c[1], thrown([&] { KtURI::sConstructFrom(growing, true); })) << c[0] << " (growing window)";
    }
}

KtURI* otherFactory() { return new KtURI(); }

TEST(KtURIRegistry, FirstRegistrationWinsWithoutCase) {
    KtURI::sAddConstructor("SIP", &otherFactory);
    KtHandle<KtURI> sip = KtURI::sConstruct("Sip");
    EXPECT_TRUE(sip->isSipURL());
    KtHandle<KtURI> tel = KtURI::sConstruct("TEL");
    EXPECT_NE(nullptr, dynamic_cast<KtTelURL*>(tel.get()));
    EXPECT_STREQ("tel", tel->getScheme().c_str());
    KtHandle<KtURI> other = KtURI::sConstruct("mailto");
    EXPECT_FALSE(other->isSipURL());
    EXPECT_STREQ("mailto", other->getScheme().c_str());
    EXPECT_TRUE(other->getSchemeData().empty());
}

// Input; number, global flag, a parameter (name null when none is expected), getString(), text left.
struct TelCase { const char *name, *input, *number; bool global; const char *paramName, *paramValue, *text, *rest; };

TEST(KtTelURL, Parse) {
    const TelCase cases[] = {
        {"bare: parameters left to the header", "tel:+1-212-555-0100;phone-context=x", "+1-212-555-0100", true,
         nullptr, nullptr, "tel:+1-212-555-0100", "phone-context=x"},
        {"bracketed: parameters kept", "<tel:+1-212-555-0100;phone-context=x>;tag=2", "+1-212-555-0100", true,
         "phone-context", "x", "tel:+1-212-555-0100;phone-context=x", ";tag=2"},
        {"local number", "tel:5550100", "5550100", false, nullptr, nullptr, "tel:5550100", ""},
        {"line end consumed, number trimmed", "tel: 5550100 \r\nX", "5550100", false, nullptr, nullptr,
         "tel:5550100", "X"},
        {"two parameters", "<tel:+49;a=1;b>", "+49", true, "a", "1", "tel:+49;a=1;b", ""},
        {"no colon", "tel", "", false, nullptr, nullptr, "tel:", ""},
    };
    for (const TelCase& c : cases) {
        SCOPED_TRACE(c.name);
        KtTelURL tel;
        KtByteArrayInputStream in = kttest::streamOf(c.input);
        tel.parse(in);
        EXPECT_STREQ(c.number, tel.getNumber().c_str());
        EXPECT_EQ(c.global, tel.isGlobal());
        EXPECT_EQ(c.paramName != nullptr, tel.hasParameters());
        if (c.paramName) {
            EXPECT_STREQ(c.paramValue, tel.getParameter(c.paramName).c_str());
        }
        EXPECT_FALSE(tel.hasHeaders());
        EXPECT_STREQ(c.text, tel.getString().c_str());
        EXPECT_EQ(c.rest, rest(in));
    }
}

TEST(KtTelURL, BufferHoldsAtMost1023Characters) {
    // The scheme letters are buffered too: "tel" plus 1020 digits fill the buffer exactly.
    EXPECT_EQ(1020u, KtTelURL(("tel:" + std::string(1020, '5')).c_str()).getNumber().length());
    const std::string tooLong = "tel:" + std::string(1021, '5');
    EXPECT_EQ("Invalid TelURL", thrown<KtSipParseError>([&] { KtTelURL bad(tooLong.c_str()); }));
}

TEST(KtTelURL, CloneCopiesParameters) {
    KtTelURL tel("<tel:+1;a=1>");
    KtHandle<KtTelURL> copy = tel.clone();
    copy->getParameters()->setValue("a", "2");
    EXPECT_STREQ("1", tel.getParameter("a").c_str());
    EXPECT_TRUE(copy->isGlobal());
    EXPECT_FALSE(copy->isSipURL());
}

}  // namespace
