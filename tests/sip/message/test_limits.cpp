// Size limits of the parsers: datagrams up to 64 KB parse; past each fixed work buffer of
// the library comes a clean exception or a message marked invalid; no input makes a
// parser loop forever or recurse without bound; a parsed message holds memory in
// proportion to its size.
//
// The fixed buffers: header line 1024 bytes (its text plus CR LF) and URI components 1023
// characters, here; request line 1024, first token 32 and reason phrase 128 in
// test_message_parse.cpp; parameter name or value 1024 in test_parameters.cpp; the text in
// front of a name-address URI and Digest pair lists in the uri and auth tests.
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipNameAddress.h"
#include "KtSipRequest.h"
#include "KtURI.h"
#include "MessageTestSupport.h"
#include "TorvaneMemAllocator.h"

namespace {

using namespace kttest;

/// The mandatory headers of a valid INVITE (each line ends in CR LF).
const std::string kHeaders = crlf(
    "Via: SIP/2.0/UDP a.example;branch=z9hG4bK1\nFrom: <sip:alice@a.example>;tag=1\n"
    "To: <sip:bob@b.example>\nCall-ID: limits\nCSeq: 1 INVITE\n");
const std::string kRequestLine = "INVITE sip:bob@b.example SIP/2.0\r\n";
const std::string kEnd = "Content-Length: 0\r\n\r\n";

/// "status N" for the message that `input` parses into (which is then written, copied and
/// keyed as a transaction layer would), or the message of the exception.
std::string verdict(const std::string& input) {
    std::string status;
    const std::string error = thrown([&] {
        KtHandle<KtSipMessage> message = parse(input);
        status = "status " + std::to_string(message->getStatus());
        std::ostringstream text;
        text << KtHandle<KtSipMessage>(message->clone());
        message->createKey();
    });
    return status.empty() ? "exception: " + error : status;
}

/// `line(i)` for i = 0, 1, ... joined until the text is at least `size` bytes long.
std::string repeated(size_t size, const std::function<std::string(int)>& line) {
    std::string out;
    for (int i = 0; out.size() < size; ++i) out += line(i);
    return out;
}

/// Names the case that runs; a case that has not ended `seconds` after it began ends the
/// process with its name, so that a parser that loops forever is reported instead of
/// hanging the suite. setCase("", 0) disarms it.
char gCase[256];
void setCase(const std::string& name, unsigned seconds = 60) {
    alarm(0);
    std::snprintf(gCase, sizeof gCase, "\nno result in time for case: %s\n", name.c_str());
    std::signal(SIGALRM, [](int) {
        if (write(2, gCase, std::strlen(gCase)) < 0) {}
        std::_Exit(3);
    });
    alarm(seconds);
}

long long liveBytes() {
    long long total = 0;
    for (const Torvane::PoolStats& pool : Torvane::MemPool::sStats()) total += pool.liveBytes;
    return total;
}

// ---- datagram sizes ---------------------------------------------------------------------

// Datagrams up to 64 KB, and a chain of 10,000 Via lines (long and compact names mixed): each
// parses, is written back (the Via chain as it came), copied and keyed.
TEST(Limits, LargeMessagesParseAndComeBack) {
    const size_t kDatagram = 65535;
    const std::string head = kRequestLine + kHeaders + "Content-Type: text/plain\r\n";
    const size_t body = kDatagram - head.size() - 16 - 5 - 4;  // "Content-Length: ", five digits, CR LF CR LF
    const std::string vias = repeated(kDatagram - kRequestLine.size() - kHeaders.size() - kEnd.size() - 64, [](int i) {
        return "Via: SIP/2.0/UDP proxy" + std::to_string(i) + ".example.com;branch=z9hG4bK" + std::to_string(i) + "\r\n";
    });
    std::string chain;
    for (int i = 0; i < 10000; ++i)
        chain += (i % 2 ? "v: SIP/2.0/UDP h" : "Via: SIP/2.0/UDP h") + std::to_string(i) + ".example;branch=z9hG4bK" +
                 std::to_string(i) + "\r\n";
    // name, input, whether it comes back byte for byte
    const std::tuple<const char*, std::string, bool> rows[] = {
        {"body by Content-Length", head + "Content-Length: " + std::to_string(body) + "\r\n\r\n" + std::string(body, 'b'),
         true},
        {"body to the end", head + "\r\n" + std::string(kDatagram - head.size() - 2, 'b'), false},
        {"many headers", kRequestLine + vias + kHeaders + kEnd, true},
        {"10000 Via lines", kRequestLine + chain + crlf("f: <sip:alice@a.example>;tag=1\nt: <sip:bob@b.example>\n"
                                                        "i: limits\nCSeq: 1 INVITE\nl: 0\n\n"), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::get<0>(row));
        const std::string& text = std::get<1>(row);
        setCase(std::get<0>(row), 120);
        KtHandle<KtSipMessage> message = parse(text);
        EXPECT_TRUE(message->isValid());
        const std::string out = wire(*message);
        if (std::get<2>(row)) { EXPECT_EQ(text, out); }
        EXPECT_GE(out.size(), text.size());
        KtHandle<KtSipMessage> copy(message->clone());
        EXPECT_EQ(out, wire(*copy));
        EXPECT_EQ(out, wire(*parse(out)));
        EXPECT_EQ(message->createKey().c_str(), std::string(copy->createKey().c_str()));
    }
    setCase("", 0);
}

// ---- past the fixed buffers -------------------------------------------------------------

TEST(Limits, HeaderLineOfMoreThan1024BytesIsRefusedAndTheRestKept) {
    QuietErrors quiet;
    for (size_t text : {1022u, 1023u, 1100u, 5000u}) {
        SCOPED_TRACE(text);
        const std::string line = "Subject: " + std::string(text - 9, 's') + "\r\n";  // `text` bytes before CR LF
        KtHandle<KtSipMessage> message = parse(kRequestLine + line + kHeaders + kEnd);
        EXPECT_EQ(text <= 1022 ? 0 : KtSipMessage::STATUS_BAD_HEADER, message->getStatus());
        EXPECT_EQ(text > 1022, message->mGetHeader("Subject").isNil());
        EXPECT_FALSE(message->mGetHeader("CSeq").isNil()) << "headers after the long line are read";
        EXPECT_EQ(0u, message->getBodyLength());
    }
    // Folded continuation lines count towards the same logical line.
    std::string folded = "Subject: x" + repeated(40 * 43, [](int) { return "\r\n " + std::string(40, 'f'); });
    EXPECT_EQ(KtSipMessage::STATUS_BAD_HEADER, parse(kRequestLine + folded + "\r\n" + kHeaders + "\r\n")->getStatus());
}

TEST(Limits, UrlComponentsOver1023CharactersThrow) {
    struct Row { const char* name; std::string prefix, suffix; bool inBracket; };
    const Row rows[] = {
        {"user", "sip:", "@b.example", false}, {"password", "sip:alice:", "@b.example", false},
        {"host", "sip:alice@", "", false}, {"parameter name", "sip:alice@b.example;", "=1", true},
        {"parameter value", "sip:alice@b.example;p=", "", true}, {"header name", "sip:alice@b.example?", "=1", true},
        {"header value", "sip:alice@b.example?h=", "", true}, {"tel number", "tel:+", "", false},
        {"tel parameter", "<tel:+1234;p=", ">", true},
    };
    for (const Row& row : rows) {
        for (size_t length : {1000u, 1024u, 1100u, 65536u}) {
            SCOPED_TRACE(std::string(row.name) + " of " + std::to_string(length));
            const std::string fill(length, row.prefix.find("tel:") != std::string::npos ? '5' : 'c');
            const std::string text = row.prefix + fill + row.suffix;
            KtByteArrayInputStream in = kttest::streamOf(text);
            KtHandle<KtURI> uri;
            const std::string error = thrown([&] { uri = KtURI::sConstructFrom(in, row.inBracket); });
            if (text.size() < 1024) {
                EXPECT_EQ("", error);
                ASSERT_FALSE(uri.isNil());
                EXPECT_NE(std::string::npos, std::string(uri->getString().c_str()).find(fill));
            } else {
                EXPECT_NE("", error) << "accepted: " << (uri.isNil() ? 0u : uri->getString().length()) << " characters";
            }
        }
    }
}

// ---- termination ------------------------------------------------------------------------

/// Inputs built of one repeated byte, of deep nesting or of random bytes, and the entry
/// points to feed them to: every call must return or throw a KtException. (Arbitrary inputs
/// in number: fuzz/fuzz_message.cpp and the other fuzz targets.)
TEST(Limits, NoInputMakesAParserLoopForever) {
    QuietErrors quiet;
    const size_t k64 = 65536;
    std::mt19937 random(20240607);
    std::string garbage(k64, '\0'), printable(k64, 'x');
    for (char& c : garbage) c = static_cast<char>(random() % 256);
    for (char& c : printable) c = static_cast<char>(' ' + random() % 95);
    const std::string head = "OPTIONS sip:a@b SIP/2.0\r\n";
    std::vector<std::pair<std::string, std::string>> inputs = {  // name, bytes
        {"64 KB of random bytes", garbage}, {"64 KB of random printable bytes", printable},
        {"NUL in the method", std::string("INVITE\0sip:a SIP/2.0\r\n\r\n", 24)}, {"four NULs", std::string(4, '\0')},
        {"NUL in a header name", head + std::string("Via\0: x\r\n\0\r\n", 12)},
        {"long URI user", "INVITE sip:" + std::string(1000, 'u') + "@b SIP/2.0\r\n\r\n"},
        {"long version", "SIP/" + std::string(3000, '9') + ".0 200 OK\r\n\r\n"},
        {"Content-Length past the data", head + "Content-Length: 4294967295\r\n\r\n" + garbage},
        {"commas after a Via", head + "Via: SIP/2.0/UDP a\r\n" + std::string(30000, ',') + "\r\n\r\n"},
        {"long unknown header", head + "X-Long: " + std::string(5000, 'y') + "\r\n\r\n"},
        {"64 KB of NUL", std::string(k64, '\0')},
        {"64 KB of 0xFF", std::string(k64, '\xff')},
        {"CR LF repeated", repeated(k64, [](int) { return "\r\n"; })},
        {"nested brackets", std::string(20000, '<') + "sip:a@b" + std::string(20000, '>')},
        {"nested quotes", repeated(k64, [](int) { return "\"\\\""; })},
        {"nested comments", std::string(30000, '(') + std::string(30000, ')')},
        {"open quote", "\"" + std::string(k64, 'q')},
    };
    for (char c : std::string(" \t\r\n<>\"\\,;:=@%[]()?&/*+a9\x7f", 26))
        inputs.emplace_back("64 KB of byte " + std::to_string(static_cast<unsigned char>(c)), std::string(k64, c));

    for (const auto& input : inputs) {
        const std::string& bytes = input.second;
        setCase(input.first + " as a message");
        verdict(bytes);
        for (const char* head : {"To: ", "Via: SIP/2.0/UDP ", "Contact: ", "WWW-Authenticate: Digest ", "Date: ",
                                 "Supported: ", "X-Unknown: "}) {
            setCase(input.first + " after " + head);
            EXPECT_NE("status 0", verdict(kRequestLine + head + bytes)) << input.first << " after " << head;
            const std::string line = head + bytes;
            KtByteArrayInputStream in = kttest::streamOf(line);
            thrown([&] { KtSipHeader::sConstructFrom(in); });
        }
        setCase(input.first + " as a URI, a name-address and Digest lists");
        for (bool inBracket : {false, true}) {
            KtByteArrayInputStream in = kttest::streamOf(bytes);
            thrown([&] { KtURI::sConstructFrom(in, inBracket); });
        }
        KtByteArrayInputStream in = kttest::streamOf(bytes);
        thrown([&] { KtHandle<KtSipNameAddress>(new KtSipNameAddress())->parse(in); });
        KtHandle<KtByteArray> array = KtByteArray::sCreate(static_cast<unsigned>(bytes.size()), bytes.data());
        thrown([&] { KtSipDigestChallengeInfo::sCreateFrom(array); });
        thrown([&] { KtSipDigestCredentialsInfo::sCreateFrom(array); });
    }

    // A start line that never ends (a header line that never ends is each input after a
    // header name above; a body shorter than its Content-Length: test_message_parse.cpp).
    setCase("start line without end");
    EXPECT_EQ("exception", verdict("INVITE " + std::string(k64, 'u')).substr(0, 9));
    setCase("", 0);
}

TEST(Limits, LongChainsNeedNoDeepRecursion) {
    QuietErrors quiet;
    // 64 KB of commas in a header that splits at commas, read through parseRest (the line
    // reader itself stops at 1024 bytes).
    setCase("64 KB of commas", 120);
    const std::string commas(65536, ',');
    KtHandle<KtSipHeader> supported(KtSipHeader::sConstruct("Supported"));
    KtByteArrayInputStream in = kttest::streamOf(commas);
    supported->parseRest(in);
    size_t elements = 0;
    for (const KtSipHeader* h = supported.get(); h != nullptr; h = h->getNext().get()) ++elements;
    EXPECT_EQ(commas.size() + 1, elements);
    {
        KtHandle<KtSipMessage> holder = parse(kRequestLine + kHeaders + kEnd);
        holder->addHeader(supported);
        supported = KtHandle<KtSipHeader>();
        EXPECT_EQ(wire(*holder), wire(*KtHandle<KtSipMessage>(holder->clone())));
    }

    // The same inside a message, as far as the line buffer allows.
    setCase("1000 commas in a message", 120);
    EXPECT_TRUE(parse(kRequestLine + kHeaders + "Supported: " + std::string(1000, ',') + "\r\n" + kEnd)->isValid());

    setCase("", 0);
}

// ---- memory -----------------------------------------------------------------------------

TEST(Limits, MemoryHeldByAMessageIsASmallMultipleOfItsSize) {
    const auto n = [](int i) { return std::to_string(i); };
    const std::pair<const char*, std::string> rows[] = {
        {"60 KB body", kRequestLine + kHeaders + "Content-Type: application/sdp\r\nContent-Length: 60000\r\n\r\n" +
                           std::string(60000, 'v')},
        {"Via lines", kRequestLine + repeated(60000, [&](int i) {
             return "Via: SIP/2.0/UDP proxy" + n(i) + ".example.com:5060;branch=z9hG4bK" + n(i) + ";received=192.0.2." +
                    n(i % 250) + "\r\n";
         }) + kHeaders + kEnd},
        {"Contact lines", kRequestLine + kHeaders + repeated(60000, [&](int i) {
             return "Contact: \"User " + n(i) + "\" <sip:user" + n(i) + "@host.example.com;transport=tcp>;expires=3600;q=0.5\r\n";
         }) + kEnd},
        {"long unknown headers", kRequestLine + kHeaders + repeated(60000, [&](int i) {
             return "X-Header-" + n(i) + ": " + std::string(900, 'x') + "\r\n";
         }) + kEnd},
        {"Record-Route lists", kRequestLine + kHeaders + repeated(60000, [&](int i) {
             return "Record-Route: <sip:p" + n(i) + "a.example;lr>, <sip:p" + n(i) + "b.example;lr>, <sip:p" + n(i) +
                    "c.example;lr>\r\n";
         }) + kEnd},
    };
    // One parse of each shape first, so that what the library creates once (loggers,
    // registries, per-thread caches) is not counted as held by the message.
    for (const auto& row : rows) parse(row.second);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        const long long before = liveBytes();
        KtHandle<KtSipMessage> message = parse(row.second);
        const long long held = liveBytes() - before;
        EXPECT_TRUE(message->isValid());
        // The worst shape is a list of short addresses: each ~28-byte route becomes a header,
        // a name-address and a URL with its parameter lists (about 650 bytes held, 23 times
        // the text in the "Record-Route lists" row). 32 times the input bounds every shape
        // with room for such lists, and still catches any growth that is not proportional
        // to the input.
        EXPECT_LT(held, 32 * static_cast<long long>(row.second.size()) + 64 * 1024)
            << held << " bytes held for " << row.second.size() << " bytes of input";
        message = KtHandle<KtSipMessage>();
        EXPECT_EQ(before, liveBytes()) << "everything is returned with the message";
    }
}

}  // namespace
