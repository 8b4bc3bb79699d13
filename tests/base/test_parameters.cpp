// Parameter lists: parsing, order, quoting, separators, copies.
#include <gtest/gtest.h>

#include <string>

#include "KtException.h"
#include "KtParameters.h"

namespace {
std::string text(const KtParameters& p) { return p.getString().c_str(); }
}  // namespace

TEST(KtParameters, ParseAndWriteBack) {
    struct Row {
        const char* input;
        char separator;
        const char* written;
        int next;  // byte left in the stream
    } rows[] = {
        {"tag=1", ';', "tag=1", -1},
        {"branch=z9hG4bK1;received=10.0.0.1;lr", ';', "branch=z9hG4bK1;received=10.0.0.1;lr", -1},
        {" ttl = 5 ; maddr=x\r\n", ';', "ttl=5;maddr=x", '\r'},
        {"tag=2, <sip:b>", ';', "tag=2", ','},
        {"a=\"x;y,z\";b", ';', "a=\"x;y,z\";b", -1},
        {";;a;;b=", ';', "a;b=", -1},
        {"realm=\"r\",nonce=\"n\"", ',', "realm=\"r\",nonce=\"n\"", -1},
    };
    for (const Row& r : rows) {
        KtParameters p(r.separator);
        KtByteArrayInputStream in(r.input, static_cast<unsigned>(strlen(r.input)));
        p.parse(in);
        EXPECT_EQ(text(p), r.written) << r.input;
        EXPECT_EQ(in.peek(), r.next) << r.input;
    }
}

TEST(KtParameters, ValuesByExactName) {
    KtParameters p;
    p.parse("tag=88;Tag=99;lr");
    EXPECT_STREQ(p.getValue("tag").c_str(), "88");
    EXPECT_STREQ(p.getValue("Tag").c_str(), "99");
    EXPECT_TRUE(p.getValue("TAG").isNil());
    EXPECT_TRUE(p.hasName("lr"));
    EXPECT_TRUE(p.getValue("lr").isNil());
    p.setValue("tag", "1");
    p.setValue("expires", "60");
    EXPECT_EQ(text(p), "tag=1;Tag=99;lr;expires=60");
    EXPECT_TRUE(p.removeValue("Tag"));
    EXPECT_FALSE(p.removeValue("Tag"));
    EXPECT_EQ(p.size(), 3u);
    EXPECT_STREQ(p.getName(2).c_str(), "expires");
    p.clear();
    EXPECT_TRUE(p.empty());
    EXPECT_EQ(text(p), "");
}

TEST(KtParameters, CopiesAreIndependent) {
    KtParameters p;
    p.parse("a=1;b=2");
    KtHandle<KtParameters> copy(p.clone());
    copy->setValue("a", "9");
    copy->setSeparator(',');
    EXPECT_EQ(text(p), "a=1;b=2");
    EXPECT_EQ(text(*copy), "a=9,b=2");
}

TEST(KtParameters, OverlongParameterIsRefused) {
    std::string big = "x=" + std::string(5000, 'v');
    KtParameters p;
    EXPECT_THROW(p.parse(big.c_str()), KtException);
}
