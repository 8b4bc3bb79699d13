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

using namespace ktsiptest;
using Row = HeaderRow;

KtHandle<KtSipHeader> parseLine(const std::string& line) { return parseHeaderLine(line); }
std::string serialized(const KtHandle<KtSipHeader>& header) { return written(*header); }
void checkRow(const Row& row) { checkHeaderRow(row); }

const std::type_info* const kFrom = &typeid(KtSipFromHeader);
const std::type_info* const kTo = &typeid(KtSipToHeader);

TEST(FromToHeaders, LinesParseCheckAndWriteBack) {
    const Row rows[] = {
        {"quoted display name and tag", "From: \"Alice\" <sip:alice@atlanta.com>;tag=1928301774", kFrom, 2,
         {"\"Alice\" <sip:alice@atlanta.com>;tag=1928301774"}, nullptr, nullptr},
        {"escaped quote kept", "To: \"A \\\"B\\\" C\" <sip:b@h>", kTo, 3, {"\"A \\\"B\\\" C\" <sip:b@h>"}, nullptr,
         nullptr},
        {"compact f keeps its name", "f: Bob <sip:bob@b.com>", kFrom, 2, {"Bob <sip:bob@b.com>"},
         "f: Bob <sip:bob@b.com>\r\n", nullptr},
        {"compact t", "t: <sip:carol@c.com>;tag=x", kTo, 3, {"<sip:carol@c.com>;tag=x"}, "t: <sip:carol@c.com>;tag=x\r\n",
         nullptr},
        {"transport dropped, user kept, tag kept", "To: <sip:a@b;transport=udp;user=phone>;tag=1", kTo, 3,
         {"<sip:a@b;user=phone>;tag=1"}, nullptr, nullptr},
        {"maddr and ttl dropped, headers cleared", "From: <sip:a@b;maddr=1.2.3.4;ttl=5?subject=hi>", kFrom, 2,
         {"<sip:a@b>"}, nullptr, nullptr},
        {"URL headers kept without URL parameters", "From: <sip:a@b?subject=hi>;tag=2", kFrom, 2,
         {"<sip:a@b?subject=hi>;tag=2"}, nullptr, nullptr},
        {"tel URI untouched", "From: <tel:+1-212-555-0100;phone-context=x>;tag=9", kFrom, 2,
         {"<tel:+1-212-555-0100;phone-context=x>;tag=9"}, nullptr, nullptr},
        {"bare URI: parameters belong to the header", "From: sip:a@b;tag=1", kFrom, 2, {"<sip:a@b>;tag=1"}, nullptr,
         nullptr},
        {"no parameters, no separator", "To: <sip:a@b>", kTo, 3, {"<sip:a@b>"}, "To: <sip:a@b>\r\n", nullptr},
        {"space before parameters", "To: <sip:a@b> ;tag=7", kTo, 3, {"<sip:a@b>;tag=7"}, nullptr, nullptr},
        {"comma inside quotes does not split", "From: \"Doe, John\" <sip:j@d>;tag=3", kFrom, 2,
         {"\"Doe, John\" <sip:j@d>;tag=3"}, nullptr, nullptr},
        {"comma after parameters splits", "From: <sip:a@b>;tag=1, <sip:c@d>;tag=2", kFrom, 2,
         {"<sip:a@b>;tag=1", "<sip:c@d>;tag=2"}, "From: <sip:a@b>;tag=1\r\nFrom: <sip:c@d>;tag=2\r\n", nullptr},
        {"no URI", "From: Alice", kFrom, 2, {}, nullptr, "URL not specified"},
        {"empty value", "To: ", kTo, 3, {}, nullptr, "URL not specified"},
        {"unclosed quote", "From: \"Alice <sip:a@b>", kFrom, 2, {}, nullptr, "Invalid quote in KtSipNameAddress"},
        {"scheme other than sip refused", "To: <sipx:a@b>", kTo, 3, {}, nullptr, "Scheme is not SIP"},
    };
    for (const Row& row : rows) checkRow(row);
}

TEST(FromToHeaders, OverlongValuesAreRefusedNotOverrun) {
    const std::string name(1100, 'x');
    try {
        KtSipFromHeader from((name + " <sip:a@b>").c_str());
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid SIP Name Address", e.getMessage());
    }
    // Long parameters are the parameter list's concern; the header must neither crash nor lose them.
    const std::string value(900, 'v');
    KtSipToHeader to(("<sip:a@b>;tag=" + value).c_str());
    EXPECT_EQ(value, to.getTag().c_str());
}

TEST(FromToHeaders, TextConstructorChecksAndWritesFullName) {
    KtHandle<KtSipHeader> from = new KtSipFromHeader("Bob <sip:bob@h;transport=tcp;lr>;tag=5");
    EXPECT_EQ("From: Bob <sip:bob@h;lr>;tag=5\r\n", serialized(from));
    KtHandle<KtSipHeader> to = new KtSipToHeader("<sip:x@y>");
    EXPECT_EQ("To: <sip:x@y>\r\n", serialized(to));
    EXPECT_THROW(KtSipToHeader(nullptr), KtException);
}

TEST(FromToHeaders, NameAddressConstructorClonesAndChecks) {
    KtHandle<KtSipNameAddress> address = new KtSipNameAddress();
    address->parse("\"Al\" <sip:al@h;ttl=3;user=ip>");
    KtHandle<KtParameters> parameters = new KtParameters();
    parameters->setValue("tag", "abc");
    KtSipFromHeader from(address, parameters);
    EXPECT_EQ("\"Al\" <sip:al@h;user=ip>;tag=abc", std::string(from.getValueString().c_str()));
    // The header stripped its own copy, and later edits of the arguments do not reach it.
    EXPECT_EQ("3", std::string(address->getURL()->getParameter("ttl").c_str()));
    parameters->setValue("tag", "changed");
    EXPECT_EQ("abc", std::string(from.getTag().c_str()));

    KtHandle<KtSipNameAddress> none;
    try {
        KtSipFromHeader bad(none, parameters);
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid From header", e.getMessage());
    }
    try {
        KtSipToHeader bad(none, KtHandle<KtParameters>());
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid To header", e.getMessage());
    }
}

TEST(FromToHeaders, URLConstructorEditsTheCallersURLInPlace) {
    KtHandle<KtSipURL> withParameters = new KtSipURL("sip:u@h;maddr=10.0.0.1;user=phone?x=1");
    KtSipToHeader to(withParameters, KtHandle<KtParameters>());
    EXPECT_EQ("sip:u@h;user=phone", std::string(withParameters->getString().c_str()));
    EXPECT_EQ("<sip:u@h;user=phone>", std::string(to.getValueString().c_str()));
    EXPECT_TRUE(to.getParameters()->empty());

    KtHandle<KtSipURL> headersOnly = new KtSipURL("sip:u@h?x=1");
    KtSipFromHeader from(headersOnly, KtHandle<KtParameters>());
    EXPECT_EQ(1, headersOnly->numHeaders());
    EXPECT_TRUE(from.getNameAddress()->getURI().get() == headersOnly.get());

    EXPECT_THROW(KtSipFromHeader(KtHandle<KtSipURL>(), KtHandle<KtParameters>()), KtSipParseError);
}

TEST(FromToHeaders, CloneIsDeepAndAlone) {
    KtHandle<KtSipHeader> chain = parseLine("To: \"T\" <sip:t@h>;tag=1, <sip:u@h>");
    ASSERT_FALSE(chain->getNext().isNil());
    KtHandle<KtSipHeader> copy = chain->clone();
    EXPECT_TRUE(copy->getNext().isNil());
    KtSipToHeader* original = dynamic_cast<KtSipToHeader*>(chain.get());
    KtSipToHeader* clone = dynamic_cast<KtSipToHeader*>(copy.get());
    ASSERT_TRUE(original && clone);
    EXPECT_NE(original->getNameAddress().get(), clone->getNameAddress().get());
    EXPECT_NE(original->getNameAddress()->getURI().get(), clone->getNameAddress()->getURI().get());
    clone->setTag("2");
    EXPECT_EQ("1", std::string(original->getTag().c_str()));
    EXPECT_EQ("To: \"T\" <sip:t@h>;tag=2\r\n", serialized(copy));
    EXPECT_EQ("tag", std::string(KtSipToHeader::sTagToken.c_str()));
}

}  // namespace
