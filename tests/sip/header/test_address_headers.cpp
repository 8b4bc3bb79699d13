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

using namespace kttest;

TEST(AddressHeaders, LinesParseAndWriteBack) {
    const std::type_info* contact = &typeid(KtSipContactHeader);
    const std::type_info* route = &typeid(KtSipRouteHeader);
    const std::type_info* replaces = &typeid(KtSipReplacesHeader);
    const HeaderRow rows[] = {
        {"wildcard", "Contact: *", contact, 18, {"*"}, ""},
        {"wildcard keeps no parameters", "Contact:  *;expires=0", contact, 18, {"*"}},
        {"compact m with parameters", "m: \"B\" <sip:b@h:5070;transport=tcp>;expires=60;q=0.5", contact, 18,
         {"\"B\" <sip:b@h:5070;transport=tcp>;expires=60;q=0.5"}, ""},
        {"contact list", "Contact: <sip:a@b>;q=1, sip:c@d;q=0.1", contact, 18, {"<sip:a@b>;q=1", "<sip:c@d>;q=0.1"},
         "Contact: <sip:a@b>;q=1\r\nContact: <sip:c@d>;q=0.1\r\n"},
        {"two routes", "Route: <sip:p1.example.com;lr>, <sip:p2.example.com;lr>", route, 47,
         {"<sip:p1.example.com;lr>", "<sip:p2.example.com;lr>"},
         "Route: <sip:p1.example.com;lr>\r\nRoute: <sip:p2.example.com;lr>\r\n"},
        {"record-route", "Record-Route: \"P\" <sip:p1;lr>", &typeid(KtSipRecordRouteHeader), 40, {"\"P\" <sip:p1;lr>"}},
        {"refer-to bare URI", "Refer-To: sip:bob@biloxi.example.com", &typeid(KtSipReferToHeader), 41,
         {"sip:bob@biloxi.example.com"}, ""},
        {"refer-to other scheme", "Refer-To: mailto:bob@b", &typeid(KtSipReferToHeader), 41, {"mailto:bob@b"}},
        {"referred-by", "Referred-By: <sip:r@h>;cid=\"20@h\"", &typeid(KtSipReferredByHeader), 42,
         {"<sip:r@h>;cid=\"20@h\""}},
        {"cc-diversion", "CC-Diversion: <sip:d@h>;reason=user-busy;counter=1", &typeid(KtSipCCDiversionHeader), 17,
         {"<sip:d@h>;reason=user-busy;counter=1"}},
        {"replaces is never split", "Replaces: 98732@sip.example.com;to-tag=r33th4x0r;from-tag=ff87ff, x", replaces,
         43, {"98732@sip.example.com;to-tag=r33th4x0r;from-tag=ff87ff"}},
        {"replaces keeps early-only", "Replaces: c1 ; from-tag=f;to-tag=t;early-only", replaces, 43,
         {"c1;from-tag=f;to-tag=t;early-only"}},
    };
    for (const HeaderRow& row : rows) checkHeaderRow(row);
    // Route and Record-Route replace the message of the name-address or URI error by their own.
    const std::string badRoute = "Invalid Name-Address in KtSipRouteHeader",
                      noCallId = "SIP Replaces header must contain a callid";
    checkRefused({{"Contact: Bob", "URL not specified"}, {"Route: \"p1 <sip:p1;lr>", badRoute},
                  {"Route: <sipx:p1>", badRoute}, {"Record-Route: p1", "Invalid Name-Address in KtSipRecordRouteHeader"},
                  {"Refer-To: bob", "INVALID URI"}, {"Replaces: abc", "SIP Replaces header must contain a to-tag"},
                  {"Replaces: abc;to-tag=1", "SIP Replaces header must contain a from-tag"},
                  {"Replaces: ", noCallId}, {"Replaces: ;to-tag=1;from-tag=2", noCallId}});
}

TEST(AddressHeaders, OverlongValuesAreRefusedNotOverrun) {
    const std::string named = std::string(1100, 'x') + " <sip:p>";
    EXPECT_EQ("Invalid Name-Address in KtSipRouteHeader",
              thrown<KtSipParseError>([&] { KtSipRouteHeader route(named.c_str()); }));
    EXPECT_EQ("Invalid SIP Name Address", thrown<KtSipParseError>([&] { KtSipContactHeader contact(named.c_str()); }));
    const std::string callId(5000, 'c');
    EXPECT_EQ(callId, KtSipReplacesHeader((callId + ";to-tag=1;from-tag=2").c_str()).getCallId().c_str());
}

TEST(AddressHeaders, ContactAccessorsAndComment) {
    KtSipContactHeader withExpires("<sip:a@b>;expires=3600");
    EXPECT_STREQ("3600", withExpires.getExpires().c_str());
    EXPECT_FALSE(withExpires.isWildcard());
    KtSipContactHeader plain("sip:a@b");
    EXPECT_TRUE(plain.getExpires().isNil());
    EXPECT_STREQ("sip", plain.getNameAddress()->getURI()->getScheme().c_str());
    plain.setComment("mobile");
    EXPECT_STREQ("<sip:a@b> (mobile)", plain.getValueString().c_str());
    EXPECT_STREQ("<sip:a@b> (mobile)", KtHandle<KtSipHeader>(plain.clone())->getValueString().c_str());
    plain.setComment("");
    EXPECT_STREQ("<sip:a@b>", plain.getValueString().c_str());
    KtHandle<KtSipHeader> starCopy = parseHeaderLine("Contact: *")->clone();
    EXPECT_TRUE(dynamic_cast<KtSipContactHeader*>(starCopy.get())->isWildcard());
}

TEST(AddressHeaders, ClonesAreDeep) {
    KtHandle<KtSipRouteHeader> route = parseAs<KtSipRouteHeader>("Route: <sip:p1;lr>, <sip:p2;lr>");
    KtHandle<KtSipHeader> copy = route->clone();
    EXPECT_TRUE(copy->getNext().isNil());
    KtSipRouteHeader* b = dynamic_cast<KtSipRouteHeader*>(copy.get());
    ASSERT_TRUE(b);
    b->getNameAddress()->getURL()->setHost("elsewhere");
    EXPECT_STREQ("<sip:p1;lr>", route->getValueString().c_str());
    EXPECT_EQ("Route: <sip:elsewhere;lr>\r\n", written(*copy));

    KtSipReferToHeader referTo("sip:x@y");
    KtHandle<KtSipHeader> referCopy = referTo.clone();
    EXPECT_NE(referTo.getURI().get(), dynamic_cast<KtSipReferToHeader*>(referCopy.get())->getURI().get());
    EXPECT_STREQ("sip:x@y", referCopy->getValueString().c_str());
}

TEST(AddressHeaders, ReferredByConstructors) {
    KtHandle<KtSipNameAddress> address = new KtSipNameAddress();
    address->parse("\"R\" <sip:r@h;transport=tcp>");
    KtHandle<KtParameters> parameters = new KtParameters();
    parameters->setValue("cid", "1");
    KtSipReferredByHeader fromAddress(address, parameters);
    EXPECT_NE(address.get(), fromAddress.getNameAddress().get());
    // No validity check: the transport parameter stays.
    EXPECT_STREQ("\"R\" <sip:r@h;transport=tcp>;cid=1", fromAddress.getValueString().c_str());

    KtHandle<KtSipURL> url = new KtSipURL("sip:r@h");
    KtSipReferredByHeader fromURL(url, KtHandle<KtParameters>());
    EXPECT_EQ(url.get(), fromURL.getNameAddress()->getURI().get());
    EXPECT_STREQ("<sip:r@h>", fromURL.getValueString().c_str());
    KtHandle<KtSipHeader> header = new KtSipReferredByHeader(KtHandle<KtSipNameAddress>(), KtHandle<KtParameters>());
    EXPECT_STREQ("Referred-By", header->getToken().c_str());
}

TEST(AddressHeaders, ReplacesConstructedFromParts) {
    KtHandle<KtSipHeader> replaces = new KtSipReplacesHeader("abc@h", "t1", "f1");
    EXPECT_EQ("Replaces: abc@h;to-tag=t1;from-tag=f1\r\n", written(*replaces));
    KtHandle<KtSipHeader> copy = replaces->clone();
    KtSipReplacesHeader* r = dynamic_cast<KtSipReplacesHeader*>(copy.get());
    ASSERT_NE(nullptr, r);
    r->getParameters()->setValue("early-only", nullptr);
    EXPECT_STREQ("abc@h;to-tag=t1;from-tag=f1", replaces->getValueString().c_str());
    EXPECT_EQ("t1 f1 abc@h", std::string(r->getToTag().c_str()) + " " + r->getFromTag().c_str() + " " +
                                 r->getCallId().c_str());
}

}  // namespace
