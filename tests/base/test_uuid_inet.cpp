// UUID text and host addresses.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <regex>
#include <set>
#include <string>

#include "KtException.h"
#include "KtInetAddress.h"
#include "TestSupport.h"
#include "TorvaneUUID.h"

TEST(TorvaneUUID, WritesDistinctLowerCaseUuids) {
    std::set<std::string> seen;
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");
    for (int i = 0; i < 2000; ++i) {
        char buffer[40];
        std::memset(buffer, '#', sizeof buffer);
        Torvane::UUID::uuid_create_string(buffer);
        ASSERT_EQ(buffer[Torvane::UUID::TEXT_LENGTH], '\0');
        ASSERT_EQ(buffer[Torvane::UUID::TEXT_LENGTH + 1], '#') << "wrote past the terminator";
        ASSERT_TRUE(std::regex_match(buffer, form)) << buffer;
        seen.insert(buffer);
    }
    EXPECT_EQ(seen.size(), 2000u);
}

TEST(KtInetAddress, NumericAndNamedAddresses) {
    struct Row { const char* text; const char* address; const char* name; bool ipv6; } rows[] = {
        {"127.0.0.1", "127.0.0.1", "127.0.0.1", false}, {"10.0.0.5", "10.0.0.5", "10.0.0.5", false},
        {"::1", "::1", "::1", true}, {"[2001:DB8:0::57]", "2001:db8::57", "2001:db8::57", true},
        {"localhost", nullptr, "localhost", false},
    };
    for (const Row& r : rows) {
        KtInetAddress a(r.text);
        if (r.address) {
            EXPECT_EQ(a.getHostAddress(), r.address) << r.text;
            EXPECT_EQ(a.isIPv6(), r.ipv6) << r.text;
        } else {
            EXPECT_FALSE(a.getHostAddress().empty()) << r.text;
        }
        EXPECT_EQ(a.getHostName(), r.name) << r.text;
    }
    const unsigned char loopback[4] = {127, 0, 0, 1};
    EXPECT_TRUE(KtInetAddress::sFromBytes(loopback, 4) == KtInetAddress("127.0.0.1"));
    EXPECT_FALSE(KtInetAddress("127.0.0.2") == KtInetAddress("127.0.0.1"));
    EXPECT_EQ(KtInetAddress().getHostAddress(), "0.0.0.0");
    EXPECT_THROW(KtInetAddress::sFromBytes(loopback, 5), KtException);
    EXPECT_EQ(kttest::thrown([] { KtInetAddress bad(""); }), "Unknown host: ");
}

TEST(KtInetAddress, LocalHostIsFoundQuicklyAndCached) {
    const auto start = std::chrono::steady_clock::now();
    KtInetAddress first = KtInetAddress::sGetLocalHost(250);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_FALSE(first.getHostAddress().empty());
    EXPECT_FALSE(first.getHostName().empty());
    EXPECT_NO_THROW(KtInetAddress(first.getHostAddress().c_str()));
    KtInetAddress second = KtInetAddress::sGetLocalHost(0);
    EXPECT_TRUE(first == second);
    EXPECT_EQ(first.getHostName(), second.getHostName());
}
