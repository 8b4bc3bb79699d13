// Input and output streams and the tokenizer: bounds, marks, failures.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "KtException.h"
#include "KtOutputStream.h"
#include "KtStreamTokenizer.h"
#include "TestSupport.h"

using kttest::streamOf;

TEST(KtInputStream, ReadMarkResetAndBlockReads) {
    KtByteArrayInputStream in = streamOf("abcdef");
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
    EXPECT_EQ(KtByteArrayInputStream(bytes.get(), 8, 50).available(), 2);
    EXPECT_EQ(KtByteArrayInputStream(bytes.get(), 50, 5).read(), -1);
}

TEST(KtStreamTokenizer, TokensAreCutToTheBufferAndTheRestDropped) {
    struct Row { const char* input; unsigned size; int length; const char* token; int next; } rows[] = {
        {"INVITE sip:x", 32, 6, "INVITE", ' '}, {"", 32, -1, "", -1}, {"\r\n\r\n", 32, 0, "", '\r'},
        {"ABCDEFGHIJ sip", 5, 4, "ABCD", ' '}, {"ABCDEFGHIJ", 1, 0, "", -1},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.input);
        KtByteArrayInputStream in = streamOf(r.input);
        char buf[64];
        std::memset(buf, '#', sizeof(buf));
        EXPECT_EQ(KtStreamTokenizer::sGetToken(in, " /\t\r\n", buf, r.size), r.length);
        EXPECT_STREQ(buf, r.token);
        EXPECT_EQ(buf[r.size], '#') << "wrote past the buffer";
        EXPECT_EQ(in.peek(), r.next);
    }
}

TEST(KtStreamTokenizer, PeekLeavesTheStreamAndItsMark) {
    KtByteArrayInputStream in = streamOf("xy From : a");
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
    struct Row { const char* input; unsigned size; int length; const char* line; int next; } rows[] = {
        {" Ringing\r\nVia", 128, 7, "Ringing", 'V'}, {"\r\nX", 128, 0, "", 'X'}, {"", 128, -1, "", -1},
        {"OK", 128, 2, "OK", -1}, {"Request Timeout\r\nA", 8, 7, "Request", 'A'},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.input);
        KtByteArrayInputStream in = streamOf(r.input);
        char buf[128];
        EXPECT_EQ(KtStreamTokenizer::sGetLine(in, buf, r.size), r.length);
        EXPECT_STREQ(buf, r.line);
        EXPECT_EQ(in.peek(), r.next);
    }
    // The string form, from one window and from a stream that refills on every byte.
    const struct { const char* input; const char* line; int next; } lines[] = {
        {"\t line two \r\nrest", "line two ", 'r'}, {"bare LF\nX", "bare LF", 'X'},
        {"to the end\r", "to the end", -1}, {"a\rb\r\n", "a\rb", -1}, {"\r\n", "", -1},
    };
    for (const auto& r : lines) {
        SCOPED_TRACE(r.input);
        kttest::readWholeAndTrickled(r.input, [&](KtInputStream& in, const char* how) {
            EXPECT_EQ(std::string(r.line), KtStreamTokenizer::sGetLine(in).c_str()) << how;
            EXPECT_EQ(r.next, in.peek()) << how;
        });
    }
}

TEST(KtStreamTokenizer, UnsignedNumbers) {
    struct Row { const char* input; bool ok; unsigned value; int next; } rows[] = {
        {"  5070;x", true, 5070, ';'}, {"0009 INVITE", true, 9, ' '}, {"4294967295", true, 4294967295u, -1},
        {"4294967296", false, 0, -1},  {"abc", false, 0, 'a'},        {"", false, 0, -1},
        {"123456789;", true, 123456789, ';'}, {"0000000000042,", true, 42, ','}, {"4294967296 x", false, 0, ' '},
        {"99999999999999999999999\r\n", false, 0, '\r'},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.input);
        // Read where the number stands, and through a window that always ends at the byte read.
        KtByteArrayInputStream whole = streamOf(r.input);
        kttest::GrowingStream growing(r.input);
        for (KtInputStream* in : {static_cast<KtInputStream*>(&whole), static_cast<KtInputStream*>(&growing)}) {
            unsigned v = 0;
            EXPECT_EQ(KtStreamTokenizer::sGetUnsigned(*in, v), r.ok);
            if (r.ok) {
                EXPECT_EQ(v, r.value);
            }
            EXPECT_EQ(in->peek(), r.next);
        }
        KtByteArrayInputStream again = streamOf(r.input);
        if (r.ok) {
            EXPECT_EQ(KtStreamTokenizer::sGetUnsigned(again), r.value);
        } else {
            EXPECT_THROW(KtStreamTokenizer::sGetUnsigned(again), KtException);
        }
    }
}

TEST(KtStreamTokenizer, QuotedStringsWhiteAndLines) {
    KtByteArrayInputStream in = streamOf("\"a \\\"b\\\" c\" rest");
    EXPECT_STREQ(KtStreamTokenizer::sGetQuote(in).c_str(), "a \\\"b\\\" c");
    EXPECT_EQ(in.read(), ' ');
    KtByteArrayInputStream open = streamOf("\"never closed");
    EXPECT_EQ(kttest::thrown([&] { KtStreamTokenizer::sGetQuote(open); }), "Unterminated quoted string");

    KtByteArrayInputStream text = streamOf(" \t x\r\nnext");
    KtStreamTokenizer::sDiscardWhite(text);
    EXPECT_EQ(text.peek(), 'x');
    KtStreamTokenizer::sDiscardLine(text);
    EXPECT_EQ(text.read(), 'n');
}

TEST(KtOutputStream, NumbersBytesAndGrowth) {
    KtByteArrayOutputStream out(16);
    out << "n=" << -42 << ' ' << 4294967295u << ' ' << static_cast<unsigned char>('A') << 0 << 'z';
    std::string s(out.data(), out.size());
    EXPECT_EQ(s, "n=-42 4294967295 A0z");
    out << std::string(5000, 'q').c_str();
    EXPECT_EQ(out.size(), s.size() + 5000);
    KtHandle<KtByteArray> bytes = out.toByteArray();
    EXPECT_EQ(bytes->getLength(), out.size());
    EXPECT_EQ(bytes->getData()[0], 'n');
}

// Every integer type writes what std::to_string gives, at the edges of the digit counts and
// of the types.
TEST(KtOutputStream, IntegersOfEveryTypeMatchToString) {
    std::string expected;
    KtByteArrayOutputStream out(8);
    auto both = [&](auto value) {
        out << value << ' ';
        expected += std::to_string(value) + ' ';
    };
    for (long long v : {0LL, 1LL, 9LL, 10LL, 99LL, 100LL, 65535LL, 4294967295LL, 4294967296LL,
                        std::numeric_limits<long long>::max()}) {
        both(v);
        both(-v);
        both(static_cast<unsigned long long>(v));
        both(static_cast<long>(v));
        both(static_cast<unsigned long>(v));
        both(static_cast<int>(v));
        both(static_cast<unsigned>(v));
    }
    both(std::numeric_limits<long long>::min());
    both(std::numeric_limits<int>::min());
    both(std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(std::string(out.data(), out.size()), expected);
}

// Pieces of every length up to past the inline-copy sizes, at every alignment the previous
// pieces leave, arrive whole and in order.
TEST(KtOutputStream, PiecesOfEveryLengthArriveIntact) {
    std::string source;
    for (int i = 0; i < 64; ++i) source.push_back(static_cast<char>('!' + i));
    KtByteArrayOutputStream out(8);
    std::string expected;
    for (unsigned n = 0; n <= 40; ++n)
        for (unsigned from = 0; from < 3; ++from) {
            out.write(source.data() + from, n);
            expected.append(source, from, n);
        }
    EXPECT_EQ(std::string(out.data(), out.size()), expected);
}

TEST(KtOutputStream, NumbersMatchTheirDecimalText) {
    const unsigned long long unsignedValues[] = {0, 7, 9, 10, 42, 99, 100, 101, 999, 1000, 5060, 65535, 314159,
                                                 4294967295ull, 4294967296ull, 10000000000ull, 18446744073709551615ull};
    for (unsigned long long v : unsignedValues) {
        KtByteArrayOutputStream out(4);
        out << v;
        EXPECT_EQ(std::string(out.data(), out.size()), std::to_string(v));
    }
    const long long signedValues[] = {0, -1, -10, -99, -100, 2147483647, -2147483647 - 1, -9223372036854775807ll - 1,
                                      9223372036854775807ll};
    for (long long v : signedValues) {
        KtByteArrayOutputStream out(4);
        out << v;
        EXPECT_EQ(std::string(out.data(), out.size()), std::to_string(v));
    }
}
