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

using ktsiptest::written;

KtHandle<KtSipHeader> parseLine(const std::string& line) { return ktsiptest::parseHeaderText(line); }

struct TokenRow {
    const char* line;
    HeaderID id;
    std::vector<std::string> values;  // getValueString() of each header of the chain
    const char* output;                // the written chain
    const char* error;                 // the KtSipParseError text, or null
};

const TokenRow kRows[] = {
    {"Allow: INVITE, ACK,BYE\r\n", HeaderAllow, {"INVITE", "ACK", "BYE"},
     "Allow: INVITE\r\nAllow: ACK\r\nAllow: BYE\r\n", nullptr},
    {"Allow: \r\n", HeaderAllow, {}, "", "Empty method in Allow header"},
    {"Allow-Events: presence, refer\r\n", HeaderAllowEvents, {"presence", "refer"},
     "Allow-Events: presence\r\nAllow-Events: refer\r\n", nullptr},
    {"Allow-Events: ;x\r\n", HeaderAllowEvents, {}, "", "Empty event-type in Allow-Events header"},
    {"Event: refer;id=93809824\r\n", HeaderEvent, {"refer;id=93809824"}, "Event: refer;id=93809824\r\n", nullptr},
    {"Event: ;id=1\r\n", HeaderEvent, {}, "", "Empty value in Event header"},
    {"Require: 100rel\r\n", HeaderRequire, {"100rel"}, "Require: 100rel\r\n", nullptr},
    {"Require: \r\n", HeaderRequire, {""}, "Require: \r\n", nullptr},
    {"Proxy-Require: foo, bar\r\n", HeaderProxyRequire, {"foo", "bar"},
     "Proxy-Require: foo\r\nProxy-Require: bar\r\n", nullptr},
    {"k: a, b\r\n", HeaderSupported, {"a", "b"}, "k: a\r\nSupported: b\r\n", nullptr},
    {"Unsupported: timer\r\n", HeaderUnsupported, {"timer"}, "Unsupported: timer\r\n", nullptr},
    {"i: a84b4c76e66710@pc33.example.com\r\n", HeaderCallId, {"a84b4c76e66710@pc33.example.com"},
     "i: a84b4c76e66710@pc33.example.com\r\n", nullptr},
    {"CALL-ID: x,y z\r\n", HeaderCallId, {"x,y"}, "CALL-ID: x,y\r\n", nullptr},
    {"Call-ID: \r\n", HeaderCallId, {}, "", "Invalid Call-ID header"},
    {"In-Reply-To: 70710@saturn.example.com, 17320@saturn.example.com\r\n", HeaderInReplyTo,
     {"70710@saturn.example.com", "17320@saturn.example.com"},
     "In-Reply-To: 70710@saturn.example.com\r\nIn-Reply-To: 17320@saturn.example.com\r\n", nullptr},
    {"In-Reply-To: \r\n", HeaderInReplyTo, {}, "", "Invalid Call-ID header"},
    {"Accept-Encoding: gzip;q=0.5, *\r\n", HeaderAcceptEncoding, {"gzip;q=0.5", "*"},
     "Accept-Encoding: gzip;q=0.5\r\nAccept-Encoding: *\r\n", nullptr},
    {"Accept-Encoding: \r\n", HeaderAcceptEncoding, {""}, "Accept-Encoding: \r\n", nullptr},
    {"e: gzip\r\n", HeaderContentEncoding, {"gzip"}, "e: gzip\r\n", nullptr},
    {"Content-Encoding: \r\n", HeaderContentEncoding, {}, "", "Invalid Content-Encoding header"},
    {"Accept-Language: da, en-gb;q=0.8\r\n", HeaderAcceptLanguage, {"da", "en-gb; q=0.8"},
     "Accept-Language: da\r\nAccept-Language: en-gb; q=0.8\r\n", nullptr},
    {"Accept-Language: en;q\r\n", HeaderAcceptLanguage, {}, "", "Invalid AcceptLanguage header"},
    {"MIME-Version: 1.0\r\n", HeaderMIMEVersion, {"1.0"}, "MIME-Version: 1.0\r\n", nullptr},
    {"MIME-Version: \r\n", HeaderMIMEVersion, {}, "", "Invalid MIMEVersion header"},
    {"Subject: Hello world, again\r\n", HeaderSubject, {"Hello", "again"}, "Subject: Hello\r\nSubject: again\r\n",
     nullptr},
    {"s: Lunch\r\n\tplans\r\n", HeaderSubject, {"Lunchplans"}, "s: Lunchplans\r\n", nullptr},
    {"Organization:  Boxes, Inc. \r\n", HeaderOrganization, {"Boxes, Inc."}, "Organization: Boxes, Inc.\r\n",
     nullptr},
    {"Priority: URGENT\r\n", HeaderPriority, {"urgent"}, "Priority: urgent\r\n", nullptr},
    {"Priority: non-urgent\r\n", HeaderPriority, {"non-urgent"}, "Priority: non-urgent\r\n", nullptr},
    {"Priority: high\r\n", HeaderPriority, {}, "", "Invalid Priority header"},
    {"Session: qos\r\n", HeaderSession, {"QoS"}, "Session: QoS\r\n", nullptr},
    {"Session: Securityx\r\n", HeaderSession, {}, "", "Invalid value in Session header"},
    {"Session: \r\n", HeaderSession, {}, "", "Invalid value in Session header"},
    {"Warning: 399 gw1 \"No, not here\"\r\n", HeaderWarning, {"399 gw1 \"No, not here\""},
     "Warning: 399 gw1 \"No, not here\"\r\n", nullptr},
    {"Server: Asterisk/1.8.0, extra\r\n", HeaderServer, {"Asterisk/1.8.0, extra"},
     "Server: Asterisk/1.8.0, extra\r\n", nullptr},
    {"Server: (Linux)\r\n", HeaderServer, {"(Linux)"}, "Server: (Linux)\r\n", nullptr},
    {"Server: Asterisk PBX\r\n", HeaderServer, {"Asterisk"}, "Server: Asterisk\r\n", nullptr},
    {"User-Agent: SIPimp.org/0.2.5 (curses)\r\n", HeaderUserAgent, {"SIPimp.org/0.2.5 (curses)"},
     "User-Agent: SIPimp.org/0.2.5 (curses)\r\n", nullptr},
    {"User-Agent: X-Lite release 1104o (stamp, 5)\r\n", HeaderUserAgent, {"X-Lite release 1104o (stamp, 5)"},
     "User-Agent: X-Lite release 1104o (stamp, 5)\r\n", nullptr},
};

TEST(TokenHeaders, ParseChainsWriteAndErrors) {
    for (const TokenRow& row : kRows) {
        SCOPED_TRACE(row.line);
        if (row.error) {
            try {
                parseLine(row.line);
                ADD_FAILURE() << "no exception";
            } catch (const KtSipParseError& e) {
                EXPECT_STREQ(row.error, e.getMessage());
            }
            continue;
        }
        KtHandle<KtSipHeader> header = parseLine(row.line);
        std::vector<std::string> values;
        for (KtHandle<KtSipHeader> h = header; !h.isNil(); h = h->getNext()) {
            EXPECT_EQ(row.id, h->getHeaderID());
            values.push_back(h->getValueString().c_str());
        }
        EXPECT_EQ(row.values, values);
        EXPECT_EQ(row.output, written(*header));
    }
}

TEST(TokenHeaders, ClassesAndAccessors) {
    KtHandle<KtSipHeader> allow = parseLine("Allow: INVITE, BYE\r\n");
    ASSERT_NE(nullptr, dynamic_cast<KtSipAllowHeader*>(allow.get()));
    EXPECT_STREQ("INVITE", static_cast<KtSipAllowHeader*>(allow.get())->getValue().c_str());
    ASSERT_NE(nullptr, dynamic_cast<KtSipAllowHeader*>(allow->getNext().get()));

    KtHandle<KtSipCallIdHeader> callId = parseLine("call-id: abc@host\r\n").dynamicCast<KtSipCallIdHeader>();
    ASSERT_FALSE(callId.isNil());
    EXPECT_STREQ("abc@host", callId->getValue().c_str());

    KtHandle<KtSipEventHeader> event = parseLine("Event: refer;id=7\r\n").dynamicCast<KtSipEventHeader>();
    ASSERT_FALSE(event.isNil());
    EXPECT_STREQ("refer", event->getValue().c_str());
    EXPECT_STREQ("7", event->getParameters()->getValue("id").c_str());

    KtHandle<KtSipAcceptEncodingHeader> any =
        parseLine("Accept-Encoding: *\r\n").dynamicCast<KtSipAcceptEncodingHeader>();
    ASSERT_FALSE(any.isNil());
    EXPECT_TRUE(any->isWildcard());

    KtHandle<KtSipAcceptLanguageHeader> language =
        parseLine("Accept-Language: en;q=0.7\r\n").dynamicCast<KtSipAcceptLanguageHeader>();
    ASSERT_FALSE(language.isNil());
    EXPECT_STREQ("en", language->getValue().c_str());
    EXPECT_STREQ("0.7", language->getWeight().c_str());

    KtHandle<KtSipPriorityHeader> priority = parseLine("Priority: URGENT\r\n").dynamicCast<KtSipPriorityHeader>();
    ASSERT_FALSE(priority.isNil());
    EXPECT_EQ(2, priority->getValue());
    EXPECT_STREQ("urgent", priority->getPriority());

    KtHandle<KtSipSessionHeader> session = parseLine("Session: qos\r\n").dynamicCast<KtSipSessionHeader>();
    ASSERT_FALSE(session.isNil());
    EXPECT_EQ(1, session->getValue());

    KtHandle<KtSipWarningHeader> warning =
        parseLine("Warning: 399 gw1 \"Incompatible\"\r\n").dynamicCast<KtSipWarningHeader>();
    ASSERT_FALSE(warning.isNil());
    EXPECT_STREQ("399", warning->getCode().c_str());
    EXPECT_STREQ("gw1", warning->getAgent().c_str());
    EXPECT_STREQ("Incompatible", warning->getText().c_str());

    KtHandle<KtSipUserAgentHeader> agent =
        parseLine("User-Agent: Softphone/2.1 (beta)\r\n").dynamicCast<KtSipUserAgentHeader>();
    ASSERT_FALSE(agent.isNil());
    EXPECT_STREQ("Softphone", agent->getProduct().c_str());
    EXPECT_STREQ("2.1 (beta)", agent->getVersion().c_str());
    KtHandle<KtSipServerHeader> server = parseLine("Server: Foo (Linux)\r\n").dynamicCast<KtSipServerHeader>();
    ASSERT_FALSE(server.isNil());
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
    for (const char* word : {"high", "", static_cast<const char*>(nullptr)}) {
        try {
            KtSipPriorityHeader priority(word);
            ADD_FAILURE() << "no exception";
        } catch (const KtSipParseError& e) {
            EXPECT_STREQ("Invalid Priority header", e.getMessage());
        }
    }
    KtSipEventHeader event("dialog");
    event.setParameter("id", "4");
    KtHandle<KtSipHeader> copy = event.clone();
    event.setParameter("id", "5");
    EXPECT_EQ("Event: dialog;id=4\r\n", written(*copy));
}

TEST(TokenHeaders, OverlongValuesAreBounded) {
    const std::string big(1000, 'x');
    EXPECT_EQ(big, parseLine("Subject: " + big + "\r\n")->getValueString().c_str());
    for (const char* name : {"Priority", "Session"}) {
        try {
            parseLine(std::string(name) + ": " + big + "\r\n");
            ADD_FAILURE() << name;
        } catch (const KtSipParseError&) {
        }
    }
}

}  // namespace
