// Token and text headers: Allow, Allow-Events, Event, Require, Proxy-Require, Supported,
// Unsupported, Call-ID, In-Reply-To, Accept-Encoding, Content-Encoding, Accept-Language,
// MIME-Version, Subject, Organization, Priority, Session, Warning, Server, User-Agent.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <string>
#include <vector>

#include "KtSipAcceptEncodingHeader.h"
#include "KtSipAcceptLanguageHeader.h"
#include "KtSipAllowHeader.h"
#include "KtSipCallIdHeader.h"
#include "KtSipEventHeader.h"
#include "KtSipPriorityHeader.h"
#include "KtSipServerHeader.h"
#include "KtSipSessionHeader.h"
#include "KtSipSubjectHeader.h"
#include "KtSipSupportedHeader.h"
#include "KtSipUserAgentHeader.h"
#include "KtSipWarningHeader.h"

namespace {

using namespace kttest;

// A line (without its line end); getValueString() of each header of the chain, and the chain
// written (null: the line itself). The typical value of each header is in the catalogue test.
struct TokenRow { const char* line; HeaderID id; std::vector<std::string> values; const char* output = nullptr; };

const TokenRow kRows[] = {
    {"Allow: INVITE, ACK,BYE", HeaderAllow, {"INVITE", "ACK", "BYE"}, "Allow: INVITE\r\nAllow: ACK\r\nAllow: BYE\r\n"},
    {"Allow-Events: presence, refer", HeaderAllowEvents, {"presence", "refer"},
     "Allow-Events: presence\r\nAllow-Events: refer\r\n"},
    {"Event: refer;id=93809824", HeaderEvent, {"refer;id=93809824"}}, {"Require: ", HeaderRequire, {""}},
    {"Proxy-Require: foo, bar", HeaderProxyRequire, {"foo", "bar"}, "Proxy-Require: foo\r\nProxy-Require: bar\r\n"},
    {"k: a, b", HeaderSupported, {"a", "b"}, "k: a\r\nSupported: b\r\n"},
    {"Unsupported: timer", HeaderUnsupported, {"timer"}},
    {"i: a84b4c76e66710@pc33.example.com", HeaderCallId, {"a84b4c76e66710@pc33.example.com"}},
    {"CALL-ID: x,y z", HeaderCallId, {"x,y"}, "CALL-ID: x,y\r\n"},
    {"In-Reply-To: 70710@saturn.example.com, 17320@saturn.example.com", HeaderInReplyTo,
     {"70710@saturn.example.com", "17320@saturn.example.com"},
     "In-Reply-To: 70710@saturn.example.com\r\nIn-Reply-To: 17320@saturn.example.com\r\n"},
    {"Accept-Encoding: gzip;q=0.5, *", HeaderAcceptEncoding, {"gzip;q=0.5", "*"},
     "Accept-Encoding: gzip;q=0.5\r\nAccept-Encoding: *\r\n"},
    {"Accept-Encoding: ", HeaderAcceptEncoding, {""}},
    {"Accept-Language: da, en-gb;q=0.8", HeaderAcceptLanguage, {"da", "en-gb; q=0.8"},
     "Accept-Language: da\r\nAccept-Language: en-gb; q=0.8\r\n"},
    {"Subject: Hello world, again", HeaderSubject, {"Hello", "again"}, "Subject: Hello\r\nSubject: again\r\n"},
    {"s: Lunch\r\n\tplans", HeaderSubject, {"Lunchplans"}, "s: Lunchplans\r\n"},
    {"Organization:  Boxes, Inc. ", HeaderOrganization, {"Boxes, Inc."}, "Organization: Boxes, Inc.\r\n"},
    {"Priority: URGENT", HeaderPriority, {"urgent"}, "Priority: urgent\r\n"},
    {"Priority: non-urgent", HeaderPriority, {"non-urgent"}},
    {"Session: qos", HeaderSession, {"QoS"}, "Session: QoS\r\n"},
    {"Warning: 399 gw1 \"No, not here\"", HeaderWarning, {"399 gw1 \"No, not here\""}},
    {"Server: Asterisk/1.8.0, extra", HeaderServer, {"Asterisk/1.8.0, extra"}},
    {"Server: (Linux)", HeaderServer, {"(Linux)"}},
    {"Server: Asterisk PBX", HeaderServer, {"Asterisk"}, "Server: Asterisk\r\n"},
    {"User-Agent: SIPimp.org/0.2.5 (curses)", HeaderUserAgent, {"SIPimp.org/0.2.5 (curses)"}},
    {"User-Agent: X-Lite release 1104o (stamp, 5)", HeaderUserAgent, {"X-Lite release 1104o (stamp, 5)"}},
};

TEST(TokenHeaders, ParseChainsAndWrite) {
    for (const TokenRow& row : kRows) {
        SCOPED_TRACE(row.line);
        KtHandle<KtSipHeader> header = parseHeaderLine(row.line);
        std::vector<std::string> values;
        for (KtHandle<KtSipHeader> h = header; !h.isNil(); h = h->getNext()) {
            EXPECT_EQ(row.id, h->getHeaderID());
            values.push_back(h->getValueString().c_str());
        }
        EXPECT_EQ(row.values, values);
        EXPECT_EQ(row.output ? row.output : row.line + std::string("\r\n"), written(*header));
    }
}

TEST(TokenHeaders, MalformedLinesAreRefused) {
    const char *callId = "Invalid Call-ID header", *session = "Invalid value in Session header";
    const std::pair<const char*, const char*> rows[] = {
        {"Allow: ", "Empty method in Allow header"}, {"Allow-Events: ;x", "Empty event-type in Allow-Events header"},
        {"Event: ;id=1", "Empty value in Event header"}, {"Call-ID: ", callId}, {"In-Reply-To: ", callId},
        {"Content-Encoding: ", "Invalid Content-Encoding header"},
        {"Accept-Language: en;q", "Invalid AcceptLanguage header"}, {"MIME-Version: ", "Invalid MIMEVersion header"},
        {"Priority: high", "Invalid Priority header"}, {"Session: Securityx", session}, {"Session: ", session},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.second, thrown<KtSipParseError>([&] { parseHeaderLine(row.first); })) << row.first;
}

TEST(TokenHeaders, ClassesAndAccessors) {
    KtHandle<KtSipAllowHeader> allow = parseAs<KtSipAllowHeader>("Allow: INVITE, BYE");
    EXPECT_STREQ("INVITE", allow->getValue().c_str());
    EXPECT_NE(nullptr, dynamic_cast<KtSipAllowHeader*>(allow->getNext().get()));
    EXPECT_STREQ("abc@host", parseAs<KtSipCallIdHeader>("call-id: abc@host")->getValue().c_str());
    KtHandle<KtSipEventHeader> event = parseAs<KtSipEventHeader>("Event: refer;id=7");
    EXPECT_STREQ("refer", event->getValue().c_str());
    EXPECT_STREQ("7", event->getParameters()->getValue("id").c_str());
    EXPECT_TRUE(parseAs<KtSipAcceptEncodingHeader>("Accept-Encoding: *")->isWildcard());
    KtHandle<KtSipAcceptLanguageHeader> language = parseAs<KtSipAcceptLanguageHeader>("Accept-Language: en;q=0.7");
    EXPECT_STREQ("en", language->getValue().c_str());
    EXPECT_STREQ("0.7", language->getWeight().c_str());
    KtHandle<KtSipPriorityHeader> priority = parseAs<KtSipPriorityHeader>("Priority: URGENT");
    EXPECT_EQ(2, priority->getValue());
    EXPECT_STREQ("urgent", priority->getPriority());
    EXPECT_EQ(1, parseAs<KtSipSessionHeader>("Session: qos")->getValue());
    KtHandle<KtSipWarningHeader> warning = parseAs<KtSipWarningHeader>("Warning: 399 gw1 \"Incompatible\"");
    EXPECT_STREQ("399", warning->getCode().c_str());
    EXPECT_STREQ("gw1", warning->getAgent().c_str());
    EXPECT_STREQ("Incompatible", warning->getText().c_str());
    KtHandle<KtSipUserAgentHeader> agent = parseAs<KtSipUserAgentHeader>("User-Agent: Softphone/2.1 (beta)");
    EXPECT_STREQ("Softphone", agent->getProduct().c_str());
    EXPECT_STREQ("2.1 (beta)", agent->getVersion().c_str());
    KtHandle<KtSipServerHeader> server = parseAs<KtSipServerHeader>("Server: Foo (Linux)");
    EXPECT_STREQ("Foo", server->getProduct().c_str());
    EXPECT_STREQ("Linux", server->getComment().c_str());
}

TEST(TokenHeaders, ConstructedHeaders) {
    EXPECT_EQ("Call-ID: c1@h\r\n", written(KtSipCallIdHeader("c1@h")));
    EXPECT_EQ("Supported: timer\r\n", written(KtSipSupportedHeader("timer")));
    EXPECT_EQ("Subject: lunch\r\n", written(KtSipSubjectHeader("lunch")));
    EXPECT_EQ("Warning: 307 h \"bad param\"\r\n", written(KtSipWarningHeader(307, "h", "bad param")));
    EXPECT_EQ("User-Agent: ktsip/1.0 (test)\r\n", written(KtSipUserAgentHeader("ktsip", "1.0", "test")));
    EXPECT_EQ("Server: \r\n", written(KtSipServerHeader()));
    for (const char* word : {"high", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ("Invalid Priority header", thrown<KtSipParseError>([&] { KtSipPriorityHeader priority(word); }));
    KtSipEventHeader event("dialog");
    event.setParameter("id", "4");
    KtHandle<KtSipHeader> copy = event.clone();
    event.setParameter("id", "5");
    EXPECT_EQ("Event: dialog;id=4\r\n", written(*copy));
}

TEST(TokenHeaders, OverlongValuesAreBounded) {
    const std::string big(1000, 'x');
    EXPECT_EQ(big, parseHeaderLine("Subject: " + big)->getValueString().c_str());
    for (const char* name : {"Priority", "Session"})
        EXPECT_THROW(parseHeaderLine(std::string(name) + ": " + big), KtSipParseError) << name;
}

}  // namespace
