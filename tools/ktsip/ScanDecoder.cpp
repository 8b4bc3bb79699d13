// Decoding of captured frames down to the IP packet and its transport header.
#include "ScanDecoder.h"

#include <pcap/pcap.h>

#include <cstring>

namespace {

constexpr std::uint16_t kIpv4 = 0x0800;
constexpr std::uint16_t kIpv6 = 0x86DD;

std::uint16_t be16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] << 8 | p[1]); }
std::uint32_t be32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

bool ipv4(const std::uint8_t* p, std::size_t n, ScanIpPacket& ip) {
    if (n < 20 || (p[0] >> 4) != 4) return false;
    const std::size_t header = static_cast<std::size_t>(p[0] & 0x0F) * 4;
    const std::size_t total = be16(p + 2);
    if (header < 20 || total < header || n < header) return false;
    ip.family = 4;
    ip.source = p + 12;
    ip.destination = p + 16;
    ip.protocol = p[9];
    ip.payload = p + header;
    // Link layers pad short packets: the IP length says where the packet ends.
    ip.truncated = n < total;
    ip.length = (ip.truncated ? n : total) - header;
    const std::uint16_t flags = be16(p + 6);
    ip.moreFragments = (flags & 0x2000) != 0;
    ip.fragmentOffset = static_cast<std::size_t>(flags & 0x1FFF) * 8;
    ip.fragment = ip.moreFragments || ip.fragmentOffset != 0;
    ip.fragmentId = be16(p + 4);
    return true;
}

bool ipv6(const std::uint8_t* p, std::size_t n, ScanIpPacket& ip) {
    if (n < 40 || (p[0] >> 4) != 6) return false;
    const std::size_t declared = be16(p + 4);
    std::size_t length = n - 40;
    ip.truncated = declared != 0 && length < declared;  // 0: a jumbogram, taken as captured
    if (declared != 0 && !ip.truncated) length = declared;
    ip.family = 6;
    ip.source = p + 8;
    ip.destination = p + 24;
    const std::uint8_t* at = p + 40;
    std::uint8_t next = p[6];
    for (int headers = 0; headers < 8; ++headers) {
        if (next == 0 || next == 43 || next == 60) {  // hop-by-hop, routing, destination options
            if (length < 8) return false;
            const std::size_t size = (static_cast<std::size_t>(at[1]) + 1) * 8;
            if (length < size) return false;
            next = at[0];
            at += size;
            length -= size;
            continue;
        }
        if (next == 44) {  // fragment header
            if (length < 8) return false;
            const std::uint16_t field = be16(at + 2);
            ip.fragmentOffset = static_cast<std::size_t>(field >> 3) * 8;
            ip.moreFragments = (field & 1) != 0;
            ip.fragment = ip.moreFragments || ip.fragmentOffset != 0;
            ip.fragmentId = be32(at + 4);
            next = at[0];
            at += 8;
            length -= 8;
            if (ip.fragment) break;  // the rest is the fragment's data
            continue;                // an atomic fragment: the datagram is whole
        }
        break;
    }
    ip.protocol = next;
    ip.payload = at;
    ip.length = length;
    return true;
}

bool byType(std::uint16_t type, const std::uint8_t* p, std::size_t n, ScanIpPacket& ip) {
    if (type == kIpv4) return ipv4(p, n, ip);
    if (type == kIpv6) return ipv6(p, n, ip);
    return false;
}

bool byVersion(const std::uint8_t* p, std::size_t n, ScanIpPacket& ip) {
    if (n == 0) return false;
    return (p[0] >> 4) == 4 ? ipv4(p, n, ip) : ipv6(p, n, ip);
}

// BSD loopback: the address family, in the capturing machine's byte order (DLT_NULL) or
// in network order (DLT_LOOP). IPv6 has a different number on each BSD and on Linux.
bool loopback(const std::uint8_t* p, std::size_t n, bool network, ScanIpPacket& ip) {
    if (n < 4) return false;
    std::uint32_t family = be32(p);
    if (!network && family > 0xFFFF) family = static_cast<std::uint32_t>(p[3]) << 24 | p[2] << 16 | p[1] << 8 | p[0];
    if (family == 2) return ipv4(p + 4, n - 4, ip);
    if (family == 10 || family == 24 || family == 28 || family == 30) return ipv6(p + 4, n - 4, ip);
    return false;
}

}  // namespace

bool ScanDecoder::sLinkSupported(int linkType) {
    switch (linkType) {
        case DLT_EN10MB: case DLT_LINUX_SLL: case DLT_LINUX_SLL2: case DLT_RAW: case DLT_IPV4:
        case DLT_IPV6: case DLT_NULL: case DLT_LOOP:
            return true;
        default:
            return false;
    }
}

bool ScanDecoder::sNetwork(int linkType, const std::uint8_t* p, std::size_t n, ScanIpPacket& ip) {
    switch (linkType) {
        case DLT_EN10MB: {
            if (n < 14) return false;
            std::size_t at = 12;
            std::uint16_t type = be16(p + at);
            for (int tags = 0; tags < 4 && (type == 0x8100 || type == 0x88A8 || type == 0x9100); ++tags) {
                at += 4;
                if (n < at + 2) return false;
                type = be16(p + at);
            }
            return byType(type, p + at + 2, n - at - 2, ip);
        }
        case DLT_LINUX_SLL:
            return n >= 16 && byType(be16(p + 14), p + 16, n - 16, ip);
        case DLT_LINUX_SLL2:
            return n >= 20 && byType(be16(p), p + 20, n - 20, ip);
        case DLT_RAW: case DLT_IPV4: case DLT_IPV6:
            return byVersion(p, n, ip);
        case DLT_NULL:
            return loopback(p, n, false, ip);
        case DLT_LOOP:
            return loopback(p, n, true, ip);
        default:
            return false;
    }
}

bool ScanDecoder::sTransport(const ScanIpPacket& ip, std::uint8_t protocol, const std::uint8_t* p, std::size_t n,
                             bool truncated, ScanTransport& out) {
    std::size_t header = 0;
    if (protocol == 17) {
        if (n < 8) return false;
        const std::size_t declared = be16(p + 4);
        if (declared < 8) return false;
        out.tcp = false;
        header = 8;
        // The UDP length bounds the payload (trailing bytes are link padding); a capture
        // holding less than it is truncated.
        truncated = declared > n;
        if (declared < n) n = declared;
    } else if (protocol == 6) {
        if (n < 20) return false;
        header = static_cast<std::size_t>(p[12] >> 4) * 4;
        if (header < 20 || n < header) return false;
        out.tcp = true;
        out.sequence = be32(p + 4);
        out.fin = (p[13] & 0x01) != 0;
        out.syn = (p[13] & 0x02) != 0;
        out.rst = (p[13] & 0x04) != 0;
    } else {
        return false;
    }
    const std::size_t size = ip.family == 4 ? 4 : 16;
    out.source.family = out.destination.family = ip.family;
    std::memset(out.source.address, 0, sizeof out.source.address);
    std::memset(out.destination.address, 0, sizeof out.destination.address);
    std::memcpy(out.source.address, ip.source, size);
    std::memcpy(out.destination.address, ip.destination, size);
    out.source.port = be16(p);
    out.destination.port = be16(p + 2);
    out.payload = p + header;
    out.length = n - header;
    out.truncated = truncated;
    return true;
}
