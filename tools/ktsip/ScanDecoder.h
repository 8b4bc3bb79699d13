// Decoding of captured frames down to the IP packet and its transport header.
#ifndef KTSIP_TOOL_SCAN_DECODER_H
#define KTSIP_TOOL_SCAN_DECODER_H

#include <cstddef>
#include <cstdint>

#include "ScanEndpoint.h"

/// The IP packet found in a frame. Pointers point into the frame.
struct ScanIpPacket {
    std::uint8_t family = 0;  ///< 4 or 6
    const std::uint8_t* source = nullptr;       ///< 4 or 16 bytes
    const std::uint8_t* destination = nullptr;  ///< 4 or 16 bytes
    std::uint8_t protocol = 0;                  ///< 6 TCP, 17 UDP, ...
    const std::uint8_t* payload = nullptr;      ///< what follows the IP headers
    std::size_t length = 0;                     ///< bytes of payload present in the frame
    bool truncated = false;                     ///< the frame holds less than the packet's length
    bool fragment = false;                      ///< one fragment of a larger datagram
    std::uint32_t fragmentId = 0;               ///< identification of the datagram
    std::size_t fragmentOffset = 0;             ///< offset of this fragment's payload in the datagram
    bool moreFragments = false;                 ///< fragments follow this one
};

/// A UDP datagram or TCP segment, with its payload (pointers into the packet).
struct ScanTransport {
    bool tcp = false;
    ScanEndpoint source;
    ScanEndpoint destination;
    std::uint32_t sequence = 0;  ///< TCP: sequence number of the first payload byte
    bool syn = false, fin = false, rst = false;
    const std::uint8_t* payload = nullptr;
    std::size_t length = 0;
    bool truncated = false;  ///< the capture holds less of the payload than was sent
};

/// Reads the headers of captured frames. Every length is checked against the bytes
/// present: a short or inconsistent header gives false, never a read past the frame.
class ScanDecoder {
public:
    /// True when frames of this libpcap link type (DLT_*) can be read.
    static bool sLinkSupported(int linkType);

    /// The IPv4 or IPv6 packet in a frame of `linkType`: Ethernet (up to four VLAN tags),
    /// Linux cooked (SLL and SLL2), raw IP, BSD loopback (either byte order). IPv6
    /// extension headers are walked (at most eight) to the transport or fragment header.
    static bool sNetwork(int linkType, const std::uint8_t* frame, std::size_t length, ScanIpPacket& ip);

    /// The UDP or TCP header at the start of `bytes` (an IP payload of `protocol`), with the
    /// addresses of `ip`. `truncated` says the IP payload was not captured whole.
    static bool sTransport(const ScanIpPacket& ip, std::uint8_t protocol, const std::uint8_t* bytes,
                           std::size_t length, bool truncated, ScanTransport& out);
};

#endif
