// Writes a packet capture of ordinary SIP calls for timing `ktsip scan`.
//
//   make_capture OUT.pcap CALLS [TCP-PERCENT]
//
// Each call is INVITE (with SDP), 100, 180, 200 (with SDP), ACK, BYE, 200 between two
// user agents on Ethernet/IPv4, the way sipp's built-in scenario runs it. TCP-PERCENT of
// the calls (default 20) run over a TCP connection of their own: SYN, SYN-ACK, one segment
// per message with an acknowledgement after each, FIN in both directions. The rest run over
// UDP. Prints the number of frames and bytes written.
#include <pcap/pcap.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "CaptureWriter.h"

using kttest::CaptureWriter;

namespace {

std::string sdp(const std::string& host, int port) {
    return "v=0\r\no=user1 53655765 2353687637 IN IP4 " + host + "\r\ns=-\r\nc=IN IP4 " + host +
           "\r\nt=0 0\r\nm=audio " + std::to_string(port) + " RTP/AVP 0\r\na=rtpmap:0 PCMU/8000\r\n";
}

struct Call {
    std::string id, transport, caller = "10.0.0.1", callee = "10.0.0.2";
    int callerPort, calleePort = 5060;

    std::string common(const std::string& method, int cseq, bool toTag) const {
        return "Via: SIP/2.0/" + transport + " " + caller + ":" + std::to_string(callerPort) +
               ";branch=z9hG4bK-" + id + "-" + std::to_string(cseq) + "\r\n"
               "From: sipp <sip:sipp@" + caller + ":" + std::to_string(callerPort) + ">;tag=" + id + "SIPpTag00\r\n"
               "To: service <sip:service@" + callee + ":5060>" + (toTag ? ";tag=" + id + "-uas" : "") + "\r\n"
               "Call-ID: " + id + "@" + caller + "\r\nCSeq: " + std::to_string(cseq) + " " + method + "\r\n";
    }
    std::string request(const std::string& method, int cseq, bool toTag, const std::string& body = "") const {
        std::string m = method + " sip:service@" + callee + ":5060 SIP/2.0\r\n" + common(method, cseq, toTag) +
                        "Contact: sip:sipp@" + caller + ":" + std::to_string(callerPort) + "\r\nMax-Forwards: 70\r\n"
                        "Subject: Performance Test\r\n";
        if (!body.empty()) m += "Content-Type: application/sdp\r\n";
        return m + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    std::string response(const std::string& status, const std::string& method, int cseq, bool toTag,
                         const std::string& body = "") const {
        std::string m = "SIP/2.0 " + status + "\r\n" + common(method, cseq, toTag);
        if (!body.empty()) m += "Contact: <sip:" + callee + ":5060;transport=" + transport + ">\r\nContent-Type: application/sdp\r\n";
        return m + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: make_capture OUT.pcap CALLS [TCP-PERCENT]\n");
        return 2;
    }
    const long calls = std::atol(argv[2]);
    const long tcpPercent = argc > 3 ? std::atol(argv[3]) : 20;
    CaptureWriter w(argv[1], DLT_EN10MB);
    unsigned long frames = 0, bytes = 0;
    auto send = [&](const Call& c, bool fromCaller, const std::string& payload, std::uint32_t& seq,
                    std::uint32_t ack, int flags) {
        const std::string& src = fromCaller ? c.caller : c.callee;
        const std::string& dst = fromCaller ? c.callee : c.caller;
        const int sport = fromCaller ? c.callerPort : c.calleePort, dport = fromCaller ? c.calleePort : c.callerPort;
        std::string transport;
        if (c.transport == "UDP") {
            transport = CaptureWriter::udp(sport, dport, payload);
        } else {
            transport = CaptureWriter::tcp(sport, dport, seq, flags, payload);
            transport[8] = static_cast<char>(ack >> 24);  // acknowledgement number, for realism
            seq += static_cast<std::uint32_t>(payload.size()) + ((flags & (CaptureWriter::SYN | CaptureWriter::FIN)) ? 1 : 0);
        }
        const std::string ip = CaptureWriter::ipv4(src, dst, c.transport == "UDP" ? 17 : 6, transport,
                                                   static_cast<int>(frames & 0xFFFF));
        w.packet(ip);
        ++frames;
        bytes += 16 + 14 + ip.size();
    };
    for (long i = 0; i < calls; ++i) {
        Call c;
        c.id = std::to_string(i + 1) + "-" + std::to_string(1000 + i % 97);
        c.transport = (i % 100) < tcpPercent ? "TCP" : "UDP";
        c.callerPort = 20000 + static_cast<int>(i % 40000);
        std::uint32_t a = static_cast<std::uint32_t>(i) * 7919u, b = static_cast<std::uint32_t>(i) * 104729u;
        const bool tcp = c.transport == "TCP";
        const int data = CaptureWriter::ACK | CaptureWriter::PSH;
        auto message = [&](bool fromCaller, const std::string& text) {
            send(c, fromCaller, text, fromCaller ? a : b, fromCaller ? b : a, data);
            if (tcp) send(c, !fromCaller, "", fromCaller ? b : a, fromCaller ? a : b, CaptureWriter::ACK);
        };
        if (tcp) {
            send(c, true, "", a, 0, CaptureWriter::SYN);
            send(c, false, "", b, a, CaptureWriter::SYN | CaptureWriter::ACK);
        }
        message(true, c.request("INVITE", 1, false, sdp(c.caller, 6000)));
        message(false, c.response("100 Trying", "INVITE", 1, false));
        message(false, c.response("180 Ringing", "INVITE", 1, true));
        message(false, c.response("200 OK", "INVITE", 1, true, sdp(c.callee, 7000)));
        message(true, c.request("ACK", 1, true));
        message(true, c.request("BYE", 2, true));
        message(false, c.response("200 OK", "BYE", 2, true));
        if (tcp) {
            send(c, true, "", a, b, CaptureWriter::FIN | CaptureWriter::ACK);
            send(c, false, "", b, a, CaptureWriter::FIN | CaptureWriter::ACK);
        }
    }
    w.close();
    std::printf("%lu frames, %lu bytes\n", frames, bytes + 24);
    return 0;
}
