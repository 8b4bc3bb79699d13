// The header registry and the header-line grammar, exercised with unknown headers and a
// small header class registered by this test.
#include <gtest/gtest.h>

#include <string>

#include "KtSipHeader.h"
#include "KtSipUnknownHeader.h"

namespace {

// A one-token header used only here: reads up to a comma or the line end.
class XTestHeader : public KtSipCompactHeaderImpl<XTestHeader, HeaderUnknown> {
public:
    static const KtString sToken;
    static const KtString sCompactToken;
    XTestHeader() = default;
    XTestHeader(const XTestHeader&) = default;
    void doParse(KtInputStream& in) override {
        static const KtDelimiterSet stop(",\r\n");
        m_Value = KtString("");
        m_Value.mutableBuffer()->parse(in, stop);
        m_Value.trim();
    }
    void doSerialize(KtOutputStream& out) const override { out << m_Value; }
    KtString m_Value;
};
const KtString XTestHeader::sToken("X-Kt-Test");
const KtString XTestHeader::sCompactToken("y");
KtSipHeader* otherConstructor() { return new KtSipUnknownHeader("other"); }
const bool registered = (KtSipHeader::sAddConstructor(XTestHeader::sToken.c_str(),
                                                      &KtSipHeaderConstructor<XTestHeader>::Constructor),
                         KtSipHeader::sAddConstructor(XTestHeader::sCompactToken.c_str(),
                                                      &KtSipHeaderConstructor<XTestHeader>::Constructor),
                         KtSipHeader::sAddConstructor("x-kt-TEST", &otherConstructor), true);

KtHandle<KtSipHeader> parseLine(const std::string& line, KtByteArrayInputStream** rest = nullptr) {
    static std::string keep;
    keep = line;
    static KtByteArrayInputStream* in = nullptr;
    delete in;
    in = new KtByteArrayInputStream(keep.data(), static_cast<unsigned>(keep.size()));
    if (rest) *rest = in;
    return KtSipHeader::sConstructFrom(*in);
}

std::string serialized(const KtHandle<KtSipHeader>& h) {
    KtByteArrayOutputStream out;
    h->serialize(out);
    return std::string(out.data(), out.size());
}

std::string failure(const std::string& line) {
    try {
        parseLine(line);
    } catch (const KtSipParseError& e) {
        return e.getMessage();
    }
    return "(no exception)";
}

}  // namespace

TEST(HeaderRegistry, LooksNamesUpWithoutCaseAndKeepsTheFirstRegistration) {
    ASSERT_TRUE(registered);
    for (const char* name : {"X-Kt-Test", "x-kt-test", "X-KT-TEST", "y", "Y"}) {
        KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(name));
        EXPECT_NE(dynamic_cast<XTestHeader*>(h.get()), nullptr) << name;
        EXPECT_STREQ(h->getToken().c_str(), "X-Kt-Test") << name;
        EXPECT_STREQ(h->getCompactToken().c_str(), "y");
    }
    EXPECT_TRUE(KtSipHeader::sIsRegistered("x-KT-test"));
    for (const char* name : {"X-Kt-Tes", " X-Kt-Test", "X-Kt-Test2"}) {
        KtHandle<KtSipHeader> h(KtSipHeader::sConstruct(name));
        auto* u = dynamic_cast<KtSipUnknownHeader*>(h.get());
        ASSERT_NE(u, nullptr) << name;
        EXPECT_EQ(u->getHeaderID(), HeaderUnknown);
        EXPECT_STREQ(u->getName().c_str(), name);
        EXPECT_STREQ(u->getValue().c_str(), "");
    }
}

TEST(HeaderLine, NameIsKeptAsReceivedAndTheStaticTokenNeverChanges) {
    const char* staticText = XTestHeader::sToken.c_str();
    struct Row {
        const char* line;
        const char* written;
    } rows[] = {
        {"X-KT-TEST: a\r\n", "X-KT-TEST: a\r\n"},
        {"y: a\r\n", "y: a\r\n"},
        {"X-Kt-Test  : a\r\n", "X-Kt-Test: a\r\n"},
        {"x-kt-test:a\r\n", "x-kt-test: a\r\n"},
    };
    for (const Row& r : rows) {
        KtHandle<KtSipHeader> h = parseLine(r.line);
        EXPECT_NE(dynamic_cast<XTestHeader*>(h.get()), nullptr) << r.line;
        EXPECT_EQ(serialized(h), r.written);
        // Writing into the parsed header's name must not reach the class's token.
        KtString token = h->getToken();
        token.toLower();
    }
    EXPECT_STREQ(XTestHeader::sToken.c_str(), "X-Kt-Test");
    EXPECT_EQ(XTestHeader::sToken.c_str(), staticText);
    KtHandle<KtSipHeader> built(new XTestHeader());
    EXPECT_STREQ(built->getToken().c_str(), "X-Kt-Test");
}

TEST(HeaderLine, CommaListsBecomeChainsUnderTheFullName) {
    KtHandle<KtSipHeader> h = parseLine("y: a, b ,c\r\n");
    std::vector<std::string> values;
    for (KtSipHeader* p = h.get(); p; p = p->getNext().get())
        values.push_back(static_cast<XTestHeader*>(p)->m_Value.c_str());
    EXPECT_EQ(values, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(serialized(h), "y: a\r\nX-Kt-Test: b\r\nX-Kt-Test: c\r\n");
}

TEST(HeaderLine, UnknownHeadersAreNeverSplit) {
    KtHandle<KtSipHeader> h = parseLine("X-Foo:   a, b ;;,,\r\n");
    auto* u = dynamic_cast<KtSipUnknownHeader*>(h.get());
    ASSERT_NE(u, nullptr);
    EXPECT_TRUE(u->getNext().isNil());
    EXPECT_STREQ(u->getValue().c_str(), "a, b ;;,,");
    EXPECT_EQ(serialized(h), "X-Foo: a, b ;;,,\r\n");
}

TEST(HeaderLine, FoldingJoinsLinesWithoutASeparator) {
    KtByteArrayInputStream* rest = nullptr;
    KtHandle<KtSipHeader> h = parseLine("X-Foo: a\r\n\tb\r\n c\nNext: x\r\n", &rest);
    EXPECT_STREQ(static_cast<KtSipUnknownHeader*>(h.get())->getValue().c_str(), "abc");
    EXPECT_EQ(rest->read(), 'N');  // nothing of the next line was consumed
    KtHandle<KtSipHeader> last = parseLine("X-Bar: end");
    EXPECT_STREQ(static_cast<KtSipUnknownHeader*>(last.get())->getValue().c_str(), "end");
}

TEST(HeaderLine, MalformedLinesAreRefusedAndConsumed) {
    EXPECT_EQ(failure(": value\r\n"), "Header token expected");
    EXPECT_EQ(failure("   : value\r\n"), "Header token expected");
    EXPECT_EQ(failure(""), "Header token expected");
    EXPECT_EQ(failure("no colon here\r\n"), "Header colon expected");
    std::string longLine = "X-Long: " + std::string(1014, 'v') + "\r\n";  // 1022 bytes of text fit
    EXPECT_NO_THROW(parseLine(longLine));
    std::string tooLong = "X-Long: " + std::string(1015, 'v') + "\r\n";
    EXPECT_EQ(failure(tooLong), "Header line too long");
    std::string huge = "X-Huge: " + std::string(100000, 'v') + "\r\n" + "Next: 1\r\n";
    KtByteArrayInputStream* rest = nullptr;
    EXPECT_THROW(parseLine(huge, &rest), KtSipParseError);
    EXPECT_EQ(rest->read(), 'N');  // the bad line was consumed whole
    KtByteArrayInputStream* rest2 = nullptr;
    EXPECT_THROW(parseLine(": x\r\nNext: 1\r\n", &rest2), KtSipParseError);
    EXPECT_EQ(rest2->read(), 'N');
}

TEST(HeaderLine, LongChainsNeedNoDeepRecursion) {
    // About 500 elements on one line; the chain is built and freed iteratively.
    std::string line = "y: ";
    for (int i = 0; i < 500; ++i) line += "a,";
    line += "a\r\n";
    KtHandle<KtSipHeader> h = parseLine(line);
    unsigned count = 0;
    for (KtSipHeader* p = h.get(); p; p = p->getNext().get()) ++count;
    EXPECT_EQ(count, 501u);
    // A chain built by hand of 200000 headers is released without exhausting the stack.
    KtHandle<KtSipHeader> head(new KtSipUnknownHeader("X-A", "1"));
    KtSipHeader* tail = head.get();
    for (int i = 0; i < 200000; ++i) {
        KtSipHeader* n = new KtSipUnknownHeader("X-A", "1");
        tail->setNext(KtHandle<KtSipHeader>(n));
        tail = n;
    }
    head.clear();
    SUCCEED();
}

TEST(HeaderLine, CloneCopiesOneHeaderOnly) {
    KtHandle<KtSipHeader> h = parseLine("X-Foo: v\r\n");
    h->addNext(new KtSipUnknownHeader("X-Foo", "w"));
    KtHandle<KtSipHeader> copy(h->clone());
    EXPECT_TRUE(copy->getNext().isNil());
    EXPECT_EQ(serialized(copy), "X-Foo: v\r\n");
    EXPECT_EQ(copy->getHeaderID(), HeaderUnknown);
}
