// The sip: URL: parsing, text form, transport, equality.
#include <gtest/gtest.h>

#include <string>

#include "KtSipParseError.h"
#include "KtSipURL.h"

namespace {

std::string rest(const KtInputStream& in) { return std::string(in.current(), in.end()); }

struct ParseCase {
    const char* name;
    const char* input;
    bool inBracket;
    const char* user;
    const char* password;
    const char* host;
    int port;  // 0: not given
    int params;
    int headers;
    const char* text;  // getString()
    const char* rest;
};

TEST(KtSipURL, Parse) {
    const char* unusualUser = "1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*";
    const char* unusualPassword = "&it+has=1,weird!*pas$wo~d_too.(doesn't-it)";
    const std::string unusual = std::string("sip:") + unusualUser + ":" + unusualPassword + "@example.com";
    const ParseCase cases[] = {
        {"user and host", "sip:alice@atlanta.com", false, "alice", "", "atlanta.com", 0, 0, 0, "sip:alice@atlanta.com", ""},
        {"all parts", "sip:alice:secret@atlanta.com:5070;transport=tcp;lr?subject=project", true, "alice", "secret",
         "atlanta.com", 5070, 2, 1, "sip:alice:secret@atlanta.com:5070;transport=tcp;lr?subject=project", ""},
        {"IPv6 with port", "sip:[2001:db8::1]:5060", true, "", "", "[2001:db8::1]", 5060, 0, 0,
         "sip:[2001:db8::1]:5060", ""},
        {"IPv6 ending in what looks like a port", "<sip:user@[2001:db8::10:5070]>", false, "user", "",
         "[2001:db8::10:5070]", 0, 0, 0, "sip:user@[2001:db8::10:5070]", ""},
        {"escapes kept as written", "sip:%75se%72@example.com", false, "%75se%72", "", "example.com", 0, 0, 0,
         "sip:%75se%72@example.com", ""},
        {"escaped parameters kept", "<sip:cal%6Cer@host5.example.net;%6C%72;n%61me=v%61lue%25%34%31>", false,
         "cal%6Cer", "", "host5.example.net", 0, 2, 0, "sip:cal%6Cer@host5.example.net;%6C%72;n%61me=v%61lue%25%34%31",
         ""},
        {"unusual user part", unusual.c_str(), true, unusualUser, unusualPassword, "example.com", 0, 0, 0,
         unusual.c_str(), ""},
        {"semicolon in user part", "sip:user;par=u%40example.net@example.com", true, "user;par=u%40example.net", "",
         "example.com", 0, 0, 0, "sip:user;par=u%40example.net@example.com", ""},
        {"bare URL ends before its first ;", "sip:alice@a.example;tag=88", false, "alice", "", "a.example", 0, 0, 0,
         "sip:alice@a.example", ";tag=88"},
        {"bare URL with ; before @ ends there", "sip:user;par=u@h;tag=1", false, "", "", "user", 0, 0, 0, "sip:user",
         ";par=u@h;tag=1"},
        {"bracketed parameters, comma left", "<sip:p1;lr>,<sip:p2;lr>", false, "", "", "p1", 0, 1, 0, "sip:p1;lr",
         ",<sip:p2;lr>"},
        {"bare URL stops at comma", "sip:c@d:5062, sip:e@f", false, "c", "", "d", 5062, 0, 0, "sip:c@d:5062",
         ", sip:e@f"},
        {"request line", "sip:bob@b.example;maddr=[2001:db8::1]\r\n", true, "bob", "", "b.example", 0, 1, 0,
         "sip:bob@b.example;maddr=[2001:db8::1]", "\r\n"},
        {"blanks before the closing bracket", "< sip:a@b;x=1 >;tag=3", false, "a", "", "b", 0, 1, 0,
         "sip:a@b;x=1", ";tag=3"},
        {"empty parameters skipped, valueless kept", "<sip:s.example.com;lr;;u=v;n>", false, "", "",
         "s.example.com", 0, 3, 0, "sip:s.example.com;lr;u=v;n", ""},
        {"upper-case scheme", "SIP:a@b", false, "a", "", "b", 0, 0, 0, "sip:a@b", ""},
    };
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(c.name);
        KtSipURL url;
        url.setInBracket(c.inBracket);
        KtByteArrayInputStream in(c.input, static_cast<unsigned>(std::strlen(c.input)));
        url.parse(in);
        EXPECT_STREQ(c.user, url.getUser().c_str());
        EXPECT_STREQ(c.password, url.getPassword().c_str());
        EXPECT_STREQ(c.host, url.getHost().c_str());
        EXPECT_EQ(c.port != 0, url.isPortGiven());
        EXPECT_EQ(c.port != 0 ? c.port : 5060, url.getPort());
        EXPECT_EQ(c.params, url.numParameters());
        EXPECT_EQ(c.headers, url.numHeaders());
        EXPECT_EQ(std::string(c.text), url.getString().c_str());
        EXPECT_EQ(std::string(c.rest), rest(in));
    }
}

struct ErrorCase {
    const char* input;
    const char* message;
};

TEST(KtSipURL, Errors) {
    const std::string longHost = "sip:" + std::string(1024, 'h');
    const std::string longParam = "sip:h;p=" + std::string(1024, 'v');
    const std::string longHeader = "sip:h?p=" + std::string(1023, 'v');
    const ErrorCase cases[] = {
        {"sips:a@b", "Scheme is not SIP"},
        {"sip:@host", "Sip URL wrong format (\"@\" present without a user part)"},
        {"sip::pw@host", "Sip URL wrong format (\"@\" present without a user part)"},
        {"sip:", "Sip URL wrong format"},
        {"sip:host:", "Sip URL wrong format"},
        {"sip:host:50x", "Sip URL wrong format"},
        {"sip:host:70000", "Sip URL wrong format"},
        {"sip:2001:db8::10", "Sip URL wrong format"},
        {"<sip:a@b", "Sip URL wrong format"},
        {"<sip:a@b c>", "Sip URL wrong format"},
        {"sip:a@[::1", "Sip URL wrong format"},
        {"sip:a\"b@c", "Illegal URL construct"},
        {"sip:a@b@c", "Illegal URL construct"},
        {"sip:a@ho<st", "Illegal URL construct"},
        {"sip:a@b;p=\"q\"", "Illegal URL construct"},
        {"sip:a@b;=v", "Sip URL wrong format"},
        {"sip:a@b?a", "SIP URL Header doesn't have Key/Value pair (1)\n"},
        {"sip:a@b?a=", "SIP URL Header key doesn't have a value (1)\n"},
        {"sip:a@b?a;b=1", "SIP URL Header doesn't have Key/Value pair (2)\n"},
        {"sip:a@b?a=;b=1", "SIP URL Header key doesn't have a value (2)\n"},
        {"sip:a@b?a=1;", "SIP URL Header doesn't have Key/Value pair (1)\n"},
        {"sip:a@b?a=%4", "Illegal URL construct"},
        {"<sip:a@b?a=1", "Sip URL wrong format"},
        {longHost.c_str(), "Invalid SIP URL - Buffer overflow"},
        {longParam.c_str(), "Invalid SIP URL - Buffer overflow"},
        {longHeader.c_str(), "Invalid SIP URL - Buffer overflow"},
    };
    for (const ErrorCase& c : cases) {
        SCOPED_TRACE(c.input);
        try {
            KtSipURL url(c.input);
            FAIL() << "parsed as " << url.getString();
        } catch (const KtSipParseError& e) {
            EXPECT_STREQ(c.message, e.getMessage());
        }
    }
    // The largest components that fit.
    EXPECT_EQ(1023u, KtSipURL(("sip:" + std::string(1023, 'h')).c_str()).getHost().length());
    EXPECT_EQ(1021u, KtSipURL(("sip:h?p=" + std::string(1021, 'v')).c_str()).getHeader("p").length());
}

TEST(KtSipURL, Headers) {
    KtSipURL two("sip:a@b?a=1;b=2");
    EXPECT_EQ(2, two.numHeaders());
    EXPECT_STREQ("2", two.getHeader("b").c_str());
    EXPECT_STREQ("A", KtSipURL("sip:a@b?a=%41").getHeader("a").c_str());

    KtSipURL route("<sip:user@example.com?Route=%3Csip:sip.example.com%3E>");
    EXPECT_STREQ("<sip:sip.example.com>", route.getHeader("Route").c_str());
    EXPECT_EQ(std::string("sip:user@example.com?Route=%3csip:sip.example.com%3e"), route.getString().c_str());

    // Blanks are dropped outside quotes, a folded line is joined, escaped ; and = are data.
    KtSipURL folded("sip:h?s=\"a b\" c;t=x\r\n y;u=%3B%3D");
    EXPECT_STREQ("\"a b\"c", folded.getHeader("s").c_str());
    EXPECT_STREQ("xy", folded.getHeader("t").c_str());
    EXPECT_STREQ(";=", folded.getHeader("u").c_str());
    EXPECT_EQ(std::string("sip:h?s=%22a%20b%22c;t=xy;u=%3B%3D"), folded.getString().c_str());

    // In a URL read with the in-bracket flag but no "<", a ">" in the header part is data.
    EXPECT_STREQ("a>b", KtSipURL("sip:h?x=a>b").getHeader("x").c_str());
    // A line end that is not folded ends the header part; what follows stays in the stream.
    const char text[] = "sip:h?x=1\r\nTo: y";
    KtByteArrayInputStream in(text, sizeof text - 1);
    KtSipURL url;
    url.setInBracket(true);
    url.parse(in);
    EXPECT_STREQ("1", url.getHeader("x").c_str());
    EXPECT_EQ("To: y", rest(in));
}

TEST(KtSipURL, BuiltURLEscapesHeaderValues) {
    KtSipURL url;
    url.setHost("h.example");
    url.setUser("bob");
    url.setPort(5070);
    url.setParameter("lr", nullptr);
    url.setHeader("Subject", "a;b=c d");
    EXPECT_EQ(std::string("sip:bob@h.example:5070;lr?Subject=a%3Bb%3Dc%20d"), url.getString().c_str());
    KtSipURL back(url.getString().c_str());
    EXPECT_STREQ("a;b=c d", back.getHeader("Subject").c_str());
    EXPECT_TRUE(back == url);
}

TEST(KtSipURL, ParameterAccessors) {
    KtSipURL url("sip:h;ttl=15;user=phone;method=INVITE;maddr=239.255.255.1");
    EXPECT_EQ(15, url.getTTL());
    EXPECT_STREQ("phone", url.getUserParam().c_str());
    EXPECT_STREQ("INVITE", url.getMethodParam().c_str());
    EXPECT_STREQ("239.255.255.1", url.getMAddrParam().c_str());
    EXPECT_EQ(-1, KtSipURL("sip:h").getTTL());
    EXPECT_EQ(-1, KtSipURL("sip:h;ttl=x1").getTTL());
}

TEST(KtSipURL, TransportParam) {
    struct Case {
        const char* text;
        KtSipURL::Transport transport;
        bool unknown;
    } cases[] = {
        {"sip:h", KtSipURL::UDP, false},          {"sip:h;transport=udp", KtSipURL::UDP, false},
        {"sip:h;transport=tcp", KtSipURL::TCP, false}, {"sip:h;transport=TCP", KtSipURL::TCP, false},
        {"sip:h;transport=sctp", KtSipURL::UDP, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const unsigned long before = KtSipURL::sUnknownTransportCount();
        EXPECT_EQ(c.transport, KtSipURL(c.text).getTransportParam());
        EXPECT_EQ(before + (c.unknown ? 1 : 0), KtSipURL::sUnknownTransportCount());
    }
}

TEST(KtSipURL, Equality) {
    struct Case {
        const char* a;
        const char* b;
        bool equal;
    } cases[] = {
        {"sip:bob@h", "sip:bob@h", true},
        {"sip:bob@h", "sip:bob@h:5060", true},
        {"sip:bob@h:5060", "sip:bob@h", true},
        {"sip:bob@h", "sip:Bob@h", false},
        {"sip:bob@h", "sip:bob@H", false},
        {"sip:bob@h:5070", "sip:bob@h", false},
        {"sip:bob@h;transport=tcp", "sip:bob@h", false},
        {"sip:bob:x@h", "sip:bob:y@h", false},
        {"sip:bob@h;transport=udp", "sip:bob@h", true},
        {"sip:bob@h", "sip:bob@h;transport=UDP", true},
        {"sip:bob@h;lr", "sip:bob@h", false},
        {"sip:bob@h;transport=udp;lr", "sip:bob@h", false},
        {"sip:bob@h;a=1;b=2", "sip:bob@h;b=2;a=1", true},
        {"sip:bob@h;a=1", "sip:bob@h;a=2", false},
        {"sip:bob@h;a=1", "sip:bob@h;b=1", false},
        {"sip:bob@h?x=1", "sip:bob@h?x=2", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        EXPECT_EQ(c.equal, KtSipURL(c.a) == KtSipURL(c.b));
        EXPECT_EQ(!c.equal, KtSipURL(c.a) != KtSipURL(c.b));
    }
}

TEST(KtSipURL, CloneIsDeep) {
    KtSipURL url("<sip:a@b;p=1?h=1>");
    KtHandle<KtSipURL> copy = url.clone();
    copy->setParameter("p", "2");
    copy->setHeader("h", "2");
    EXPECT_EQ(std::string("sip:a@b;p=1?h=1"), url.getString().c_str());
    EXPECT_TRUE(copy->isSipURL() && copy->isInBracket() && copy->hasOpeningBracket());
}

}  // namespace
