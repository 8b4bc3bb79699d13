// Parameter lists: parsing, order, quoting, separators, copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "KtException.h"
#include "KtParameters.h"
#include "TestSupport.h"
#include "TorvaneMemAllocator.h"

namespace {
using kttest::TricklingStream;
using kttest::drain;
std::string text(const KtParameters& p) { return p.getString().c_str(); }
}  // namespace

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
    // Names are looked up as C strings: a received name holding a NUL answers to the text
    // before it, a prefix or an extension of a name does not.
    const char withNul[] = "x\0y=1;x=2;xy=3";
    KtByteArrayInputStream in(withNul, sizeof withNul - 1);
    p.parse(in);
    EXPECT_STREQ(p.getValue("x").c_str(), "1");
    EXPECT_STREQ(p.getValue("xy").c_str(), "3");
    EXPECT_TRUE(p.getValue("").isNil());
    EXPECT_TRUE(p.getValue("xyz").isNil());
}

TEST(KtParameters, ReaderAgreesWithTheLockedGetters) {
    KtParameters p(',');
    p.parse("realm=\"r\",Nonce=abc,stale,qop=\"auth\"");
    const std::string names[] = {"realm", "nonce", "Nonce", "stale", "qop", "absent", ""};
    std::vector<std::string> byName, byIndex;
    {
        const KtParameters::Reader reader(p);
        ASSERT_EQ(reader.size(), p.size(KtParameters::sOwner));
        for (const std::string& name : names) {
            KtByteArrayOutputStream out;
            reader.writeValue(out, name.c_str());
            byName.push_back(std::string(reader.has(name.c_str()) ? "+" : "-") + std::string(out.data(), out.size()));
        }
        for (unsigned i = 0; i < reader.size(); ++i) {
            KtByteArrayOutputStream out;
            reader.writeNameAt(out, i);
            out << '=';
            reader.writeValueAt(out, i);
            byIndex.push_back(std::string(out.data(), out.size()) + "|" + reader.nameAt(i));
        }
    }
    for (unsigned i = 0; i < sizeof names / sizeof names[0]; ++i)
        EXPECT_EQ(byName[i], (p.hasName(names[i].c_str()) ? "+" : "-") + std::string(p.getValue(names[i].c_str()).c_str()))
            << names[i];
    for (unsigned i = 0; i < p.size(); ++i)
        EXPECT_EQ(byIndex[i], std::string(p.getName(i).c_str()) + "=" + p.getValueAt(i).c_str() + "|" + p.getName(i).c_str());
    EXPECT_EQ(byName[0], "+\"r\"");
    EXPECT_EQ(byName[3], "+");
}

// The pairs read and the bytes left, from a stream holding the text in one window and from
// one that hands it out a byte at a time (a pair then crosses windows and is gathered). A
// quoted escape in the name moves into the value; a name or value over 1024 bytes is
// refused, the stream left just past the byte that overflowed.
TEST(KtParameters, ReadsPairsWhereverTheWindowEnds) {
    const std::string longName(1024, 'n'), longValue(1024, 'v');
    const struct { std::string text; char separator; std::string list, rest; } rows[] = {
        {"a=1;b;c=\"x;y\"\r\n", ';', "a=1;b;c=\"x;y\"", "\r\n"},
        {" a = 1 ; ;b=2, next\r\n", ';', "a=1;b=2", ", next\r\n"},
        {"q=\"a\\\"b\";r=\"\\\r\n", ';', "q=\"a\\\"b\";r=\"\\", "\r\n"},
        {"n\"a\\\"b\"=v;m=w\r\n", ';', "n\"ab\"=\\\"v;m=w", "\r\n"},
        {"a=1,b=2,c=3\r\n", ',', "a=1,b=2,c=3", "\r\n"},
        {"realm=\"r\",nonce=\"n\"", ',', "realm=\"r\",nonce=\"n\"", ""},
        {";;a;;b=", ';', "a;b=", ""}, {"tag=2, <sip:b>", ';', "tag=2", ", <sip:b>"},
        {"branch=z9hG4bK1;received=10.0.0.1;lr", ';', "branch=z9hG4bK1;received=10.0.0.1;lr", ""},
        {"p1=1;p2=2;p3=3;p4=4;p5=5;p6=6;p2=two\r\n", ';', "p1=1;p2=two;p3=3;p4=4;p5=5;p6=6", "\r\n"},
        {"x==y;=z;k=\"unterminated\r\n", ';', "x==y;k=\"unterminated", "\r\n"},
        {"last=1", ';', "last=1", ""},
        {longName + "=" + longValue + ";z", ';', longName + "=" + longValue + ";z", ""},
        {longName + "n=v", ';', "error Parameter too long", "=v"},
        {"k=" + longValue + "v;z", ';', "error Parameter too long", ";z"},
        {"k=" + longValue + "v", ';', "error Parameter too long", ""},
        {longName + "n", ';', "error Parameter too long", ""},
        {"k=" + std::string(70000, 'v'), ';', "error Parameter too long", std::string(70000 - 1025, 'v')},
        {"k=\"" + std::string(1022, 'v') + "\\x\";z", ';', "error Parameter too long", "x\";z"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 40));
        kttest::readWholeAndTrickled(row.text, [&](KtInputStream& in, const char* how) {
            KtHandle<KtParameters> list(new KtParameters(row.separator));
            const std::string error = kttest::thrown([&] { list->parse(in); });
            EXPECT_EQ(row.list, error.empty() ? text(*list) : "error " + error) << how;
            EXPECT_EQ(row.rest, drain(in)) << how;
            KtByteArrayOutputStream led;  // the form that follows a URI or a header value
            list->serializeWithLead(led, ';');
            if (error.empty()) {
                EXPECT_EQ(row.list.empty() ? "" : ";" + row.list, std::string(led.data(), led.size()));
            }
        });
    }
}

// Room made ahead keeps the pairs already there and serves the ones that follow; a request
// for more than any list could use is capped.
TEST(KtParameters, ReservedRoomKeepsPairsAndIsBounded) {
    KtHandle<KtParameters> list(new KtParameters(';'));
    list->parse("a=1;b");
    list->reserve(20, 400, KtParameters::sOwner);
    std::string expected = "a=1;b";
    for (int i = 0; i < 20; ++i) {
        const std::string name = "n" + std::to_string(i), value = std::string(i, 'v');
        list->setValue(name.c_str(), value.c_str(), KtParameters::sOwner);
        expected += ";" + name + "=" + value;
    }
    EXPECT_EQ(expected, list->getString().c_str());

    const long long before = Torvane::MemPool::sStatsFor("KtParameters").liveBytes;
    {
        KtHandle<KtParameters> huge(new KtParameters(';'));
        huge->reserve(~0u, ~0u, KtParameters::sOwner);
        huge->setValue("x", "y", KtParameters::sOwner);
        EXPECT_STREQ("x=y", huge->getString().c_str());
        EXPECT_LT(Torvane::MemPool::sStatsFor("KtParameters").liveBytes - before, 128 * 1024);
    }
    EXPECT_EQ(before, Torvane::MemPool::sStatsFor("KtParameters").liveBytes);
}

// From more pairs than fit in place, random replacements (longer, shorter, bare), removals
// and clears, checked after every step against a plain list: the texts of a list share one
// buffer that is reused and compacted as it grows, and no pair may ever see another's bytes.
// Copies are checked, then changed alone.
TEST(KtParameters, EditsMatchASimpleModel) {
    std::vector<std::pair<std::string, std::string>> model;  // value "\x01" stands for bare
    KtHandle<KtParameters> list(new KtParameters(';'));
    list->parse("n0=1;n1=2;n2=3;n3=4;n4=5;n5=6;n6=7;n7=8;n8=9;n9=10;n10=11");
    for (int i = 0; i < 11; ++i) model.emplace_back("n" + std::to_string(i), std::to_string(i + 1));
    unsigned seed = 12345;
    auto next = [&seed](unsigned n) { return (seed = seed * 1103515245u + 12345u) / 65536u % n; };
    for (int step = 0; step < 3000; ++step) {
        std::string name = "n" + std::to_string(next(12));
        auto it = std::find_if(model.begin(), model.end(), [&](const auto& p) { return p.first == name; });
        switch (next(10)) {
        case 0:
            EXPECT_EQ(it != model.end(), list->removeValue(name.c_str()));
            if (it != model.end()) model.erase(it);
            break;
        case 1:
            list->setValue(name.c_str(), nullptr);
            if (it != model.end()) it->second = "\x01";
            else model.emplace_back(name, "\x01");
            break;
        case 2:
            if (next(20) == 0) {
                list->clear();
                model.clear();
            }
            break;
        default: {
            std::string value(next(150), static_cast<char>('a' + next(26)));
            list->setValue(name.c_str(), value.c_str());
            if (it != model.end()) it->second = value;
            else model.emplace_back(name, value);
        }
        }
        std::string expected;
        for (const auto& p : model)
            expected += (expected.empty() ? "" : ";") + p.first + (p.second == "\x01" ? "" : "=" + p.second);
        ASSERT_EQ(expected, list->getString().c_str()) << "step " << step;
        if (step % 97 == 0) {
            KtHandle<KtParameters> copy(list->clone());
            ASSERT_EQ(expected, copy->getString().c_str());
            for (const auto& p : model)
                EXPECT_EQ(p.second == "\x01" ? "" : p.second, copy->getValue(p.first.c_str()).c_str());
            copy->setSeparator(',');
            std::string commas = expected;
            std::replace(commas.begin(), commas.end(), ';', ',');
            ASSERT_EQ(commas, copy->getString().c_str());
            copy->setValue("n0", "changed", KtParameters::sOwner);
            copy->clear(KtParameters::sOwner);
            EXPECT_EQ(0u, copy->size());
            ASSERT_EQ(expected, list->getString().c_str()) << "copies are independent";
        }
    }
}
