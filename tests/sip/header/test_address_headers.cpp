// Contact, Route, Record-Route, Refer-To, Referred-By, CC-Diversion and Replaces.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <string>
#include <typeinfo>
#include <vector>

#include "KtSipCCDiversionHeader.h"
#include "KtSipContactHeader.h"
#include "KtSipRecordRouteHeader.h"
#include "KtSipReferToHeader.h"
#include "KtSipReferredByHeader.h"
#include "KtSipReplacesHeader.h"
#include "KtSipRouteHeader.h"

namespace {

using namespace ktsiptest;
using Row = HeaderRow;

KtHandle<KtSipHeader> parseLine(const std::string& line) { return parseHeaderLine(line); }
std::string serialized(const KtHandle<KtSipHeader>& header) { return written(*header); }
void checkRow(const Row& row) { checkHeaderRow(row); }

TEST(AddressHeaders, LinesParseAndWriteBack) {
    const std::type_info* contact = &typeid(KtSipContactHeader);
    const std::type_info* route = &typeid(KtSipRouteHeader);
    const std::type_info* recordRoute = &typeid(KtSipRecordRouteHeader);
    const std::type_info* referTo = &typeid(KtSipReferToHeader);
    const std::type_info* replaces = &typeid(KtSipReplacesHeader);
    const Row rows[] = {
        {"wildcard", "Contact: *", contact, 18, {"*"}, "Contact: *\r\n", nullptr},
        {"wildcard keeps no parameters", "Contact:  *;expires=0", contact, 18, {"*"}, nullptr, nullptr},
        {"compact m with parameters", "m: \"B\" <sip:b@h:5070;transport=tcp>;expires=60;q=0.5", contact, 18,
         {"\"B\" <sip:b@h:5070;transport=tcp>;expires=60;q=0.5"}, "m: \"B\" <sip:b@h:5070;transport=tcp>;expires=60;q=0.5\r\n",
         nullptr},
        {"contact list", "Contact: <sip:a@b>;q=1, sip:c@d;q=0.1", contact, 18, {"<sip:a@b>;q=1", "<sip:c@d>;q=0.1"},
         "Contact: <sip:a@b>;q=1\r\nContact: <sip:c@d>;q=0.1\r\n", nullptr},
        {"contact without URI", "Contact: Bob", contact, 18, {}, nullptr, "URL not specified"},
        {"two routes", "Route: <sip:p1.example.com;lr>, <sip:p2.example.com;lr>", route, 47,
         {"<sip:p1.example.com;lr>", "<sip:p2.example.com;lr>"},
         "Route: <sip:p1.example.com;lr>\r\nRoute: <sip:p2.example.com;lr>\r\n", nullptr},
        {"record-route", "Record-Route: \"P\" <sip:p1;lr>", recordRoute, 40, {"\"P\" <sip:p1;lr>"}, nullptr, nullptr},
        {"route message replaces the parser's", "Route: \"p1 <sip:p1;lr>", route, 47, {}, nullptr,
         "Invalid Name-Address in KtSipRouteHeader"},
        {"route URI error replaced too", "Route: <sipx:p1>", route, 47, {}, nullptr,
         "Invalid Name-Address in KtSipRouteHeader"},
        {"record-route message", "Record-Route: p1", recordRoute, 40, {}, nullptr,
         "Invalid Name-Address in KtSipRecordRouteHeader"},
        {"refer-to bare URI", "Refer-To: sip:bob@biloxi.example.com", referTo, 41, {"sip:bob@biloxi.example.com"},
         "Refer-To: sip:bob@biloxi.example.com\r\n", nullptr},
        {"refer-to other scheme", "Refer-To: mailto:bob@b", referTo, 41, {"mailto:bob@b"}, nullptr, nullptr},
        {"refer-to without scheme", "Refer-To: bob", referTo, 41, {}, nullptr, "INVALID URI"},
        {"referred-by", "Referred-By: <sip:r@h>;cid=\"20@h\"", &typeid(KtSipReferredByHeader), 42,
         {"<sip:r@h>;cid=\"20@h\""}, nullptr, nullptr},
        {"cc-diversion", "CC-Diversion: <sip:d@h>;reason=user-busy;counter=1", &typeid(KtSipCCDiversionHeader), 17,
         {"<sip:d@h>;reason=user-busy;counter=1"}, nullptr, nullptr},
        {"replaces is never split", "Replaces: 98732@sip.example.com;to-tag=r33th4x0r;from-tag=ff87ff, x", replaces,
         43, {"98732@sip.example.com;to-tag=r33th4x0r;from-tag=ff87ff"}, nullptr, nullptr},
        {"replaces keeps early-only", "Replaces: c1 ; from-tag=f;to-tag=t;early-only", replaces, 43,
         {"c1;from-tag=f;to-tag=t;early-only"}, nullptr, nullptr},
        {"replaces without from-tag", "Replaces: abc;to-tag=1", replaces, 43, {}, nullptr,
         "SIP Replaces header must contain a from-tag"},
        {"replaces without parameters", "Replaces: abc", replaces, 43, {}, nullptr,
         "SIP Replaces header must contain a to-tag"},
        {"replaces empty", "Replaces: ", replaces, 43, {}, nullptr, "SIP Replaces header must contain a callid"},
        {"replaces without call-id", "Replaces: ;to-tag=1;from-tag=2", replaces, 43, {}, nullptr,
         "SIP Replaces header must contain a callid"},
    };
    for (const Row& row : rows) checkRow(row);
}

TEST(AddressHeaders, OverlongValuesAreRefusedNotOverrun) {
    const std::string name(1100, 'x');
    try {
        KtSipRouteHeader route((name + " <sip:p>").c_str());
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid Name-Address in KtSipRouteHeader", e.getMessage());
    }
    try {
        KtSipContactHeader contact((name + " <sip:p>").c_str());
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid SIP Name Address", e.getMessage());
    }
    const std::string callId(5000, 'c');
    KtSipReplacesHeader replaces((callId + ";to-tag=1;from-tag=2").c_str());
    EXPECT_EQ(callId, replaces.getCallId().c_str());
}

TEST(AddressHeaders, ContactAccessorsAndComment) {
    KtSipContactHeader withExpires("<sip:a@b>;expires=3600");
    EXPECT_EQ("3600", std::string(withExpires.getExpires().c_str()));
    EXPECT_FALSE(withExpires.isWildcard());
    KtSipContactHeader plain("sip:a@b");
    EXPECT_TRUE(plain.getExpires().isNil());
    EXPECT_EQ("sip", std::string(plain.getNameAddress()->getURI()->getScheme().c_str()));

    plain.setComment("mobile");
    EXPECT_EQ("<sip:a@b> (mobile)", std::string(plain.getValueString().c_str()));
    KtHandle<KtSipHeader> copy = plain.clone();
    EXPECT_EQ("<sip:a@b> (mobile)", std::string(copy->getValueString().c_str()));
    plain.setComment("");
    EXPECT_EQ("<sip:a@b>", std::string(plain.getValueString().c_str()));

    KtHandle<KtSipHeader> star = parseLine("Contact: *");
    KtHandle<KtSipHeader> starCopy = star->clone();
    EXPECT_TRUE(dynamic_cast<KtSipContactHeader*>(starCopy.get())->isWildcard());
}

TEST(AddressHeaders, ClonesAreDeep) {
    KtHandle<KtSipHeader> route = parseLine("Route: <sip:p1;lr>, <sip:p2;lr>");
    KtHandle<KtSipHeader> copy = route->clone();
    EXPECT_TRUE(copy->getNext().isNil());
    KtSipRouteHeader* a = dynamic_cast<KtSipRouteHeader*>(route.get());
    KtSipRouteHeader* b = dynamic_cast<KtSipRouteHeader*>(copy.get());
    ASSERT_TRUE(a && b);
    b->getNameAddress()->getURL()->setHost("elsewhere");
    EXPECT_EQ("<sip:p1;lr>", std::string(a->getValueString().c_str()));
    EXPECT_EQ("Route: <sip:elsewhere;lr>\r\n", serialized(copy));

    KtSipReferToHeader referTo("sip:x@y");
    KtHandle<KtSipHeader> referCopy = referTo.clone();
    EXPECT_NE(referTo.getURI().get(), dynamic_cast<KtSipReferToHeader*>(referCopy.get())->getURI().get());
    EXPECT_EQ("sip:x@y", std::string(referCopy->getValueString().c_str()));
}

TEST(AddressHeaders, ReferredByConstructors) {
    KtHandle<KtSipNameAddress> address = new KtSipNameAddress();
    address->parse("\"R\" <sip:r@h;transport=tcp>");
    KtHandle<KtParameters> parameters = new KtParameters();
    parameters->setValue("cid", "1");
    KtSipReferredByHeader fromAddress(address, parameters);
    EXPECT_NE(address.get(), fromAddress.getNameAddress().get());
    // No validity check: the transport parameter stays.
    EXPECT_EQ("\"R\" <sip:r@h;transport=tcp>;cid=1", std::string(fromAddress.getValueString().c_str()));

    KtHandle<KtSipURL> url = new KtSipURL("sip:r@h");
    KtSipReferredByHeader fromURL(url, KtHandle<KtParameters>());
    EXPECT_EQ(url.get(), fromURL.getNameAddress()->getURI().get());
    EXPECT_EQ("<sip:r@h>", std::string(fromURL.getValueString().c_str()));
    KtHandle<KtSipHeader> header = new KtSipReferredByHeader(KtHandle<KtSipNameAddress>(), KtHandle<KtParameters>());
    EXPECT_EQ("Referred-By", std::string(header->getToken().c_str()));
}

TEST(AddressHeaders, ReplacesConstructedFromParts) {
    KtHandle<KtSipHeader> replaces = new KtSipReplacesHeader("abc@h", "t1", "f1");
    EXPECT_EQ("Replaces: abc@h;to-tag=t1;from-tag=f1\r\n", serialized(replaces));
    KtHandle<KtSipHeader> copy = replaces->clone();
    KtSipReplacesHeader* r = dynamic_cast<KtSipReplacesHeader*>(copy.get());
    ASSERT_NE(nullptr, r);
    r->getParameters()->setValue("early-only", nullptr);
    EXPECT_EQ("abc@h;to-tag=t1;from-tag=f1", std::string(replaces->getValueString().c_str()));
    EXPECT_EQ("t1", std::string(r->getToTag().c_str()));
    EXPECT_EQ("f1", std::string(r->getFromTag().c_str()));
    EXPECT_EQ("abc@h", std::string(r->getCallId().c_str()));
}

}  // namespace
