// One end of a packet's path: an IPv4 or IPv6 address and a port.
#ifndef KTSIP_TOOL_SCAN_ENDPOINT_H
#define KTSIP_TOOL_SCAN_ENDPOINT_H

#include <cstdint>
#include <string>

/// An address and port as a capture holds them (IPv4 addresses in the first four bytes).
struct ScanEndpoint {
    std::uint8_t family = 0;  ///< 4 or 6
    std::uint8_t address[16] = {};
    std::uint16_t port = 0;

    /// "192.0.2.1:5060", or "[2001:db8::1]:5060" for IPv6.
    std::string toString() const;
};

#endif
