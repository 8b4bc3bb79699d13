// Accept, Content-Type, Content-Disposition, Alert-Info, Error-Info, Call-Info, Response-Key.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <string>
#include <typeinfo>
#include <vector>

#include "KtSipAcceptHeader.h"
#include "KtSipAlertInfoHeader.h"
#include "KtSipCallInfoHeader.h"
#include "KtSipContentDispositionHeader.h"
#include "KtSipContentTypeHeader.h"
#include "KtSipErrorInfoHeader.h"
#include "KtSipResponseKeyHeader.h"
#include "KtSipUnknownHeader.h"
#include "KtTelURL.h"

namespace {

using namespace kttest;

TEST(MediaHeaders, LinesParseAndWriteBack) {
    const std::type_info* contentType = &typeid(KtSipContentTypeHeader);
    const std::type_info* accept = &typeid(KtSipAcceptHeader);
    const std::type_info* disposition = &typeid(KtSipContentDispositionHeader);
    const std::type_info* alertInfo = &typeid(KtSipAlertInfoHeader);
    const std::type_info* responseKey = &typeid(KtSipResponseKeyHeader);
    const HeaderRow rows[] = {
        {"type, subtype, parameter", "Content-Type: text/plain;charset=utf-8", contentType, 21,
         {"text/plain;charset=utf-8"}, ""},
        {"compact c, spaces", "c: application / sdp ; version = 1", contentType, 21, {"application/sdp;version=1"},
         "c: application/sdp;version=1\r\n"},
        {"quoted comma stays in the parameter", "Content-Type: multipart/mixed;boundary=\"a,b\"", contentType, 21,
         {"multipart/mixed;boundary=\"a,b\""}},
        {"accept list", "Accept: application/sdp, text/plain;q=0.5", accept, 8,
         {"application/sdp", "text/plain;q=0.5"}, "Accept: application/sdp\r\nAccept: text/plain;q=0.5\r\n"},
        {"accept wildcard", "Accept: */*", accept, 8, {"*/*"}},
        {"disposition", "Content-Disposition: session;handling=required", disposition, 19,
         {"session;handling=required"}},
        {"disposition alone", "Content-Disposition: render", disposition, 19, {"render"}},
        {"alert-info quoted URI", "Alert-Info: \"http://www.example.com/sounds/moo.wav\";appearance=2", alertInfo, 10,
         {"\"http://www.example.com/sounds/moo.wav\";appearance=2"}, ""},
        {"alert-info bracketed URI", "Alert-Info: <http://x/a.wav> ; p=1", alertInfo, 10, {"\"http://x/a.wav\";p=1"}},
        {"error-info sip URL", "Error-Info: <sip:not-in-service-recording@atlanta.com>", &typeid(KtSipErrorInfoHeader),
         24, {"\"sip:not-in-service-recording@atlanta.com\""}},
        {"call-info stays unknown", "Call-Info: <tel:1234>", &typeid(KtSipUnknownHeader), 55, {"<tel:1234>"}, ""},
        {"response-key is never split", "Response-Key: pgp version=1, key=abc", responseKey, 45,
         {"pgp version=1,key=abc"}, "Response-Key: pgp version=1,key=abc\r\n"},
        {"response-key scheme only", "Response-Key: pgp", responseKey, 45, {"pgp"}},
    };
    for (const HeaderRow& row : rows) checkHeaderRow(row);
    // Content-Type is read as an Accept range: no slash, no type, no subtype.
    const std::string range = "Invalid Accept header";
    checkRefused({{"Content-Type: text", range}, {"Content-Type: /plain", range}, {"Content-Type: text/;a=b", range},
                  {"Accept: application, text/plain", range},
                  {"Content-Disposition: ;handling=optional", "Invalid Content-Disposition header"},
                  {"Alert-Info: \"http://x/a.wav", "Unterminated quoted string"}});
}

TEST(MediaHeaders, ContentTypeAccessors) {
    KtSipContentTypeHeader type("text/plain; charset=ISO-8859-4");
    EXPECT_STREQ("text", type.getType().c_str());
    EXPECT_STREQ("plain", type.getSubtype().c_str());
    EXPECT_EQ(1u, type.getParameters()->size());
    EXPECT_STREQ("text/plain", type.getMediaType().c_str());

    // setMediaType splits at the first "/"; a bare type gets "*"; null gives "*/*".
    const struct { const char *media, *type, *subtype; } cases[] = {
        {"application/sdp", "application", "sdp"}, {"a/b/c", "a", "b/c"}, {"message", "message", "*"},
        {nullptr, "*", "*"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.media ? c.media : "(null)");
        type.setMediaType(c.media);
        EXPECT_STREQ(c.type, type.getType().c_str());
        EXPECT_STREQ(c.subtype, type.getSubtype().c_str());
        KtSipAcceptHeader accept;
        accept.setMediaRange(c.media);
        EXPECT_STREQ(c.type, accept.getType().c_str());
        EXPECT_STREQ(c.subtype, accept.getSubtype().c_str());
        EXPECT_EQ(std::string(c.type) + "/" + c.subtype, accept.getMediaRange().c_str());
    }

    // A header built by the application carries the full name and an empty list.
    KtSipContentTypeHeader built;
    built.setMediaType("application/sdp");
    EXPECT_EQ("Content-Type: application/sdp\r\n", written(built));
}

TEST(MediaHeaders, ClonesCopyParametersDeeply) {
    KtSipContentTypeHeader original("text/html;level=1");
    KtHandle<KtSipHeader> copy = original.clone();
    dynamic_cast<KtSipContentTypeHeader*>(copy.get())->getParameters()->setValue("level", "2");
    EXPECT_STREQ("text/html;level=1", original.getValueString().c_str());
    EXPECT_STREQ("text/html;level=2", copy->getValueString().c_str());

    KtSipAlertInfoHeader alert("<http://x/ring.wav>;p=1");
    KtHandle<KtSipHeader> alertCopy = alert.clone();
    KtSipAlertInfoHeader* a = dynamic_cast<KtSipAlertInfoHeader*>(alertCopy.get());
    ASSERT_NE(nullptr, a);
    EXPECT_NE(alert.getURI().get(), a->getURI().get());
    EXPECT_NE(alert.getParameters().get(), a->getParameters().get());
    EXPECT_STREQ("\"http://x/ring.wav\";p=1", a->getValueString().c_str());
    KtHandle<KtSipHeader> keyCopy = KtSipResponseKeyHeader("pgp a=1,b=2").clone();
    EXPECT_STREQ("pgp a=1,b=2", keyCopy->getValueString().c_str());
}

// Call-Info exists (id HeaderCallInfo) but is not registered: a received line stays unknown.
TEST(MediaHeaders, CallInfoBuiltByTheApplication) {
    EXPECT_FALSE(KtSipHeader::sIsRegistered("Call-Info"));
    EXPECT_EQ("Call-Info: \"http://www.example.com/alice/photo.jpg\";purpose=icon\r\n",
              written(KtSipCallInfoHeader("\"http://www.example.com/alice/photo.jpg\";purpose=icon")));
    KtSipCallInfoHeader info("<http://wwww.example.com/alice/photo.jpg> ;purpose=icon");
    EXPECT_EQ(HeaderCallInfo, info.getHeaderID());
    EXPECT_EQ(16, HeaderCallInfo);
    EXPECT_EQ("Call-Info: \"http://wwww.example.com/alice/photo.jpg\";purpose=icon\r\n", written(info));
    info.setURI(new KtTelURL("tel:+1234"));
    info.getParameters()->clear();
    EXPECT_STREQ("\"tel:+1234\"", info.getValueString().c_str());
}

TEST(MediaHeaders, LongValuesDoNotOverrun) {
    const std::string type(3000, 't');
    EXPECT_EQ(type + "/" + type, KtSipContentTypeHeader((type + "/" + type).c_str()).getMediaType().c_str());
    EXPECT_EQ(type, KtSipContentDispositionHeader(type.c_str()).getType().c_str());
    EXPECT_THROW(KtSipAlertInfoHeader(("\"sip:" + type + "\"").c_str()), KtSipParseError);
}

}  // namespace
