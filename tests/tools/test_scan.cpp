// ktsip scan over captures written here with libpcap: link types, UDP and TCP over IPv4 and
// IPv6, TCP reassembly, IP fragments, packets that are not SIP, damaged captures.
#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "CaptureWriter.h"
#include "TestSupport.h"
#include "ToolTestSupport.h"

using kttest::CaptureWriter;
using nlohmann::json;

namespace {

const int kUdp = 17, kTcp = 6;

std::string request(const std::string& method, int cseq, const std::string& body = "") {
    std::string m = method + " sip:bob@b.example SIP/2.0\r\n"
                    "Via: SIP/2.0/UDP 192.0.2.1:5070;branch=z9hG4bK" + std::to_string(cseq) + "\r\n"
                    "From: <sip:alice@a.example>;tag=1\r\nTo: <sip:bob@b.example>\r\n"
                    "Call-ID: c" + std::to_string(cseq) + "@a.example\r\n"
                    "CSeq: " + std::to_string(cseq) + " " + method + "\r\nMax-Forwards: 70\r\n";
    if (!body.empty()) m += "Content-Type: application/sdp\r\n";
    return m + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kSdp = "v=0\r\no=- 1 1 IN IP4 192.0.2.1\r\ns=-\r\nc=IN IP4 192.0.2.1\r\nt=0 0\r\n"
                         "m=audio 4000 RTP/AVP 0\r\n";
const std::string kInvite = request("INVITE", 1, kSdp);
const std::string kOk = "SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP 192.0.2.1:5070;branch=z9hG4bK1\r\n"
                        "From: <sip:alice@a.example>;tag=1\r\nTo: <sip:bob@b.example>;tag=2\r\n"
                        "Call-ID: c1@a.example\r\nCSeq: 1 INVITE\r\nContent-Length: 0\r\n\r\n";
const std::string kBye = request("BYE", 2);

std::string udp4(const std::string& payload, int from = 5070, int to = 5060) {
    return CaptureWriter::ipv4("192.0.2.1", "192.0.2.2", kUdp, CaptureWriter::udp(from, to, payload));
}
std::string tcp4(std::uint32_t sequence, const std::string& payload, int flags = CaptureWriter::ACK) {
    return CaptureWriter::ipv4("192.0.2.1", "192.0.2.2", kTcp, CaptureWriter::tcp(5070, 5060, sequence, flags, payload));
}

struct Output {
    int status = -1;
    std::vector<json> messages;
    json summary;
};

Output scan(const std::string& path, const std::vector<std::string>& options = {}) {
    std::vector<std::string> args = {"scan", "--json"};
    args.insert(args.end(), options.begin(), options.end());
    args.push_back(path);
    const kttest::ToolRun run = kttest::runTool(args);
    Output out;
    out.status = run.status;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) {
        json j = json::parse(line);
        if (j.contains("summary"))
            out.summary = j["summary"];
        else
            out.messages.push_back(j);
    }
    return out;
}

const std::string kA = "192.0.2.1:5070", kB = "192.0.2.2:5060";

// One reported message as "frame src dst transport what", kA and kB written A and B; what
// is the method or code when parsed, the exception class otherwise.
std::string summaryOf(const json& m) {
    const auto address = [](const std::string& a) { return a == kA ? "A" : a == kB ? "B" : a; };
    const std::string what = !m["ok"].get<bool>()  ? m["exception"].get<std::string>()
                             : m["request"].get<bool>() ? m["method"].get<std::string>()
                                                        : std::to_string(m["code"].get<int>());
    return std::to_string(m["frame"].get<unsigned>()) + " " + address(m["src"]) + " " + address(m["dst"]) + " " +
           m["transport"].get<std::string>() + " " + what;
}

struct Case {
    const char* name;
    int linkType;
    std::function<void(CaptureWriter&)> write;
    std::vector<std::string> messages;  // "frame src dst transport what"; A and B stand for kA and kB
    unsigned skipped;
    json summary = json::object();  // further fields the summary must have
    std::vector<std::string> options = {};
};

}  // namespace

TEST(KtsipScan, FindsEverySipMessageOnceInOrder) {
    const std::string big = request("INVITE", 7, std::string(3000, 'x'));  // three IPv4 fragments
    const std::vector<Case> cases = {
        {"udp over ethernet, non-SIP datagrams skipped", DLT_EN10MB,
         [](CaptureWriter& w) {
             w.packet(udp4(kInvite));
             w.packet(udp4("\x12\x34\x01\x00 not sip at all", 5353, 5353));
             w.packet(CaptureWriter::ipv4("192.0.2.2", "192.0.2.1", kUdp, CaptureWriter::udp(5060, 5070, kOk)));
             w.packet(udp4("GET / HTTP/1.1\r\nHost: x\r\n\r\n", 5070, 80));
             w.packet(CaptureWriter::ipv4("192.0.2.1", "192.0.2.2", 1, "\x08\x00icmp"));
         },
         {"1 A B udp INVITE", "3 B A udp 200"}, 3},
        {"udp over ipv6, linux cooked", DLT_LINUX_SLL,
         [](CaptureWriter& w) {
             w.packet(CaptureWriter::ipv6("2001:db8::1", "2001:db8::2", kUdp, CaptureWriter::udp(5060, 5062, kBye)));
         },
         {"1 [2001:db8::1]:5060 [2001:db8::2]:5062 udp BYE"}, 0},
        {"keep-alive and an invalid message over raw ip", DLT_RAW,
         [](CaptureWriter& w) {
             w.packet(udp4("\r\n\r\n"));
             w.packet(udp4("OPTIONS sip:bob@b.example SIP/2.0\r\nCSeq: x\r\nContent-Length: 0\r\n\r\n"));
         },
         {"1 A B udp KtSipParseKeepAliveException", "2 A B udp OPTIONS"}, 0,
         {{"invalid", {{"1", 1}}}, {"requests", {{"OPTIONS", 1}}}}},
        {"ipv4 fragments, out of order, completed by the last one", DLT_RAW,
         [&](CaptureWriter& w) {
             const std::string d = CaptureWriter::udp(5070, 5060, big);
             auto piece = [&](std::size_t at, std::size_t n, bool more) {
                 return CaptureWriter::ipv4("192.0.2.1", "192.0.2.2", kUdp, d.substr(at, n), 99, at, more);
             };
             w.packet(piece(1480, 1480, true));
             w.packet(udp4(kBye));
             w.packet(piece(2960, std::string::npos, false));
             w.packet(piece(0, 1480, true));
         },
         {"2 A B udp BYE", "4 A B udp INVITE"}, 0},
        {"ipv6 fragments", DLT_RAW,
         [&](CaptureWriter& w) {
             const std::string d = CaptureWriter::udp(5070, 5060, big);
             w.packet(CaptureWriter::ipv6("2001:db8::1", "2001:db8::2", kUdp, d.substr(0, 1456), true, 5, 0, true));
             w.packet(CaptureWriter::ipv6("2001:db8::1", "2001:db8::2", kUdp, d.substr(1456), true, 5, 1456, false));
         },
         {"2 [2001:db8::1]:5070 [2001:db8::2]:5060 udp INVITE"}, 0},
        {"tcp: split, two in one segment, retransmitted, out of order", DLT_EN10MB,
         [](CaptureWriter& w) {
             const std::uint32_t s = 1000;
             const std::uint32_t a = s + 1, b = a + 100, c = a + kInvite.size(), d = c + kBye.size();
             w.packet(tcp4(s, "", CaptureWriter::SYN));
             w.packet(tcp4(a, kInvite.substr(0, 100)));                           // 2: first part
             w.packet(tcp4(a, kInvite.substr(0, 100)));                           // 3: retransmitted
             w.packet(tcp4(b, kInvite.substr(100) + kBye));                       // 4: rest + BYE
             w.packet(tcp4(d + 30, kBye.substr(30) + request("ACK", 3)));         // 5: ahead
             w.packet(tcp4(d, kBye.substr(0, 40)));                               // 6: fills the gap
             w.packet(CaptureWriter::ipv4("192.0.2.2", "192.0.2.1", kTcp,
                                          CaptureWriter::tcp(5060, 5070, 9, CaptureWriter::ACK, "")));
             const std::uint32_t end = d + static_cast<std::uint32_t>(kBye.size() + request("ACK", 3).size());
             w.packet(tcp4(end, "", CaptureWriter::FIN | CaptureWriter::ACK));
             w.packet(tcp4(b, kInvite.substr(100) + kBye));                       // 9: late retransmission
         },
         {"4 A B tcp INVITE", "4 A B tcp BYE", "6 A B tcp BYE", "6 A B tcp ACK"}, 3},
        {"tcp joined in the middle of a message; a message without Content-Length ends at its blank line",
         DLT_EN10MB,
         [](CaptureWriter& w) {
             std::string options = request("OPTIONS", 9);
             options.erase(options.find("Content-Length: 0\r\n"), 19);
             w.packet(tcp4(77, kInvite.substr(50) + options + kBye));
         },
         {"1 A B tcp OPTIONS", "1 A B tcp BYE"}, 0},
        {"a stream that never frames a message is dropped", DLT_EN10MB,
         [](CaptureWriter& w) {
             for (std::uint32_t i = 0; i < 50; ++i) w.packet(tcp4(i * 1400, std::string(1400, 'z')));
             w.packet(udp4(kBye));
         },
         {"51 A B udp BYE"}, 50, {{"tcp_streams_dropped", 1}}},
        {"vlan-tagged ethernet", DLT_EN10MB,
         [](CaptureWriter& w) {
             w.raw(std::string("\x02\0\0\0\0\x02\x02\0\0\0\0\x01\x81\x00\x00\x07\x08\x00", 18) + udp4(kBye));
         },
         {"1 A B udp BYE"}, 0},
        {"a datagram cut short by the snapshot length is not parsed", DLT_RAW,
         [](CaptureWriter& w) {
             w.raw(udp4(kInvite), 200);
             w.packet(udp4(kBye));
         },
         {"2 A B udp BYE"}, 1, {{"truncated_packets", 1}}},
        {"linux cooked v2", DLT_LINUX_SLL2, [](CaptureWriter& w) { w.packet(udp4(kOk)); },
         {"1 A B udp 200"}, 0},
        {"bsd loopback", DLT_NULL,
         [](CaptureWriter& w) {
             w.packet(CaptureWriter::ipv6("::1", "::1", kUdp, CaptureWriter::udp(5060, 5061, kBye)));
         },
         {"1 [::1]:5060 [::1]:5061 udp BYE"}, 0},
        {"--port and --filter", DLT_EN10MB,
         [](CaptureWriter& w) {
             w.packet(udp4(kInvite, 5070, 5060));
             w.packet(udp4(kBye, 5070, 5080));
             w.packet(CaptureWriter::ipv4("198.51.100.1", "192.0.2.2", kUdp, CaptureWriter::udp(5070, 5080, kBye)));
         },
         {"2 A 192.0.2.2:5080 udp BYE"}, 0, {{"filtered_packets", 2}}, {"--port", "5080", "--filter", "src host 192.0.2.1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = kttest::scratchFile("");
        {
            CaptureWriter writer(path, c.linkType);
            c.write(writer);
        }
        const Output out = scan(path, c.options);
        unlink(path.c_str());
        EXPECT_EQ(out.status, 0);
        std::vector<std::string> found;
        for (const json& m : out.messages) found.push_back(summaryOf(m));
        EXPECT_EQ(found, c.messages);
        EXPECT_EQ(out.summary["messages"], c.messages.size());
        EXPECT_EQ(out.summary["skipped_packets"], c.skipped);
        for (const auto& item : c.summary.items()) EXPECT_EQ(out.summary[item.key()], item.value()) << item.key();
    }
}

TEST(KtsipScan, DamagedCapturesEndWithWhatWasReadAndExitOne) {
    const std::string path = kttest::scratchFile("");
    {
        CaptureWriter writer(path, DLT_EN10MB);
        for (int i = 0; i < 3; ++i) writer.packet(udp4(kBye));
    }
    const std::string whole = kttest::readFile(path);
    const std::size_t record = (whole.size() - 24) / 3;  // 16-byte header + frame
    std::string hugeLength = whole;
    hugeLength[24 + 2 * record + 8] = '\x7f';  // caplen of the third record far past the snapshot length
    const struct {
        const char* name;
        std::string bytes;
        int status;
        std::size_t messages;
    } cases[] = {
        {"whole", whole, 0, 3},
        {"last frame cut", whole.substr(0, whole.size() - 10), 1, 2},
        {"last record header cut", whole.substr(0, 24 + 2 * record + 5), 1, 2},
        {"record length beyond the snapshot length", hugeLength, 1, 2},
        {"not a capture", "INVITE sip:bob@b.example SIP/2.0\r\n\r\n", 2, 0},
        {"empty file", "", 2, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        kttest::scratchFile(c.bytes, path);
        const Output out = scan(path);
        EXPECT_EQ(out.status, c.status);
        EXPECT_EQ(out.messages.size(), c.messages);
        EXPECT_EQ(out.summary.is_null(), c.status == 2);
    }
    // The readable form: one line per message, then the summary.
    kttest::scratchFile(whole, path);
    const kttest::ToolRun run = kttest::runTool({"scan", path});
    EXPECT_EQ(run.status, 0);
    unlink(path.c_str());
    const std::string& text = run.out;
    EXPECT_NE(text.find("3 22:13:20.003000 192.0.2.1:5070 -> 192.0.2.2:5060 udp BYE sip:bob@b.example SIP/2.0\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("requests:            BYE 3\n"), std::string::npos) << text;
}

TEST(KtsipScan, EachMessageCarriesWhatParseReports) {
    // A valid message, one the library marks invalid, one it refuses (with a log line),
    // bytes that JSON escapes, one that cannot be written.
    const std::vector<std::string> payloads = {
        kInvite, "OPTIONS sip:bob@b.example SIP/2.0\r\nCSeq: x\r\nContent-Length: 0\r\n\r\n",
        "OPTIONS sip:bob@b.example SIP/3.0\r\nContent-Length: 0\r\n\r\n",
        request("MESSAGE", 4, "caf\xe9 \"quoted\" \\ \x01"),
        // Parsed, but its credentials cannot be written (no response, an algorithm not known).
        "REGISTER sip:r SIP/2.0\r\nVia: SIP/2.0/UDP h;branch=z9hG4bK1\r\nFrom: <sip:a@r>;tag=1\r\n"
        "To: <sip:a@r>\r\nCall-ID: x\r\nCSeq: 1 REGISTER\r\nAuthorization: Digest username=\"a\",realm=\"r\","
        "nonce=\"n\",uri=\"sip:r\",algorithm=SHA-256\r\nContent-Length: 0\r\n\r\n"};
    const std::string path = kttest::scratchFile("");
    {
        CaptureWriter writer(path, DLT_EN10MB);
        for (const std::string& p : payloads) writer.packet(udp4(p));
    }
    const Output out = scan(path);
    ASSERT_EQ(out.messages.size(), payloads.size());
    for (std::size_t i = 0; i < payloads.size(); ++i) {
        json scanned = out.messages[i];
        for (const char* field : {"frame", "time", "src", "dst", "transport"}) scanned.erase(field);
        EXPECT_EQ(scanned, json::parse(kttest::runTool({"parse", "--json", kttest::scratchFile(payloads[i], path)}).out))
            << i;
    }
    unlink(path.c_str());
}
