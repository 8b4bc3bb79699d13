// Via header: parsing, writing, validity, construction, comparison and chains.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <cstring>
#include <string>

#include "KtSipViaHeader.h"

namespace {

using ktsiptest::written;

KtHandle<KtSipHeader> parseLine(const std::string& line) { return ktsiptest::parseHeaderText(line); }

struct ViaRow {
    const char* name;
    const char* line;
    const char* error;  // expected KtSipParseError text, or null
    const char* transport;
    const char* host;
    unsigned port;
    bool hasPort;
    const char* branch;
    const char* comment;
    const char* output;  // expected serialization
};

// A row whose line must be refused with `error`.
#define VIA_FAILS(name, line, error) {name, line, error, nullptr, nullptr, 0, false, nullptr, nullptr, nullptr}

const ViaRow kViaRows[] = {
    {"lowerTransport", "Via: SIP/2.0/udp pc33.example.com:5070;branch=z9hG4bK776asdhds;received=192.0.2.1\r\n",
     nullptr, "UDP", "pc33.example.com", 5070, true, "z9hG4bK776asdhds", "",
     "Via: SIP/2.0/UDP pc33.example.com:5070;branch=z9hG4bK776asdhds;received=192.0.2.1\r\n"},
    {"noPortCompact", "v: SIP/2.0/TCP host.example;branch=z9hG4bK1\r\n", nullptr, "TCP", "host.example", 5060,
     false, "z9hG4bK1", "", "v: SIP/2.0/TCP host.example;branch=z9hG4bK1\r\n"},
    {"commentBeforeParams", "Via: SIP/2.0/UDP h (proxy one);branch=z9hG4bK2\r\n", nullptr, "UDP", "h", 5060, false,
     "z9hG4bK2", "proxy one", "Via: SIP/2.0/UDP h;branch=z9hG4bK2 (proxy one)\r\n"},
    {"ipv6WithPort", "Via: SIP/2.0/UDP [2001:db8::9:1]:5060;branch=z9hG4bKas3-111\r\n", nullptr, "UDP",
     "[2001:db8::9:1]", 5060, true, "z9hG4bKas3-111", "",
     "Via: SIP/2.0/UDP [2001:db8::9:1]:5060;branch=z9hG4bKas3-111\r\n"},
    {"ipv6NoPort", "Via: SIP/2.0/TLS [2001:db8::9:255];branch=z9hG4bKas3\r\n", nullptr, "TLS", "[2001:db8::9:255]",
     5060, false, "z9hG4bKas3", "", "Via: SIP/2.0/TLS [2001:db8::9:255];branch=z9hG4bKas3\r\n"},
    {"loosePadding", "Via:  SIP / 2.0 / UDP   h : 5070 ; branch=z9hG4bK3\r\n", nullptr, "UDP", "h", 5070, true,
     "z9hG4bK3", "", "Via: SIP/2.0/UDP h:5070;branch=z9hG4bK3\r\n"},
    {"ttl255", "Via: SIP/2.0/UDP h;ttl=255\r\n", nullptr, "UDP", "h", 5060, false, "", "",
     "Via: SIP/2.0/UDP h;ttl=255\r\n"},
    VIA_FAILS("ttl256", "Via: SIP/2.0/UDP h;ttl=256\r\n", "Invalid value for ttl parameter in Via header"),
    VIA_FAILS("ttlNegative", "Via: SIP/2.0/UDP h;ttl=-1\r\n", "Invalid value for ttl parameter in Via header"),
    VIA_FAILS("ttlNotNumber", "Via: SIP/2.0/UDP h;ttl=abc\r\n", "Invalid value for ttl parameter in Via header"),
    VIA_FAILS("ttlHuge", "Via: SIP/2.0/UDP h;ttl=99999999999999999999\r\n", "Invalid value for ttl parameter in Via header"),
    VIA_FAILS("noHost", "Via: SIP/2.0/UDP ;branch=z9hG4bK1\r\n", "Invalid Via header"),
    VIA_FAILS("noVersion", "Via: SIP/UDP h\r\n", "Invalid Via header"),
    VIA_FAILS("empty", "Via: \r\n", "Invalid Via header"),
    VIA_FAILS("portNotNumber", "Via: SIP/2.0/UDP h:abc\r\n", "Invalid Via header"),
    VIA_FAILS("portTooLarge", "Via: SIP/2.0/UDP h:99999999999\r\n", "Invalid Via header"),
    VIA_FAILS("ipv6Unterminated", "Via: SIP/2.0/UDP [2001:db8::1;branch=z9hG4bK1\r\n", "Invalid Via header"),
    VIA_FAILS("commentUnterminated", "Via: SIP/2.0/UDP h (open\r\n", "Invalid Via header"),
    VIA_FAILS("transportTooLong", "Via: SIP/2.0/UDPUDPUDPUDPUDPUDPUDPUDPUDPUDPUDP h\r\n", "Invalid Via header"),
};

TEST(ViaHeader, ParsesFieldsAndWritesThemBack) {
    for (const ViaRow& row : kViaRows) {
        SCOPED_TRACE(row.name);
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
        KtSipViaHeader* via = dynamic_cast<KtSipViaHeader*>(header.get());
        ASSERT_NE(nullptr, via);
        EXPECT_EQ(HeaderVia, via->getHeaderID());
        EXPECT_TRUE(via->getNext().isNil());
        EXPECT_STREQ("SIP", via->getProtocol().c_str());
        EXPECT_STREQ("2.0", via->getVersion().c_str());
        EXPECT_STREQ(row.transport, via->getTransport().c_str());
        EXPECT_STREQ(row.host, via->getHost().c_str());
        EXPECT_EQ(row.port, via->getPort());
        EXPECT_EQ(row.hasPort, via->hasPort());
        EXPECT_STREQ(row.branch, via->getBranch().c_str());
        EXPECT_STREQ(row.comment, via->getComment().c_str());
        EXPECT_EQ(row.output, written(*via));
    }
}

TEST(ViaHeader, ReceivedParametersAndTTL) {
    KtHandle<KtSipHeader> header =
        parseLine("Via: SIP/2.0/UDP h:5070;branch=z9hG4bK1;received=192.0.2.1;maddr=224.2.0.1;ttl=16\r\n");
    KtSipViaHeader* via = dynamic_cast<KtSipViaHeader*>(header.get());
    ASSERT_NE(nullptr, via);
    EXPECT_EQ(4u, via->getParameters()->size());
    EXPECT_STREQ("192.0.2.1", via->getReceived().c_str());
    EXPECT_STREQ("224.2.0.1", via->getMaddr().c_str());
    EXPECT_EQ(16u, via->getTTL());
    EXPECT_EQ(1u, KtSipViaHeader().getTTL());
}

TEST(ViaHeader, CommaSeparatedElementsBecomeAChain) {
    KtHandle<KtSipHeader> header =
        parseLine("v: SIP/2.0/UDP a.example:5060;branch=z9hG4bK1, SIP/2.0/TCP b.example;branch=z9hG4bK2\r\n");
    KtSipViaHeader* first = dynamic_cast<KtSipViaHeader*>(header.get());
    ASSERT_NE(nullptr, first);
    KtSipViaHeader* second = dynamic_cast<KtSipViaHeader*>(first->getNext().get());
    ASSERT_NE(nullptr, second);
    EXPECT_TRUE(second->getNext().isNil());
    EXPECT_STREQ("b.example", second->getHost().c_str());
    EXPECT_STREQ("z9hG4bK2", second->getBranch().c_str());
    EXPECT_EQ("v: SIP/2.0/UDP a.example:5060;branch=z9hG4bK1\r\nVia: SIP/2.0/TCP b.example;branch=z9hG4bK2\r\n",
              written(*first));
}

TEST(ViaHeader, DefaultAndValueConstructors) {
    KtSipViaHeader empty;
    EXPECT_EQ(5060u, empty.getPort());
    EXPECT_FALSE(empty.hasPort());
    EXPECT_STREQ("UDP", empty.getTransport().c_str());
    EXPECT_EQ("Via: SIP/2.0/UDP \r\n", written(empty));

    KtSipViaHeader via("gw.example", 5080, "tcp");
    EXPECT_STREQ("TCP", via.getTransport().c_str());
    EXPECT_TRUE(via.getBranch().isNil());
    EXPECT_EQ("Via: SIP/2.0/TCP gw.example:5080\r\n", written(via));

    KtSipViaHeader v6("2001:db8::1", 5060, "udp");
    EXPECT_EQ("Via: SIP/2.0/UDP [2001:db8::1]:5060\r\n", written(v6));

    for (const char* host : {"", static_cast<const char*>(nullptr)}) {
        try {
            KtSipViaHeader bad(host, 5060, "UDP");
            ADD_FAILURE() << "no exception";
        } catch (const KtSipParseError& e) {
            EXPECT_STREQ("Invalid Via header", e.getMessage());
        }
    }
}

TEST(ViaHeader, BranchGenerationReplacesTheBranch) {
    KtSipViaHeader via("h", 5060, "UDP");
    via.setBranchRFC3261();
    KtString first = via.getBranch();
    EXPECT_EQ(0, std::strncmp(first.c_str(), "z9hG4bK", 7));
    EXPECT_EQ(7u + 36u, first.length());
    via.setBranchRFC3261();
    EXPECT_NE(first, via.getBranch());
    EXPECT_EQ(1u, via.getParameters()->size());
}

TEST(ViaHeader, CompareIgnoresParametersOnly) {
    KtHandle<KtSipViaHeader> a = new KtSipViaHeader("h", 5060, "UDP");
    KtHandle<KtSipViaHeader> b = new KtSipViaHeader("h", 5060, "udp");
    a->setBranchRFC3261();
    b->setBranchRFC3261();
    EXPECT_TRUE(a->compare(b));
    EXPECT_FALSE(a->compare(KtHandle<KtSipViaHeader>()));
    KtHandle<KtSipViaHeader> otherPort = new KtSipViaHeader("h", 5061, "UDP");
    KtHandle<KtSipViaHeader> otherHost = new KtSipViaHeader("g", 5060, "UDP");
    KtHandle<KtSipViaHeader> otherTransport = new KtSipViaHeader("h", 5060, "TCP");
    EXPECT_FALSE(a->compare(otherPort));
    EXPECT_FALSE(a->compare(otherHost));
    EXPECT_FALSE(a->compare(otherTransport));
}

TEST(ViaHeader, CloneCopiesParametersDeeplyWithoutTheChain) {
    KtHandle<KtSipHeader> header = parseLine("Via: SIP/2.0/UDP a;branch=z9hG4bK1 (c), SIP/2.0/UDP b\r\n");
    KtHandle<KtSipHeader> copy = header->clone();
    KtSipViaHeader* via = dynamic_cast<KtSipViaHeader*>(copy.get());
    ASSERT_NE(nullptr, via);
    EXPECT_TRUE(via->getNext().isNil());
    via->getParameters()->setValue("branch", "z9hG4bK2");
    EXPECT_STREQ("z9hG4bK1", static_cast<KtSipViaHeader*>(header.get())->getBranch().c_str());
    EXPECT_STREQ("c", via->getComment().c_str());
}

TEST(ViaHeader, EveryPrefixOfAValueParsesOrThrows) {
    const std::string value = "SIP/2.0/UDP [2001:db8::1]:5070 (x);branch=\"z9,hG\";ttl=3, SIP/2.0/TCP h";
    for (size_t n = 0; n <= value.size(); ++n) {
        try {
            parseLine("Via: " + value.substr(0, n) + "\r\n");
        } catch (const KtException&) {
        }
    }
    std::string longHost(900, 'a');
    KtHandle<KtSipHeader> header = parseLine("Via: SIP/2.0/UDP " + longHost + "\r\n");
    KtSipViaHeader* via = dynamic_cast<KtSipViaHeader*>(header.get());
    ASSERT_NE(nullptr, via);
    EXPECT_EQ(longHost.size(), via->getHost().length());
}

}  // namespace
