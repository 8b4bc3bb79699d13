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

using namespace ktsiptest;
using Row = HeaderRow;

std::string serialized(const KtHandle<KtSipHeader>& header) { return written(*header); }
void checkRow(const Row& row) { checkHeaderRow(row); }

TEST(MediaHeaders, LinesParseAndWriteBack) {
    const std::type_info* contentType = &typeid(KtSipContentTypeHeader);
    const std::type_info* accept = &typeid(KtSipAcceptHeader);
    const std::type_info* disposition = &typeid(KtSipContentDispositionHeader);
    const std::type_info* alertInfo = &typeid(KtSipAlertInfoHeader);
    const std::type_info* responseKey = &typeid(KtSipResponseKeyHeader);
    const Row rows[] = {
        {"type, subtype, parameter", "Content-Type: text/plain;charset=utf-8", contentType, 21,
         {"text/plain;charset=utf-8"}, "Content-Type: text/plain;charset=utf-8\r\n", nullptr},
        {"compact c, spaces", "c: application / sdp ; version = 1", contentType, 21, {"application/sdp;version=1"},
         "c: application/sdp;version=1\r\n", nullptr},
        {"quoted comma stays in the parameter", "Content-Type: multipart/mixed;boundary=\"a,b\"", contentType, 21,
         {"multipart/mixed;boundary=\"a,b\""}, nullptr, nullptr},
        {"no slash", "Content-Type: text", contentType, 21, {}, nullptr, "Invalid Accept header"},
        {"no type", "Content-Type: /plain", contentType, 21, {}, nullptr, "Invalid Accept header"},
        {"no subtype", "Content-Type: text/;a=b", contentType, 21, {}, nullptr, "Invalid Accept header"},
        {"accept list", "Accept: application/sdp, text/plain;q=0.5", accept, 8,
         {"application/sdp", "text/plain;q=0.5"}, "Accept: application/sdp\r\nAccept: text/plain;q=0.5\r\n", nullptr},
        {"accept wildcard", "Accept: */*", accept, 8, {"*/*"}, nullptr, nullptr},
        {"accept without subtype", "Accept: application, text/plain", accept, 8, {}, nullptr, "Invalid Accept header"},
        {"disposition", "Content-Disposition: session;handling=required", disposition, 19,
         {"session;handling=required"}, nullptr, nullptr},
        {"disposition alone", "Content-Disposition: render", disposition, 19, {"render"}, nullptr, nullptr},
        {"disposition without type", "Content-Disposition: ;handling=optional", disposition, 19, {}, nullptr,
         "Invalid Content-Disposition header"},
        {"alert-info quoted URI", "Alert-Info: \"http://www.example.com/sounds/moo.wav\";appearance=2", alertInfo, 10,
         {"\"http://www.example.com/sounds/moo.wav\";appearance=2"},
         "Alert-Info: \"http://www.example.com/sounds/moo.wav\";appearance=2\r\n", nullptr},
        {"alert-info bracketed URI", "Alert-Info: <http://x/a.wav> ; p=1", alertInfo, 10, {"\"http://x/a.wav\";p=1"},
         nullptr, nullptr},
        {"alert-info unterminated quote", "Alert-Info: \"http://x/a.wav", alertInfo, 10, {}, nullptr,
         "Unterminated quoted string"},
        {"error-info sip URL", "Error-Info: <sip:not-in-service-recording@atlanta.com>", &typeid(KtSipErrorInfoHeader),
         24, {"\"sip:not-in-service-recording@atlanta.com\""}, nullptr, nullptr},
        {"call-info stays unknown", "Call-Info: <tel:1234>", &typeid(KtSipUnknownHeader), 55, {"<tel:1234>"},
         "Call-Info: <tel:1234>\r\n", nullptr},
        {"response-key is never split", "Response-Key: pgp version=1, key=abc", responseKey, 45,
         {"pgp version=1,key=abc"}, "Response-Key: pgp version=1,key=abc\r\n", nullptr},
        {"response-key scheme only", "Response-Key: pgp", responseKey, 45, {"pgp"}, nullptr, nullptr},
    };
    for (const Row& row : rows) checkRow(row);
}

TEST(MediaHeaders, ContentTypeAccessors) {
    KtSipContentTypeHeader type("text/plain; charset=ISO-8859-4");
    EXPECT_EQ("text", std::string(type.getType().c_str()));
    EXPECT_EQ("plain", std::string(type.getSubtype().c_str()));
    EXPECT_EQ(1u, type.getParameters()->size());
    EXPECT_EQ("text/plain", std::string(type.getMediaType().c_str()));

    // setMediaType splits at the first "/"; a bare type gets "*"; null gives "*/*".
    const struct {
        const char* media;
        const char* type;
        const char* subtype;
    } cases[] = {{"application/sdp", "application", "sdp"}, {"a/b/c", "a", "b/c"}, {"message", "message", "*"},
                 {nullptr, "*", "*"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.media ? c.media : "(null)");
        type.setMediaType(c.media);
        EXPECT_EQ(c.type, std::string(type.getType().c_str()));
        EXPECT_EQ(c.subtype, std::string(type.getSubtype().c_str()));
        KtSipAcceptHeader accept;
        accept.setMediaRange(c.media);
        EXPECT_EQ(c.type, std::string(accept.getType().c_str()));
        EXPECT_EQ(c.subtype, std::string(accept.getSubtype().c_str()));
        EXPECT_EQ(std::string(c.type) + "/" + c.subtype, accept.getMediaRange().c_str());
    }

    // A header built by the application carries the full name and an empty list.
    KtHandle<KtSipHeader> built = new KtSipContentTypeHeader();
    dynamic_cast<KtSipContentTypeHeader*>(built.get())->setMediaType("application/sdp");
    EXPECT_EQ("Content-Type: application/sdp\r\n", serialized(built));
}

TEST(MediaHeaders, ClonesCopyParametersDeeply) {
    KtSipContentTypeHeader original("text/html;level=1");
    KtHandle<KtSipHeader> copy = original.clone();
    dynamic_cast<KtSipContentTypeHeader*>(copy.get())->getParameters()->setValue("level", "2");
    EXPECT_EQ("text/html;level=1", std::string(original.getValueString().c_str()));
    EXPECT_EQ("text/html;level=2", std::string(copy->getValueString().c_str()));

    KtSipAlertInfoHeader alert("<http://x/ring.wav>;p=1");
    KtHandle<KtSipHeader> alertCopy = alert.clone();
    KtSipAlertInfoHeader* a = dynamic_cast<KtSipAlertInfoHeader*>(alertCopy.get());
    ASSERT_NE(nullptr, a);
    EXPECT_NE(alert.getURI().get(), a->getURI().get());
    EXPECT_NE(alert.getParameters().get(), a->getParameters().get());
    EXPECT_EQ("\"http://x/ring.wav\";p=1", std::string(a->getValueString().c_str()));

    KtSipResponseKeyHeader key("pgp a=1,b=2");
    KtHandle<KtSipHeader> keyCopy = key.clone();
    EXPECT_EQ("pgp a=1,b=2", std::string(keyCopy->getValueString().c_str()));
}

TEST(MediaHeaders, CallInfoBuiltByTheApplication) {
    KtHandle<KtSipHeader> info = new KtSipCallInfoHeader("<http://wwww.example.com/alice/photo.jpg> ;purpose=icon");
    EXPECT_EQ(16, info->getHeaderID());
    EXPECT_EQ("Call-Info: \"http://wwww.example.com/alice/photo.jpg\";purpose=icon\r\n", serialized(info));
    KtSipCallInfoHeader* callInfo = dynamic_cast<KtSipCallInfoHeader*>(info.get());
    callInfo->setURI(new KtTelURL("tel:+1234"));
    callInfo->getParameters()->clear();
    EXPECT_EQ("\"tel:+1234\"", std::string(info->getValueString().c_str()));
}

TEST(MediaHeaders, LongValuesDoNotOverrun) {
    const std::string type(3000, 't');
    KtSipContentTypeHeader contentType((type + "/" + type).c_str());
    EXPECT_EQ(type + "/" + type, contentType.getMediaType().c_str());
    KtSipContentDispositionHeader disposition(type.c_str());
    EXPECT_EQ(type, disposition.getType().c_str());
    EXPECT_THROW(KtSipAlertInfoHeader(("\"sip:" + type + "\"").c_str()), KtSipParseError);
}

}  // namespace
