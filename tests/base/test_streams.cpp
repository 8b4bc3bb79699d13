// Input and output streams and the tokenizer: bounds, marks, failures.
#include <gtest/gtest.h>

#include <string>

#include "KtException.h"
#include "KtOutputStream.h"
#include "KtStreamTokenizer.h"

namespace {
KtByteArrayInputStream streamOf(const std::string& s) {
    return KtByteArrayInputStream(s.data(), static_cast<unsigned>(s.size()));
}
}  // namespace

TEST(KtInputStream, ReadMarkResetAndBlockReads) {
    std::string text = "abcdef";
    KtByteArrayInputStream in = streamOf(text);
    EXPECT_EQ(in.read(), 'a');
    in.mark(1);
    EXPECT_EQ(in.read(), 'b');
    EXPECT_EQ(in.read(), 'c');
    in.reset();
    EXPECT_EQ(in.read(), 'b');
    char buf[10] = {};
    EXPECT_EQ(in.read(buf, 10, 2), 4);
    EXPECT_EQ(std::string(buf + 2, 4), "cdef");
    EXPECT_EQ(in.read(buf, 10, 0), -1);
    EXPECT_EQ(in.read(), -1);
    EXPECT_EQ(in.available(), 0);
}

TEST(KtInputStream, ByteArrayStreamClipsOffsetAndLength) {
    KtHandle<KtByteArray> bytes = KtByteArray::sCreate("0123456789");
    KtByteArrayInputStream in(bytes.get(), 8, 50);
    EXPECT_EQ(in.available(), 2);
    KtByteArrayInputStream past(bytes.get(), 50, 5);
    EXPECT_EQ(past.read(), -1);
}

TEST(KtStreamTokenizer, TokensAreCutToTheBufferAndTheRestDropped) {
    struct Row {
        const char* input;
        unsigned size;
        int length;
        const char* token;
        int next;
    } rows[] = {
        {"INVITE sip:x", 32, 6, "INVITE", ' '},
        {"", 32, -1, "", -1},
        {"\r\n\r\n", 32, 0, "", '\r'},
        {"ABCDEFGHIJ sip", 5, 4, "ABCD", ' '},
        {"ABCDEFGHIJ", 1, 0, "", -1},
    };
    for (const Row& r : rows) {
        std::string text = r.input;
        KtByteArrayInputStream in = streamOf(text);
        char buf[64];
        std::memset(buf, '#', sizeof(buf));
        int n = KtStreamTokenizer::sGetToken(in, " /\t\r\n", buf, r.size);
        EXPECT_EQ(n, r.length) << r.input;
        EXPECT_STREQ(buf, r.token) << r.input;
        EXPECT_EQ(buf[r.size], '#') << "wrote past the buffer for " << r.input;
        EXPECT_EQ(in.peek(), r.next) << r.input;
    }
}

TEST(KtStreamTokenizer, PeekLeavesTheStreamAndItsMark) {
    std::string text = "xy From : a";
    KtByteArrayInputStream in = streamOf(text);
    in.read();
    in.mark(1);
    in.read();
    char buf[48];
    EXPECT_EQ(KtStreamTokenizer::sPeekToken(in, ":", buf, sizeof(buf)), 6);
    EXPECT_STREQ(buf, " From ");
    EXPECT_EQ(in.read(), ' ');
    in.reset();
    EXPECT_EQ(in.read(), 'y');
}

TEST(KtStreamTokenizer, LinesSkipLeadingBlanksAndDropTheLineEnd) {
    struct Row {
        const char* input;
        unsigned size;
        int length;
        const char* line;
        int next;
    } rows[] = {
        {" Ringing\r\nVia", 128, 7, "Ringing", 'V'},
        {"\r\nX", 128, 0, "", 'X'},
        {"", 128, -1, "", -1},
        {"OK", 128, 2, "OK", -1},
        {"Request Timeout\r\nA", 8, 7, "Request", 'A'},
    };
    for (const Row& r : rows) {
        std::string text = r.input;
        KtByteArrayInputStream in = streamOf(text);
        char buf[128];
        EXPECT_EQ(KtStreamTokenizer::sGetLine(in, buf, r.size), r.length) << r.input;
        EXPECT_STREQ(buf, r.line) << r.input;
        EXPECT_EQ(in.peek(), r.next) << r.input;
    }
    std::string text = "\t line two \r\nrest";
    KtByteArrayInputStream in = streamOf(text);
    EXPECT_STREQ(KtStreamTokenizer::sGetLine(in).c_str(), "line two ");
}

TEST(KtStreamTokenizer, UnsignedNumbers) {
    struct Row {
        const char* input;
        bool ok;
        unsigned value;
        int next;
    } rows[] = {
        {"  5070;x", true, 5070, ';'},
        {"0009 INVITE", true, 9, ' '},
        {"4294967295", true, 4294967295u, -1},
        {"4294967296", false, 0, -1},
        {"abc", false, 0, 'a'},
        {"", false, 0, -1},
    };
    for (const Row& r : rows) {
        std::string text = r.input;
        KtByteArrayInputStream in = streamOf(text);
        unsigned v = 0;
        EXPECT_EQ(KtStreamTokenizer::sGetUnsigned(in, v), r.ok) << r.input;
        if (r.ok) {
            EXPECT_EQ(v, r.value) << r.input;
        }
        EXPECT_EQ(in.peek(), r.next) << r.input;
        KtByteArrayInputStream again = streamOf(text);
        if (r.ok) {
            EXPECT_EQ(KtStreamTokenizer::sGetUnsigned(again), r.value);
        } else {
            EXPECT_THROW(KtStreamTokenizer::sGetUnsigned(again), KtException) << r.input;
        }
    }
}

TEST(KtStreamTokenizer, QuotedStrings) {
    std::string ok = "\"a \\\"b\\\" c\" rest";
    KtByteArrayInputStream in = streamOf(ok);
    EXPECT_STREQ(KtStreamTokenizer::sGetQuote(in).c_str(), "a \\\"b\\\" c");
    EXPECT_EQ(in.read(), ' ');
    std::string open = "\"never closed";
    KtByteArrayInputStream in2 = streamOf(open);
    try {
        KtStreamTokenizer::sGetQuote(in2);
        FAIL() << "no exception";
    } catch (const KtException& e) {
        EXPECT_STREQ(e.getMessage(), "Unterminated quoted string");
    }
}

TEST(KtStreamTokenizer, DiscardWhiteAndLine) {
    std::string text = " \t x\r\nnext";
    KtByteArrayInputStream in = streamOf(text);
    KtStreamTokenizer::sDiscardWhite(in);
    EXPECT_EQ(in.peek(), 'x');
    KtStreamTokenizer::sDiscardLine(in);
    EXPECT_EQ(in.read(), 'n');
}

TEST(KtOutputStream, NumbersBytesAndGrowth) {
    KtByteArrayOutputStream out(16);
    out << "n=" << -42 << ' ' << 4294967295u << ' ' << static_cast<unsigned char>('A') << 0 << 'z';
    std::string s(out.data(), out.size());
    EXPECT_EQ(s, "n=-42 4294967295 A0z");
    std::string big(5000, 'q');
    out << big.c_str();
    EXPECT_EQ(out.size(), s.size() + 5000);
    KtHandle<KtByteArray> bytes = out.toByteArray();
    EXPECT_EQ(bytes->getLength(), out.size());
    EXPECT_EQ(bytes->getData()[0], 'n');
}
