// The name-address: display names, bracketed and bare URIs, output form.
#include <gtest/gtest.h>

#include <string>

#include "KtSipNameAddress.h"
#include "KtSipParseError.h"
#include "KtTelURL.h"
#include "TestSupport.h"

namespace {

std::string written(const KtHandle<KtSipNameAddress>& na) {
    KtByteArrayOutputStream out;
    out << na;
    return std::string(out.data(), out.size());
}

// Input; display name, angle brackets, URI, text written, text left in the stream.
struct Case { const char *name, *input, *display; bool angle; const char *uri, *output, *rest; };

TEST(KtSipNameAddress, Parse) {
    const Case cases[] = {
        {"quoted name with escaped quotes", "\"Bob \\\"B\\\" Smith\" <sip:bob@b>", "\"Bob \\\"B\\\" Smith\"", true,
         "sip:bob@b", "\"Bob \\\"B\\\" Smith\" <sip:bob@b>", ""},
        {"escaped backslash before the closing quote", "\"a\\\\\" <sip:x@y>", "\"a\\\\\"", true, "sip:x@y",
         "\"a\\\\\" <sip:x@y>", ""},
        {"quoted name with < and :", "\"Q \\\"<a:b>\"<sip:x@y>", "\"Q \\\"<a:b>\"", true, "sip:x@y",
         "\"Q \\\"<a:b>\" <sip:x@y>", ""},
        {"token name trimmed", "Bob <sip:gw1>", "Bob", true, "sip:gw1", "Bob <sip:gw1>", ""},
        {"several tokens", "  J  Rosenberg\t<sip:j@e>;tag=1", "J  Rosenberg", true, "sip:j@e",
         "J  Rosenberg <sip:j@e>", ";tag=1"},
        {"bare URI", "sip:gw1", "", false, "sip:gw1", "<sip:gw1>", ""},
        {"brackets without name", "<sip:gw1>", "", true, "sip:gw1", "<sip:gw1>", ""},
        {"bare URI leaves its parameters", "sip:gw2;tag=1", "", false, "sip:gw2", "<sip:gw2>", ";tag=1"},
        {"bracketed URI keeps its parameters", "<sip:a@b;lr>;expires=3, sip:c@d", "", true, "sip:a@b;lr",
         "<sip:a@b;lr>", ";expires=3, sip:c@d"},
        {"tel URI", "Fax <tel:+1-212;ext=1>", "Fax", true, "tel:+1-212;ext=1", "Fax <tel:+1-212;ext=1>", ""},
        {"generic URI", "<mailto:bob@b>;x", "", true, "mailto:bob@b", "<mailto:bob@b>", ";x"},
        {"two quoted strings", "\"a\" \"b\" <sip:x@y>", "\"a\" \"b\"", true, "sip:x@y", "\"a\" \"b\" <sip:x@y>", ""},
        // Without brackets the URI is read from the closing quote of the last quoted string.
        {"bare URI after a quoted name", "\"A\" sip:x@y;tag=1", "", false, "\" sip:x@y;tag=1",
         "<\" sip:x@y;tag=1>", ""},
        {"bare URI after tokens", "A b sip:x@y", "", false, "A b sip:x@y", "<A b sip:x@y>", ""},
    };
    // Each input is read where it stands and through a stream whose window always ends at
    // the byte being read (the text gathered across refills): both give the same.
    for (const Case& c : cases) {
        for (bool inPlace : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (inPlace ? " (in place)" : " (growing window)"));
            KtHandle<KtSipNameAddress> na;
            KtByteArrayInputStream whole = kttest::streamOf(c.input);
            kttest::GrowingStream growing(c.input);
            KtInputStream& in = inPlace ? static_cast<KtInputStream&>(whole) : growing;
            in >> na;
            ASSERT_FALSE(na.isNil());
            EXPECT_STREQ(c.display, na->getDisplayName().c_str());
            EXPECT_EQ(c.angle, na->getAngleBrackets());
            EXPECT_STREQ(c.uri, na->getURI()->getString().c_str());
            EXPECT_EQ(c.output, written(na));
            EXPECT_EQ(c.rest, kttest::drain(in));
        }
    }
}

TEST(KtSipNameAddress, DisplayNameKeepsNulBytes) {
    const char text[] = "\"N\\\0L\" <sip:a@b>";
    KtByteArrayInputStream in(text, sizeof text - 1);
    KtSipNameAddress na;
    na.parse(in);
    EXPECT_EQ(std::string("\"N\\\0L\"", 6), std::string(na.getDisplayName().c_str(), na.getDisplayName().length()));
}

TEST(KtSipNameAddress, Errors) {
    // The stream stands where the reader gave up: callers go on reading from there.
    struct ErrorCase { std::string input; const char *message, *rest; } cases[] = {
        {"Bob\r\n<sip:a@b>", "URL not specified", "<sip:a@b>"},
        {"\"Bob <sip:a@b>", "Invalid quote in KtSipNameAddress", ""},
        {std::string(1024, 'n') + "<sip:a@b>", "Invalid SIP Name Address", "<sip:a@b>"},
        {"\"" + std::string(1023, 'n') + "\"<sip:a@b>", "Invalid SIP Name Address", "<sip:a@b>"},
        {"\"" + std::string(1024, 'n') + "\"<sip:a@b>", "Invalid SIP Name Address", "\"<sip:a@b>"},
        {"\"a\" " + std::string(1021, 'n') + ":x", "Invalid SIP Name Address", "n:x"},
        {"<sip:a@b", "Sip URL wrong format", ""},
    };
    for (const ErrorCase& c : cases) {
        for (bool inPlace : {true, false}) {
            KtByteArrayInputStream whole = kttest::streamOf(c.input.c_str());
            kttest::GrowingStream growing(c.input.c_str());
            KtInputStream& in = inPlace ? static_cast<KtInputStream&>(whole) : growing;
            EXPECT_EQ(c.message, kttest::thrown<KtSipParseError>([&] { KtSipNameAddress().parse(in); }))
                << c.input.substr(0, 40);
            EXPECT_EQ(c.rest, kttest::drain(in)) << c.input.substr(0, 40);
        }
    }
    // The display name read before a line end is kept as it was, untrimmed.
    KtSipNameAddress na;
    EXPECT_THROW(na.parse("Bob \r\n"), KtSipParseError);
    EXPECT_STREQ("Bob \r", na.getDisplayName().c_str());
    // 1023 characters in front of the URI still fit.
    na.parse((std::string(1023, 'n') + "<sip:a@b>").c_str());
    EXPECT_EQ(1023u, na.getDisplayName().length());
}

TEST(KtSipNameAddress, GetURL) {
    KtSipNameAddress sip;
    sip.parse("<sip:a@b>");
    ASSERT_FALSE(sip.getURL().isNil());
    EXPECT_STREQ("b", sip.getURL()->getHost().c_str());
    KtSipNameAddress tel;
    tel.parse("<tel:+1>");
    EXPECT_TRUE(tel.getURL().isNil());
    EXPECT_TRUE(KtSipNameAddress().getURL().isNil());
}

TEST(KtSipNameAddress, ConstructionAndCopy) {
    KtHandle<KtURI> url = new KtSipURL("sip:a@b;p=1");
    KtHandle<KtSipNameAddress> named = new KtSipNameAddress("Al", url);
    EXPECT_TRUE(named->getAngleBrackets());
    EXPECT_TRUE(named->getURIInBracket());
    EXPECT_EQ(url.get(), named->getURI().get());
    EXPECT_FALSE(KtSipNameAddress("", url).getAngleBrackets());
    EXPECT_FALSE(KtSipNameAddress().getURIInBracket());

    KtHandle<KtSipNameAddress> copy = named->clone();
    EXPECT_NE(url.get(), copy->getURI().get());
    EXPECT_EQ(named->getDisplayName().get(), copy->getDisplayName().get());
    copy->getURL()->setParameter("p", "2");
    EXPECT_STREQ("Al <sip:a@b;p=1>", named->getString().c_str());
    EXPECT_STREQ("Al <sip:a@b;p=2>", copy->getString().c_str());

    // With the in-bracket flag, a bare URI keeps its parameters.
    KtSipNameAddress bare;
    bare.setURIInBracket(true);
    bare.parse("sip:gw2;lr");
    EXPECT_STREQ("<sip:gw2;lr>", bare.getString().c_str());
    EXPECT_EQ("", written(KtHandle<KtSipNameAddress>()));

    // Without a URI of its own a name-address holds an empty generic URI: the same one on
    // every call, written as ":", replaced by setURI and back after setURI(nil).
    KtSipNameAddress empty;
    const KtHandle<KtURI> placeholder = empty.getURI();
    ASSERT_FALSE(placeholder.isNil());
    EXPECT_FALSE(placeholder->isSipURL());
    EXPECT_EQ(placeholder.get(), empty.getURI().get());
    EXPECT_STREQ("<:>", empty.getString().c_str());
    EXPECT_STREQ("<:>", KtHandle<KtSipNameAddress>(empty.clone())->getString().c_str());
    empty.setURI(url);
    EXPECT_EQ(url.get(), empty.getURI().get());
    empty.setURI(KtHandle<KtURI>());
    EXPECT_FALSE(empty.getURI().isNil());
    EXPECT_STREQ("<:>", empty.getString().c_str());
}

}  // namespace
