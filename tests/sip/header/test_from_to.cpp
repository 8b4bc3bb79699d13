// From and To: header lines through the registry, the address check, the constructors.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <string>
#include <typeinfo>
#include <vector>

#include "KtSipFromHeader.h"
#include "KtSipToHeader.h"
#include "KtTelURL.h"

namespace {

using namespace kttest;

const std::type_info* const kFrom = &typeid(KtSipFromHeader);
const std::type_info* const kTo = &typeid(KtSipToHeader);

TEST(FromToHeaders, LinesParseCheckAndWriteBack) {
    const HeaderRow rows[] = {
        {"quoted display name and tag", "From: \"Alice\" <sip:alice@atlanta.com>;tag=1928301774", kFrom, 2,
         {"\"Alice\" <sip:alice@atlanta.com>;tag=1928301774"}},
        {"escaped quote kept", "To: \"A \\\"B\\\" C\" <sip:b@h>", kTo, 3, {"\"A \\\"B\\\" C\" <sip:b@h>"}},
        {"compact f keeps its name", "f: Bob <sip:bob@b.com>", kFrom, 2, {"Bob <sip:bob@b.com>"}, ""},
        {"compact t", "t: <sip:carol@c.com>;tag=x", kTo, 3, {"<sip:carol@c.com>;tag=x"}, ""},
        {"transport dropped, user kept, tag kept", "To: <sip:a@b;transport=udp;user=phone>;tag=1", kTo, 3,
         {"<sip:a@b;user=phone>;tag=1"}},
        {"maddr and ttl dropped, headers cleared", "From: <sip:a@b;maddr=1.2.3.4;ttl=5?subject=hi>", kFrom, 2,
         {"<sip:a@b>"}},
        {"URL headers kept without URL parameters", "From: <sip:a@b?subject=hi>;tag=2", kFrom, 2,
         {"<sip:a@b?subject=hi>;tag=2"}},
        {"tel URI untouched", "From: <tel:+1-212-555-0100;phone-context=x>;tag=9", kFrom, 2,
         {"<tel:+1-212-555-0100;phone-context=x>;tag=9"}},
        {"bare URI: parameters belong to the header", "From: sip:a@b;tag=1", kFrom, 2, {"<sip:a@b>;tag=1"}},
        {"no parameters, no separator", "To: <sip:a@b>", kTo, 3, {"<sip:a@b>"}, ""},
        {"space before parameters", "To: <sip:a@b> ;tag=7", kTo, 3, {"<sip:a@b>;tag=7"}},
        {"comma inside quotes does not split", "From: \"Doe, John\" <sip:j@d>;tag=3", kFrom, 2,
         {"\"Doe, John\" <sip:j@d>;tag=3"}},
        {"comma after parameters splits", "From: <sip:a@b>;tag=1, <sip:c@d>;tag=2", kFrom, 2,
         {"<sip:a@b>;tag=1", "<sip:c@d>;tag=2"}, "From: <sip:a@b>;tag=1\r\nFrom: <sip:c@d>;tag=2\r\n"},
    };
    for (const HeaderRow& row : rows) checkHeaderRow(row);
    // No URI, an empty value, an unclosed quote, a scheme other than sip.
    checkRefused({{"From: Alice", "URL not specified"}, {"To: ", "URL not specified"},
                  {"From: \"Alice <sip:a@b>", "Invalid quote in KtSipNameAddress"},
                  {"To: <sipx:a@b>", "Scheme is not SIP"}});
}

TEST(FromToHeaders, OverlongValuesAreRefusedNotOverrun) {
    EXPECT_EQ("Invalid SIP Name Address",
              thrown<KtSipParseError>([] { KtSipFromHeader((std::string(1100, 'x') + " <sip:a@b>").c_str()); }));
    // Long parameters are the parameter list's concern; the header must neither crash nor lose them.
    const std::string value(900, 'v');
    EXPECT_EQ(value, KtSipToHeader(("<sip:a@b>;tag=" + value).c_str()).getTag().c_str());
}

TEST(FromToHeaders, TextConstructorChecksAndWritesFullName) {
    EXPECT_EQ("From: Bob <sip:bob@h;lr>;tag=5\r\n", written(KtSipFromHeader("Bob <sip:bob@h;transport=tcp;lr>;tag=5")));
    EXPECT_EQ("To: <sip:x@y>\r\n", written(KtSipToHeader("<sip:x@y>")));
    EXPECT_THROW(KtSipToHeader(nullptr), KtException);
}

TEST(FromToHeaders, NameAddressConstructorClonesAndChecks) {
    KtHandle<KtSipNameAddress> address = new KtSipNameAddress();
    address->parse("\"Al\" <sip:al@h;ttl=3;user=ip>");
    KtHandle<KtParameters> parameters = new KtParameters();
    parameters->setValue("tag", "abc");
    KtSipFromHeader from(address, parameters);
    EXPECT_STREQ("\"Al\" <sip:al@h;user=ip>;tag=abc", from.getValueString().c_str());
    // The header stripped its own copy, and later edits of the arguments do not reach it.
    EXPECT_STREQ("3", address->getURL()->getParameter("ttl").c_str());
    parameters->setValue("tag", "changed");
    EXPECT_STREQ("abc", from.getTag().c_str());

    KtHandle<KtSipNameAddress> none;
    EXPECT_EQ("Invalid From header", thrown<KtSipParseError>([&] { KtSipFromHeader bad(none, parameters); }));
    EXPECT_EQ("Invalid To header", thrown<KtSipParseError>([&] { KtSipToHeader bad(none, KtHandle<KtParameters>()); }));
}

TEST(FromToHeaders, URLConstructorEditsTheCallersURLInPlace) {
    KtHandle<KtSipURL> withParameters = new KtSipURL("sip:u@h;maddr=10.0.0.1;user=phone?x=1");
    KtSipToHeader to(withParameters, KtHandle<KtParameters>());
    EXPECT_STREQ("sip:u@h;user=phone", withParameters->getString().c_str());
    EXPECT_STREQ("<sip:u@h;user=phone>", to.getValueString().c_str());
    EXPECT_TRUE(to.getParameters()->empty());

    KtHandle<KtSipURL> headersOnly = new KtSipURL("sip:u@h?x=1");
    KtSipFromHeader from(headersOnly, KtHandle<KtParameters>());
    EXPECT_EQ(1, headersOnly->numHeaders());
    EXPECT_TRUE(from.getNameAddress()->getURI().get() == headersOnly.get());
    EXPECT_THROW(KtSipFromHeader(KtHandle<KtSipURL>(), KtHandle<KtParameters>()), KtSipParseError);
}

TEST(FromToHeaders, CloneIsDeepAndAlone) {
    KtHandle<KtSipToHeader> original = parseAs<KtSipToHeader>("To: \"T\" <sip:t@h>;tag=1, <sip:u@h>");
    ASSERT_FALSE(original->getNext().isNil());
    KtHandle<KtSipHeader> copy = original->clone();
    EXPECT_TRUE(copy->getNext().isNil());
    KtSipToHeader* clone = dynamic_cast<KtSipToHeader*>(copy.get());
    ASSERT_TRUE(clone);
    EXPECT_NE(original->getNameAddress().get(), clone->getNameAddress().get());
    EXPECT_NE(original->getNameAddress()->getURI().get(), clone->getNameAddress()->getURI().get());
    clone->setTag("2");
    EXPECT_STREQ("1", original->getTag().c_str());
    EXPECT_EQ("To: \"T\" <sip:t@h>;tag=2\r\n", written(*copy));
    EXPECT_STREQ("tag", KtSipToHeader::sTagToken.c_str());
}

}  // namespace
