// Size limits of the parsers: datagrams up to 64 KB parse; past each fixed work buffer of
// the library comes a clean exception or a message marked invalid; no input makes a
// parser loop forever or recurse without bound; a parsed message holds memory in
// proportion to its size.
//
// The fixed buffers: header line 1024 bytes (its text plus CR LF), request line 1024,
// first token 32, reason phrase 128, SIP URL component 1023 characters, tel URL 1023,
// text in front of a name-address URI 1023, Digest pair list 1024, parameter name or
// value 1024.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KtErrorStream.h"
#include "KtParameters.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipInviteMessage.h"
#include "KtSipMessage.h"
#include "KtSipNameAddress.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtURI.h"
#include "TorvaneMemAllocator.h"

namespace {

std::string crlf(const std::string& text) {
    std::string out;
    for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

KtHandle<KtSipMessage> parse(const std::string& wire) {
    KtByteArrayInputStream in(wire.data(), static_cast<unsigned>(wire.size()));
    return KtSipMessage::sConstructFrom(in);
}

std::string wire(const KtSipMessage& message) {
    KtByteArrayOutputStream out(1024);
    message.serialize(out);
    return std::string(out.data(), out.size());
}

/// The mandatory headers of a valid INVITE (each line ends in CR LF).
const std::string kHeaders = crlf(
    "Via: SIP/2.0/UDP a.example;branch=z9hG4bK1\nFrom: <sip:alice@a.example>;tag=1\n"
    "To: <sip:bob@b.example>\nCall-ID: limits\nCSeq: 1 INVITE\n");
const std::string kRequestLine = "INVITE sip:bob@b.example SIP/2.0\r\n";

/// What parsing ended in: an exception (its message), or a message and its status.
struct Outcome {
    bool threw = false;
    std::string exception;
    int status = 0;
    KtHandle<KtSipMessage> message;
};

Outcome outcomeOf(const std::function<KtHandle<KtSipMessage>()>& parseIt) {
    Outcome outcome;
    try {
        outcome.message = parseIt();
        outcome.status = outcome.message->getStatus();
    } catch (const KtException& e) {
        outcome.threw = true;
        outcome.exception = e.getMessage();
    }
    return outcome;
}

Outcome outcomeOf(const std::string& input) {
    return outcomeOf([&] { return parse(input); });
}

/// Fails the test (with the case named) when `outcome` is a valid message.
void expectRefused(const std::string& name, const Outcome& outcome) {
    EXPECT_TRUE(outcome.threw || outcome.status != 0) << name << ": accepted as a valid message";
}

/// Drops the error-stream lines while the test runs: the inputs here fail on purpose.
class QuietErrors {
public:
    QuietErrors() { KtErrorStream::sSetSink(&drop, nullptr, &m_Sink, &m_Context); }
    ~QuietErrors() { KtErrorStream::sSetSink(m_Sink, m_Context); }

private:
    static void drop(void*, const char*, unsigned) {}
    KtErrorStream::Sink m_Sink = nullptr;
    void* m_Context = nullptr;
};

/// Ends the process with the name of the case when one case runs longer than `limit`, so
/// that a parser that loops forever is reported as such instead of hanging the suite.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit) : m_Thread([this, limit] { watch(limit); }) {}
    ~Watchdog() {
        {
            std::lock_guard<std::mutex> lock(m_Mutex);
            m_Stop = true;
        }
        m_Wake.notify_all();
        m_Thread.join();
    }
    void setCase(const std::string& name) {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Case = name;
        m_Started = std::chrono::steady_clock::now();
    }

private:
    void watch(std::chrono::seconds limit) {
        std::unique_lock<std::mutex> lock(m_Mutex);
        while (!m_Stop) {
            if (std::chrono::steady_clock::now() - m_Started > limit) {
                std::fprintf(stderr, "\nno result after %lld s for case: %s\n", static_cast<long long>(limit.count()),
                             m_Case.c_str());
                std::_Exit(3);
            }
            m_Wake.wait_for(lock, std::chrono::milliseconds(200));
        }
    }
    std::mutex m_Mutex;
    std::condition_variable m_Wake;
    bool m_Stop = false;
    std::string m_Case = "(start)";
    std::chrono::steady_clock::time_point m_Started = std::chrono::steady_clock::now();
    std::thread m_Thread;
};

long long liveBytes() {
    long long total = 0;
    for (const Torvane::PoolStats& pool : Torvane::MemPool::sStats()) total += pool.liveBytes;
    return total;
}

// ---- datagram sizes ---------------------------------------------------------------------

TEST(Limits, DatagramsUpTo64KBParse) {
    const size_t kDatagram = 65535;
    struct Row {
        const char* name;
        std::string input;
    };
    std::vector<Row> rows;
    {  // a body filling the datagram
        const std::string head = kRequestLine + kHeaders + "Content-Type: text/plain\r\nContent-Length: ";
        const size_t body = kDatagram - head.size() - 5 - 4;  // five digits, CR LF CR LF
        rows.push_back({"body by Content-Length", head + std::to_string(body) + "\r\n\r\n" + std::string(body, 'b')});
    }
    {  // the same body, read to the end of the datagram
        const std::string head = kRequestLine + kHeaders + "Content-Type: text/plain\r\n\r\n";
        rows.push_back({"body to the end", head + std::string(kDatagram - head.size(), 'b')});
    }
    {  // a long header section: Via lines of 60 bytes up to the size
        std::string text = kRequestLine;
        std::string vias;
        for (int i = 0; text.size() + vias.size() + kHeaders.size() + 64 < kDatagram; ++i) {
            char line[80];
            std::snprintf(line, sizeof line, "Via: SIP/2.0/UDP proxy%05d.example.com:5060;branch=z9hG4bK%06d\r\n", i, i);
            vias += line;
        }
        rows.push_back({"many headers", text + vias + kHeaders + "Content-Length: 0\r\n\r\n"});
    }
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_LE(row.input.size(), kDatagram);
        ASSERT_GT(row.input.size(), kDatagram - 100);
        KtHandle<KtSipMessage> message = parse(row.input);
        EXPECT_TRUE(message->isValid());
        EXPECT_NO_THROW(message->createKey());
        const std::string out = wire(*message);
        KtHandle<KtSipMessage> copy(message->clone());
        EXPECT_EQ(out, wire(*copy));
        EXPECT_EQ(out, wire(*parse(out)));
        EXPECT_GE(out.size(), row.input.size() - 64);
    }
}

// ---- past the fixed buffers -------------------------------------------------------------

TEST(Limits, HeaderLineOfMoreThan1024BytesIsRefusedAndTheRestKept) {
    QuietErrors quiet;
    for (size_t text : {1022u, 1023u, 1100u, 5000u}) {
        SCOPED_TRACE(text);
        const std::string line = "Subject: " + std::string(text - 9, 's') + "\r\n";  // `text` bytes before CR LF
        KtHandle<KtSipMessage> message = parse(kRequestLine + line + kHeaders + "Content-Length: 0\r\n\r\n");
        if (text <= 1022) {
            EXPECT_TRUE(message->isValid());
            EXPECT_FALSE(message->mGetHeader("Subject").isNil());
        } else {
            EXPECT_EQ(KtSipMessage::STATUS_BAD_HEADER, message->getStatus());
            EXPECT_TRUE(message->mGetHeader("Subject").isNil());
        }
        EXPECT_FALSE(message->mGetHeader("CSeq").isNil()) << "headers after the long line are read";
        EXPECT_EQ(0u, message->getBodyLength());
    }
    // Folded continuation lines count towards the same logical line.
    std::string folded = "Subject: x";
    for (int i = 0; i < 40; ++i) folded += "\r\n " + std::string(40, 'f');
    EXPECT_EQ(KtSipMessage::STATUS_BAD_HEADER,
              parse(kRequestLine + folded + "\r\n" + kHeaders + "\r\n")->getStatus());
}

TEST(Limits, RequestLineOf1024CharactersOrMoreIs414) {
    QuietErrors quiet;
    // The start-line reader takes what follows the first token ("INVITE") up to the LF;
    // `length` counts those characters without the LF.
    const std::string shortest = " sip:bob@b.example;x= SIP/2.0\r";
    for (size_t length : {1000u, 1023u, 1024u, 1025u, 4096u, 70000u}) {
        SCOPED_TRACE(length);
        const std::string rest = " sip:bob@b.example;x=" + std::string(length - shortest.size(), 'u') + " SIP/2.0\r\n";
        ASSERT_EQ(length + 1, rest.size());
        const std::string text = rest + kHeaders + "Content-Length: 0\r\n\r\n";
        KtHandle<KtSipInviteMessage> message(new KtSipInviteMessage());
        KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
        bool threw = false;
        try {
            message->parse("INVITE", in);
        } catch (const KtSipParseError&) {
            threw = true;
        }
        if (length < 1024) {
            EXPECT_FALSE(threw);
            EXPECT_TRUE(message->isValid());
        } else {
            EXPECT_TRUE(threw);
            EXPECT_EQ(414, message->getStatus());
        }
    }
}

TEST(Limits, FirstTokenIsCutAt31Characters) {
    QuietErrors quiet;
    // The CSeq carries the whole method: a method cut by the 32-byte token buffer must not
    // pass as a valid request of another method.
    for (size_t length : {31u, 32u, 33u, 100u, 5000u}) {
        SCOPED_TRACE(length);
        const std::string method(length, 'M');
        const std::string headers = kHeaders.substr(0, kHeaders.find("CSeq:")) + "CSeq: 1 " + method + "\r\n";
        const Outcome outcome = outcomeOf(method + " sip:bob@b.example SIP/2.0\r\n" + headers + "\r\n");
        if (length <= 31) {
            ASSERT_FALSE(outcome.threw) << outcome.exception;
            EXPECT_EQ(0, outcome.status);
            EXPECT_EQ(method, outcome.message.dynamicCast<KtSipRequest>()->getMethod().c_str());
        } else {
            expectRefused(std::to_string(length) + " characters", outcome);
            if (!outcome.threw) {
                EXPECT_LE(outcome.message.dynamicCast<KtSipRequest>()->getMethod().length(), 31u);
            }
        }
    }
}

TEST(Limits, ReasonPhraseIsCutAt127Characters) {
    for (size_t length : {127u, 128u, 500u, 20000u}) {
        SCOPED_TRACE(length);
        const std::string phrase(length, 'r');
        KtHandle<KtSipMessage> message = parse("SIP/2.0 200 " + phrase + "\r\n" +
                                               crlf("Via: SIP/2.0/UDP a.example;branch=z9hG4bK1\n"
                                                    "From: <sip:alice@a.example>;tag=1\nTo: <sip:bob@b.example>;tag=2\n"
                                                    "Call-ID: limits\nCSeq: 1 INVITE\nContent-Length: 0\n\n"));
        KtHandle<KtSipResponse> response = message.dynamicCast<KtSipResponse>();
        ASSERT_FALSE(response.isNil());
        EXPECT_TRUE(response->isValid()) << "the headers after a long phrase are read";
        EXPECT_EQ(200, response->getStatusCode());
        EXPECT_EQ(phrase.substr(0, 127), response->getReasonPhrase().c_str());
        const std::string out = wire(*message);
        EXPECT_EQ(out, wire(*parse(out)));
    }
}

TEST(Limits, UrlComponentsOver1023CharactersThrow) {
    struct Row {
        const char* name;
        std::string prefix, suffix;
        bool inBracket;
    };
    const Row rows[] = {
        {"user", "sip:", "@b.example", false},
        {"password", "sip:alice:", "@b.example", false},
        {"host", "sip:alice@", "", false},
        {"parameter name", "sip:alice@b.example;", "=1", true},
        {"parameter value", "sip:alice@b.example;p=", "", true},
        {"header name", "sip:alice@b.example?", "=1", true},
        {"header value", "sip:alice@b.example?h=", "", true},
        {"tel number", "tel:+", "", false},
        {"tel parameter", "<tel:+1234;p=", ">", true},
    };
    for (const Row& row : rows) {
        for (size_t length : {1000u, 1024u, 1100u, 65536u}) {
            SCOPED_TRACE(std::string(row.name) + " of " + std::to_string(length));
            const std::string fill(length, row.prefix.find("tel:") != std::string::npos ? '5' : 'c');
            const std::string text = row.prefix + fill + row.suffix;
            KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
            KtHandle<KtURI> uri;
            std::string error;
            try {
                uri = KtURI::sConstructFrom(in, row.inBracket);
            } catch (const KtException& e) {
                error = e.getMessage();
            }
            if (length + row.prefix.size() + row.suffix.size() < 1024) {
                EXPECT_EQ("", error);
                ASSERT_FALSE(uri.isNil());
                EXPECT_NE(std::string::npos, std::string(uri->getString().c_str()).find(fill));
            } else {
                EXPECT_NE("", error) << "accepted: " << (uri.isNil() ? 0u : uri->getString().length()) << " characters";
            }
        }
    }
}

TEST(Limits, NameAddressDisplayNameOver1023CharactersThrows) {
    for (const std::string& name : {std::string(1500, 'd'), "\"" + std::string(1500, 'q') + "\"",
                                    std::string(65536, 'd')}) {
        SCOPED_TRACE(name.size());
        const std::string text = name + " <sip:alice@a.example>";
        KtHandle<KtSipNameAddress> address(new KtSipNameAddress());
        KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
        EXPECT_THROW(address->parse(in), KtException);
    }
    const std::string fits = "\"" + std::string(900, 'q') + "\" <sip:alice@a.example>";
    KtHandle<KtSipNameAddress> address(new KtSipNameAddress());
    address->parse(fits.c_str());
    EXPECT_EQ(902u, address->getDisplayName().length());
}

TEST(Limits, DigestPairListOver1024BytesThrows) {
    const std::string longValue = "realm=\"" + std::string(2000, 'r') + "\", nonce=\"n\"";
    const std::string manyPairs = [] {
        std::string s;
        for (int i = 0; i < 400; ++i) s += "p" + std::to_string(i) + "=v,";  // about 1800 bytes kept
        return s + "realm=\"r\"";
    }();
    for (const std::string& text : {longValue, manyPairs, std::string(65536, 'x')}) {
        SCOPED_TRACE(text.substr(0, 30));
        KtHandle<KtByteArray> bytes = KtByteArray::sCreate(static_cast<unsigned>(text.size()), text.data());
        EXPECT_THROW(KtSipDigestChallengeInfo::sCreateFrom(bytes), KtException);
        EXPECT_THROW(KtSipDigestCredentialsInfo::sCreateFrom(bytes), KtException);
    }
    const std::string fits = "realm=\"" + std::string(900, 'r') + "\", nonce=\"n\"";
    KtHandle<KtSipDigestChallengeInfo> challenge =
        KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(fits.c_str()));
    EXPECT_EQ(900u, challenge->getRealm().length());
}

TEST(Limits, ParameterNamesAndValuesOver1024BytesThrow) {
    // A pair that ends inside the text is read in place, one that ends with the text by the
    // buffered reader: both draw the line at the same length.
    for (const char* tail : {"", ";next=1"}) {
        for (size_t length : {1000u, 1024u, 1025u, 70000u}) {
            SCOPED_TRACE(std::to_string(length) + (*tail ? " before another pair" : " at the end"));
            const std::string piece(length, 'p');
            for (const std::string& text : {piece + "=v" + tail, "n=" + piece + tail}) {
                KtHandle<KtParameters> list(new KtParameters());
                if (length <= 1024) {
                    EXPECT_NO_THROW(list->parse(text.c_str()));
                    EXPECT_NE(std::string::npos, std::string(list->getString().c_str()).find(piece));
                } else {
                    EXPECT_THROW(list->parse(text.c_str()), KtException);
                }
            }
        }
    }
}

// ---- termination ------------------------------------------------------------------------

/// Inputs built of one repeated byte or of deep nesting, and the entry points to feed
/// them to: every call must return or throw a KtException.
TEST(Limits, NoInputMakesAParserLoopForever) {
    QuietErrors quiet;
    Watchdog watchdog(std::chrono::seconds(60));
    const size_t k64 = 65536;
    std::vector<std::pair<std::string, std::string>> inputs;  // name, bytes
    for (char c : std::string(" \t\r\n<>\"\\,;:=@%[]()?&/*+a9\x7f", 26))
        inputs.emplace_back(std::string("64 KB of byte ") + std::to_string(static_cast<unsigned char>(c)),
                            std::string(k64, c));
    inputs.emplace_back("64 KB of NUL", std::string(k64, '\0'));
    inputs.emplace_back("64 KB of 0xFF", std::string(k64, '\xff'));
    inputs.emplace_back("CR LF repeated", [&] {
        std::string s;
        while (s.size() < k64) s += "\r\n";
        return s;
    }());
    inputs.emplace_back("nested brackets", std::string(20000, '<') + "sip:a@b" + std::string(20000, '>'));
    inputs.emplace_back("nested quotes", [&] {
        std::string s;
        while (s.size() < k64) s += "\"\\\"";
        return s;
    }());
    inputs.emplace_back("nested comments", std::string(30000, '(') + std::string(30000, ')'));
    inputs.emplace_back("open quote", "\"" + std::string(k64, 'q'));

    const auto feedAll = [&](const std::string& name, const std::string& bytes) {
        watchdog.setCase(name + " as a message");
        outcomeOf(bytes);
        for (const char* head : {"To: ", "Via: SIP/2.0/UDP ", "Contact: ", "WWW-Authenticate: Digest ", "Date: ",
                                 "Supported: ", "X-Unknown: "}) {
            watchdog.setCase(name + " after " + head);
            const Outcome inMessage = outcomeOf(kRequestLine + head + bytes);
            if (!inMessage.threw) {
                EXPECT_NE(0, inMessage.status) << name << " after " << head;
            }
            const std::string line = head + bytes;
            KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
            try {
                KtSipHeader::sConstructFrom(in);
            } catch (const KtException&) {
            }
        }
        watchdog.setCase(name + " as a URI, a name-address and Digest lists");
        for (bool inBracket : {false, true}) {
            KtByteArrayInputStream in(bytes.data(), static_cast<unsigned>(bytes.size()));
            try {
                KtURI::sConstructFrom(in, inBracket);
            } catch (const KtException&) {
            }
        }
        KtByteArrayInputStream in(bytes.data(), static_cast<unsigned>(bytes.size()));
        KtHandle<KtSipNameAddress> address(new KtSipNameAddress());
        try {
            address->parse(in);
        } catch (const KtException&) {
        }
        KtHandle<KtByteArray> array = KtByteArray::sCreate(static_cast<unsigned>(bytes.size()), bytes.data());
        try {
            KtSipDigestChallengeInfo::sCreateFrom(array);
        } catch (const KtException&) {
        }
        try {
            KtSipDigestCredentialsInfo::sCreateFrom(array);
        } catch (const KtException&) {
        }
    };
    for (const auto& input : inputs) feedAll(input.first, input.second);

    // A line that never ends, and a body shorter than its Content-Length.
    watchdog.setCase("line without end");
    EXPECT_NE(0, [&] {
        const Outcome o = outcomeOf(kRequestLine + kHeaders + "Subject: " + std::string(k64, 's'));
        return o.threw ? -1 : o.status;
    }());
    watchdog.setCase("start line without end");
    EXPECT_TRUE(outcomeOf("INVITE " + std::string(k64, 'u')).threw);
    watchdog.setCase("short body");
    for (const char* length : {"100", "65536", "4294967295"}) {
        const Outcome o = outcomeOf(kRequestLine + kHeaders + "Content-Length: " + length + "\r\n\r\n" +
                                    std::string(40, 'b'));
        EXPECT_TRUE(o.threw) << length;
        EXPECT_EQ("message body is shorter than Content-Length", o.exception) << length;
    }
}

TEST(Limits, LongChainsNeedNoDeepRecursion) {
    QuietErrors quiet;
    Watchdog watchdog(std::chrono::seconds(120));
    // 64 KB of commas in a header that splits at commas, read through parseRest (the line
    // reader itself stops at 1024 bytes).
    watchdog.setCase("64 KB of commas");
    const std::string commas(65536, ',');
    KtHandle<KtSipHeader> supported(KtSipHeader::sConstruct("Supported"));
    KtByteArrayInputStream in(commas.data(), static_cast<unsigned>(commas.size()));
    supported->parseRest(in);
    size_t elements = 0;
    for (const KtSipHeader* h = supported.get(); h != nullptr; h = h->getNext().get()) ++elements;
    EXPECT_EQ(commas.size() + 1, elements);
    KtHandle<KtSipMessage> holder = parse(kRequestLine + kHeaders + "Content-Length: 0\r\n\r\n");
    holder->addHeader(supported);
    supported = KtHandle<KtSipHeader>();
    KtHandle<KtSipMessage> copy(holder->clone());
    EXPECT_EQ(wire(*holder), wire(*copy));
    holder = KtHandle<KtSipMessage>();
    copy = KtHandle<KtSipMessage>();

    // The same inside a message, as far as the line buffer allows.
    watchdog.setCase("1000 commas in a message");
    KtHandle<KtSipMessage> message =
        parse(kRequestLine + kHeaders + "Supported: " + std::string(1000, ',') + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_TRUE(message->isValid());

    // 10,000 Via lines: parsed, written, cloned, keyed and released.
    watchdog.setCase("10000 Via lines");
    std::string vias;
    for (int i = 0; i < 10000; ++i) vias += "Via: SIP/2.0/UDP h" + std::to_string(i) + ".example;branch=z9hG4bK" +
                                            std::to_string(i) + "\r\n";
    const std::string text = kRequestLine + vias + kHeaders + "Content-Length: 0\r\n\r\n";
    message = parse(text);
    EXPECT_TRUE(message->isValid());
    size_t count = 0;
    for (KtHandle<KtSipHeader> h = message->mGetHeader("Via"); !h.isNil(); h = h->getNext()) ++count;
    EXPECT_EQ(10001u, count);
    const std::string out = wire(*message);
    EXPECT_EQ(text.size(), out.size());
    copy = KtHandle<KtSipMessage>(message->clone());
    EXPECT_EQ(out, wire(*copy));
    EXPECT_EQ(message->createKey().c_str(), std::string(copy->createKey().c_str()));
    message = KtHandle<KtSipMessage>();
    copy = KtHandle<KtSipMessage>();
}

// ---- memory -----------------------------------------------------------------------------

TEST(Limits, MemoryHeldByAMessageIsASmallMultipleOfItsSize) {
    struct Row {
        const char* name;
        std::string input;
    };
    std::vector<Row> rows;
    rows.push_back({"60 KB body", kRequestLine + kHeaders + "Content-Type: application/sdp\r\nContent-Length: 60000\r\n\r\n" +
                                      std::string(60000, 'v')});
    {
        std::string vias;
        for (int i = 0; vias.size() < 60000; ++i)
            vias += "Via: SIP/2.0/UDP proxy" + std::to_string(i) + ".example.com:5060;branch=z9hG4bK" +
                    std::to_string(i) + ";received=192.0.2." + std::to_string(i % 250) + "\r\n";
        rows.push_back({"Via lines", kRequestLine + vias + kHeaders + "Content-Length: 0\r\n\r\n"});
    }
    {
        std::string contacts;
        for (int i = 0; contacts.size() < 60000; ++i)
            contacts += "Contact: \"User " + std::to_string(i) + "\" <sip:user" + std::to_string(i) +
                        "@host.example.com;transport=tcp>;expires=3600;q=0.5\r\n";
        rows.push_back({"Contact lines", kRequestLine + kHeaders + contacts + "Content-Length: 0\r\n\r\n"});
    }
    {
        std::string unknown;
        for (int i = 0; unknown.size() < 60000; ++i)
            unknown += "X-Header-" + std::to_string(i) + ": " + std::string(900, 'x') + "\r\n";
        rows.push_back({"long unknown headers", kRequestLine + kHeaders + unknown + "Content-Length: 0\r\n\r\n"});
    }
    {
        std::string all;
        for (int i = 0; all.size() < 60000; ++i) {
            all += "Record-Route: <sip:p" + std::to_string(i) + "a.example;lr>, <sip:p" + std::to_string(i) +
                   "b.example;lr>, <sip:p" + std::to_string(i) + "c.example;lr>\r\n";
        }
        rows.push_back({"Record-Route lists", kRequestLine + kHeaders + all + "Content-Length: 0\r\n\r\n"});
    }
    const long long kConstant = 64 * 1024;
    // One parse of each shape first, so that what the library creates once (loggers,
    // registries, per-thread caches) is not counted as held by the message.
    for (const Row& row : rows) parse(row.input);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const long long before = liveBytes();
        KtHandle<KtSipMessage> message = parse(row.input);
        const long long held = liveBytes() - before;
        EXPECT_TRUE(message->isValid());
        // The worst shape is a list of short addresses: each ~28-byte route becomes a header,
        // a name-address and a URL with its parameter lists (about 650 bytes held, 23 times
        // the text in the "Record-Route lists" row). 32 times the input bounds every shape
        // with room for such lists, and still catches any growth that is not proportional
        // to the input.
        EXPECT_LT(held, 32 * static_cast<long long>(row.input.size()) + kConstant)
            << held << " bytes held for " << row.input.size() << " bytes of input";
        message = KtHandle<KtSipMessage>();
        EXPECT_EQ(before, liveBytes()) << "everything is returned with the message";
    }
}

}  // namespace
