// MD5 known answers and hexadecimal encoding.
#include <gtest/gtest.h>

#include <cstring>

#include "KtException.h"
#include "KtHexEncoding.h"
#include "TestSupport.h"

TEST(MD5, Rfc1321TestSuite) {
    struct Row { const char* input; const char* digest; } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"}, {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"}, {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const Row& r : rows) {
        KtHandle<KtByteArray> digest = MD5::digest(KtByteArray::sCreate(r.input));
        ASSERT_EQ(digest->getLength(), 16u);
        EXPECT_STREQ(KtHexEncoding::toHex(digest).c_str(), r.digest) << '"' << r.input << '"';
        unsigned char raw[16];
        MD5::digest(r.input, static_cast<unsigned>(std::strlen(r.input)), raw);
        EXPECT_EQ(std::memcmp(raw, digest->getData(), 16), 0) << r.input;
    }
    // A nil handle digests nothing.
    EXPECT_STREQ(KtHexEncoding::toHex(MD5::digest(KtHandle<KtByteArray>())).c_str(),
                 "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(KtHexEncoding, RoundTripsEveryByteValueAndRefusesBadDigits) {
    unsigned char all[256];
    for (unsigned i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    KtString hex = KtHexEncoding::toHex(KtByteArray::sCreate(256, all));
    ASSERT_EQ(hex.length(), 512u);
    EXPECT_EQ(std::strncmp(hex.c_str(), "000102", 6), 0);
    EXPECT_STREQ(hex.c_str() + 500, "fafbfcfdfeff");
    KtHandle<KtByteArray> back = KtHexEncoding::fromHexString(hex.c_str());
    ASSERT_EQ(back->getLength(), 256u);
    EXPECT_EQ(std::memcmp(back->getData(), all, 256), 0);
    EXPECT_EQ(KtHexEncoding::fromHexString("00FFaB")->getData()[2], 0xab);
    EXPECT_STREQ(KtHexEncoding::toHex(KtHandle<KtByteArray>()).c_str(), "");

    struct Row { const char* text; int value /* -1: refused */; } rows[] = {
        {"00", 0}, {"7f", 127}, {"Af", 175}, {"fF", 255}, {"g0", -1}, {"0g", -1},
        {"0", -1}, {"", -1}, {" 1", -1}, {"-1", -1}, {"%2", -1},
    };
    for (const Row& r : rows) EXPECT_EQ(KtHexEncoding::fromHex(r.text), r.value) << '"' << r.text << '"';
    EXPECT_EQ(KtHexEncoding::fromHex(nullptr), -1);
    for (const char* bad : {"abc", "zz", "0x12", "12 "})
        EXPECT_EQ(kttest::thrown([&] { KtHexEncoding::fromHexString(bad); }), "Invalid hexadecimal text") << bad;
}
