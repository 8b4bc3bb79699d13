// Via header: parsing, writing, validity, construction, comparison and chains.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <cstring>
#include <string>

#include "KtSipViaHeader.h"

namespace {

using namespace kttest;

// A line (without its line end); transport, host, port, whether it was given, branch, comment, and the
// line written (null: the line itself).
struct ViaRow { const char *name, *line, *transport, *host; unsigned port; bool hasPort;
                const char *branch, *comment = "", *output = nullptr; };

const ViaRow kViaRows[] = {
    {"lowerTransport", "Via: SIP/2.0/udp pc33.example.com:5070;branch=z9hG4bK776asdhds;received=192.0.2.1", "UDP",
     "pc33.example.com", 5070, true, "z9hG4bK776asdhds", "",
     "Via: SIP/2.0/UDP pc33.example.com:5070;branch=z9hG4bK776asdhds;received=192.0.2.1"},
    {"noPortCompact", "v: SIP/2.0/TCP host.example;branch=z9hG4bK1", "TCP", "host.example", 5060, false, "z9hG4bK1"},
    {"commentBeforeParams", "Via: SIP/2.0/UDP h (proxy one);branch=z9hG4bK2", "UDP", "h", 5060, false, "z9hG4bK2",
     "proxy one", "Via: SIP/2.0/UDP h;branch=z9hG4bK2 (proxy one)"},
    {"ipv6WithPort", "Via: SIP/2.0/UDP [2001:db8::9:1]:5060;branch=z9hG4bKas3-111", "UDP", "[2001:db8::9:1]", 5060,
     true, "z9hG4bKas3-111"},
    {"ipv6NoPort", "Via: SIP/2.0/TLS [2001:db8::9:255];branch=z9hG4bKas3", "TLS", "[2001:db8::9:255]", 5060, false,
     "z9hG4bKas3"},
    {"loosePadding", "Via:  SIP / 2.0 / UDP   h : 5070 ; branch=z9hG4bK3", "UDP", "h", 5070, true, "z9hG4bK3", "",
     "Via: SIP/2.0/UDP h:5070;branch=z9hG4bK3"},
    {"ttl255", "Via: SIP/2.0/UDP h;ttl=255", "UDP", "h", 5060, false, ""},
    {"transportLongerThanUDP", "Via: SIP/2.0/UDPX h;branch=z9hG4bK4", "UDPX", "h", 5060, false, "z9hG4bK4"},
    {"hostRightAfterTransportTab", "Via: SIP/2.0/TCP\th.example;branch=z9hG4bK5", "TCP", "h.example", 5060, false,
     "z9hG4bK5", "", "Via: SIP/2.0/TCP h.example;branch=z9hG4bK5"},
};

TEST(ViaHeader, ParsesFieldsAndWritesThemBack) {
    for (const ViaRow& row : kViaRows) {
        SCOPED_TRACE(row.name);
        KtHandle<KtSipViaHeader> via = parseAs<KtSipViaHeader>(row.line);
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
        EXPECT_EQ(std::string(row.output ? row.output : row.line) + "\r\n", written(*via));
    }
}

TEST(ViaHeader, MalformedLinesAreRefused) {
    const char* const ttl = "Invalid value for ttl parameter in Via header";
    const std::pair<const char*, const char*> rows[] = {
        {"Via: SIP/2.0/UDP h;ttl=256", ttl}, {"Via: SIP/2.0/UDP h;ttl=-1", ttl}, {"Via: SIP/2.0/UDP h;ttl=abc", ttl},
        {"Via: SIP/2.0/UDP h;ttl=99999999999999999999", ttl},
        {"Via: SIP/2.0/UDP ;branch=z9hG4bK1", "Invalid Via header"}, {"Via: SIP/UDP h", "Invalid Via header"},
        {"Via: ", "Invalid Via header"}, {"Via: SIP/2.0/UDP", "Invalid Via header"},
        {"Via: SIP/2.0/UDP/h", "Invalid Via header"}, {"Via: SIP/2.0/UDP;branch=z9hG4bK1", "Invalid Via header"}, {"Via: SIP/2.0/UDP h:abc", "Invalid Via header"},
        {"Via: SIP/2.0/UDP h:99999999999", "Invalid Via header"},
        {"Via: SIP/2.0/UDP [2001:db8::1;branch=z9hG4bK1", "Invalid Via header"},
        {"Via: SIP/2.0/UDP h (open", "Invalid Via header"},
        {"Via: SIP/2.0/UDPUDPUDPUDPUDPUDPUDPUDPUDPUDPUDP h", "Invalid Via header"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.second, thrown<KtSipParseError>([&] { parseHeaderLine(row.first); })) << row.first;
}

TEST(ViaHeader, ReceivedParametersAndTTL) {
    auto via = parseAs<KtSipViaHeader>("Via: SIP/2.0/UDP h:5070;branch=z9hG4bK1;received=192.0.2.1;maddr=224.2.0.1;"
                                       "ttl=16");
    EXPECT_EQ(4u, via->getParameters()->size());
    EXPECT_STREQ("192.0.2.1", via->getReceived().c_str());
    EXPECT_STREQ("224.2.0.1", via->getMaddr().c_str());
    EXPECT_EQ(16u, via->getTTL());
    EXPECT_EQ(1u, KtSipViaHeader().getTTL());
}

TEST(ViaHeader, CommaSeparatedElementsBecomeAChain) {
    auto first =
        parseAs<KtSipViaHeader>("v: SIP/2.0/UDP a.example:5060;branch=z9hG4bK1, SIP/2.0/TCP b.example;branch=z9hG4bK2");
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
    EXPECT_EQ("Via: SIP/2.0/UDP [2001:db8::1]:5060\r\n", written(KtSipViaHeader("2001:db8::1", 5060, "udp")));
    for (const char* host : {"", static_cast<const char*>(nullptr)})
        EXPECT_EQ("Invalid Via header", thrown<KtSipParseError>([&] { KtSipViaHeader bad(host, 5060, "UDP"); }));
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
    for (const KtHandle<KtSipViaHeader>& other :
         {KtHandle<KtSipViaHeader>(new KtSipViaHeader("h", 5061, "UDP")),
          KtHandle<KtSipViaHeader>(new KtSipViaHeader("g", 5060, "UDP")),
          KtHandle<KtSipViaHeader>(new KtSipViaHeader("h", 5060, "TCP"))})
        EXPECT_FALSE(a->compare(other)) << written(*other);
}

TEST(ViaHeader, CloneCopiesParametersDeeplyWithoutTheChain) {
    KtHandle<KtSipViaHeader> header = parseAs<KtSipViaHeader>("Via: SIP/2.0/UDP a;branch=z9hG4bK1 (c), SIP/2.0/UDP b");
    KtHandle<KtSipHeader> copy = header->clone();
    KtSipViaHeader* via = dynamic_cast<KtSipViaHeader*>(copy.get());
    ASSERT_NE(nullptr, via);
    EXPECT_TRUE(via->getNext().isNil());
    via->getParameters()->setValue("branch", "z9hG4bK2");
    EXPECT_STREQ("z9hG4bK1", header->getBranch().c_str());
    EXPECT_STREQ("c", via->getComment().c_str());
}

TEST(ViaHeader, EveryPrefixOfAValueParsesOrThrows) {
    const std::string value = "SIP/2.0/UDP [2001:db8::1]:5070 (x);branch=\"z9,hG\";ttl=3, SIP/2.0/TCP h";
    for (size_t n = 0; n <= value.size(); ++n) thrown([&] { parseHeaderLine("Via: " + value.substr(0, n)); });
    EXPECT_EQ(900u, parseAs<KtSipViaHeader>("Via: SIP/2.0/UDP " + std::string(900, 'a'))->getHost().length());
}

}  // namespace
