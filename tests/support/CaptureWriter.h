// Writes packet captures through libpcap's dump interface, for the tests and benchmarks of
// `ktsip scan`: frames of a chosen link type holding IPv4 or IPv6 packets with UDP or TCP.
#ifndef KTSIP_TEST_CAPTURE_WRITER_H
#define KTSIP_TEST_CAPTURE_WRITER_H

#include <arpa/inet.h>
#include <pcap/pcap.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kttest {

class CaptureWriter {
public:
    /// TCP flag bits.
    enum { FIN = 0x01, SYN = 0x02, RST = 0x04, PSH = 0x08, ACK = 0x10 };

    /// Creates `path` as a pcap file of `linkType` (DLT_EN10MB, DLT_LINUX_SLL, DLT_RAW, ...).
    CaptureWriter(const std::string& path, int linkType) : m_LinkType(linkType) {
        m_Pcap = pcap_open_dead(linkType, 262144);
        m_Dump = m_Pcap != nullptr ? pcap_dump_open(m_Pcap, path.c_str()) : nullptr;
        if (m_Dump == nullptr) throw std::runtime_error("cannot write " + path);
    }
    ~CaptureWriter() { close(); }
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    void close() {
        if (m_Dump != nullptr) pcap_dump_close(m_Dump);
        if (m_Pcap != nullptr) pcap_close(m_Pcap);
        m_Dump = nullptr;
        m_Pcap = nullptr;
    }

    /// Writes one frame holding the IP packet `ip`, framed for the capture's link type,
    /// at `microseconds` after the epoch (one millisecond after the last frame when 0).
    void packet(const std::string& ip, std::int64_t microseconds = 0) {
        m_Time = microseconds != 0 ? microseconds : m_Time + 1000;
        std::string frame;
        const bool v6 = !ip.empty() && (static_cast<unsigned char>(ip[0]) >> 4) == 6;
        const std::string type = v6 ? std::string("\x86\xdd", 2) : std::string("\x08\x00", 2);
        if (m_LinkType == DLT_EN10MB)
            frame = std::string("\x02\x00\x00\x00\x00\x02\x02\x00\x00\x00\x00\x01", 12) + type;
        else if (m_LinkType == DLT_LINUX_SLL)
            frame = std::string("\x00\x00\x00\x01\x00\x06\x02\x00\x00\x00\x00\x01\x00\x00", 14) + type;
        else if (m_LinkType == DLT_LINUX_SLL2)
            frame = type + std::string("\x00\x00\x00\x00\x00\x01\x00\x01\x00\x06\x02\x00\x00\x00\x00\x01\x00\x00", 18);
        else if (m_LinkType == DLT_NULL)  // the family in this machine's byte order
            frame = v6 ? std::string("\x0a\x00\x00\x00", 4) : std::string("\x02\x00\x00\x00", 4);
        frame += ip;
        raw(frame);
    }

    /// Writes `frame` as it is (any link type) at the next time.
    void raw(const std::string& frame, std::size_t caplen = std::string::npos) {
        pcap_pkthdr header{};
        header.ts.tv_sec = static_cast<time_t>(m_Time / 1000000);
        header.ts.tv_usec = static_cast<suseconds_t>(m_Time % 1000000);
        header.len = static_cast<bpf_u_int32>(frame.size());
        header.caplen = static_cast<bpf_u_int32>(caplen < frame.size() ? caplen : frame.size());
        pcap_dump(reinterpret_cast<u_char*>(m_Dump), &header, reinterpret_cast<const u_char*>(frame.data()));
    }

    /// An IPv4 packet from `source` to `destination` (dotted text) carrying `payload` of
    /// `protocol`, possibly one fragment (offset in bytes, a multiple of eight).
    static std::string ipv4(const std::string& source, const std::string& destination, int protocol,
                            const std::string& payload, int id = 1, std::size_t offset = 0, bool more = false) {
        std::string h(20, '\0');
        h[0] = 0x45;
        put16(h, 2, 20 + payload.size());
        put16(h, 4, static_cast<std::size_t>(id));
        put16(h, 6, (more ? 0x2000 : 0) | offset / 8);
        h[8] = 64;
        h[9] = static_cast<char>(protocol);
        address(AF_INET, source, h, 12);
        address(AF_INET, destination, h, 16);
        return h + payload;
    }

    /// An IPv6 packet; with `fragment` a fragment header (identification `id`) comes first.
    static std::string ipv6(const std::string& source, const std::string& destination, int protocol,
                            const std::string& payload, bool fragment = false, std::uint32_t id = 1,
                            std::size_t offset = 0, bool more = false) {
        std::string h(40, '\0');
        h[0] = 0x60;
        std::string body = payload;
        if (fragment) {
            std::string f(8, '\0');
            f[0] = static_cast<char>(protocol);
            put16(f, 2, offset | (more ? 1 : 0));
            put16(f, 4, id >> 16);
            put16(f, 6, id & 0xFFFF);
            body = f + payload;
        }
        put16(h, 4, body.size());
        h[6] = static_cast<char>(fragment ? 44 : protocol);
        h[7] = 64;
        address(AF_INET6, source, h, 8);
        address(AF_INET6, destination, h, 24);
        return h + body;
    }

    static std::string udp(int sourcePort, int destinationPort, const std::string& payload) {
        std::string h(8, '\0');
        put16(h, 0, static_cast<std::size_t>(sourcePort));
        put16(h, 2, static_cast<std::size_t>(destinationPort));
        put16(h, 4, 8 + payload.size());
        return h + payload;
    }

    static std::string tcp(int sourcePort, int destinationPort, std::uint32_t sequence, int flags,
                           const std::string& payload) {
        std::string h(20, '\0');
        put16(h, 0, static_cast<std::size_t>(sourcePort));
        put16(h, 2, static_cast<std::size_t>(destinationPort));
        put16(h, 4, sequence >> 16);
        put16(h, 6, sequence & 0xFFFF);
        h[12] = 0x50;
        h[13] = static_cast<char>(flags);
        put16(h, 14, 65535);
        return h + payload;
    }

private:
    static void put16(std::string& s, std::size_t at, std::size_t value) {
        s[at] = static_cast<char>((value >> 8) & 0xFF);
        s[at + 1] = static_cast<char>(value & 0xFF);
    }
    static void address(int family, const std::string& text, std::string& s, std::size_t at) {
        unsigned char bytes[16];
        if (inet_pton(family, text.c_str(), bytes) != 1) throw std::invalid_argument("bad address " + text);
        s.replace(at, family == AF_INET ? 4 : 16, reinterpret_cast<const char*>(bytes), family == AF_INET ? 4 : 16);
    }

    int m_LinkType;
    pcap_t* m_Pcap = nullptr;
    pcap_dumper_t* m_Dump = nullptr;
    std::int64_t m_Time = 1700000000000000;
};

}  // namespace kttest

#endif
