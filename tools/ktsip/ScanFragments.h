// Reassembly of fragmented IPv4 and IPv6 datagrams found in a capture.
#ifndef KTSIP_TOOL_SCAN_FRAGMENTS_H
#define KTSIP_TOOL_SCAN_FRAGMENTS_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ScanDecoder.h"

/// Collects the fragments of datagrams until each is whole. Bounded: at most
/// MAX_DATAGRAMS datagrams are pending at once (a new one evicts the oldest), each of at
/// most MAX_BYTES bytes and MAX_PIECES fragments, and one whose first fragment is more
/// than MAX_AGE seconds of capture time old is given up. Every datagram given up is counted.
/// Overlapping fragments are accepted, the later bytes winning.
class ScanFragments {
public:
    static constexpr std::size_t MAX_DATAGRAMS = 256;
    static constexpr std::size_t MAX_BYTES = 65535;
    static constexpr std::size_t MAX_PIECES = 128;
    static constexpr double MAX_AGE = 30.0;

    /// Adds the fragment `ip` seen at `time`. True when it completes its datagram: `protocol`
    /// and `whole` then hold the datagram's transport protocol and payload.
    bool add(const ScanIpPacket& ip, double time, std::uint8_t& protocol, std::string& whole);

    /// Datagrams given up (evicted, too old, too large or in too many pieces).
    std::uint64_t abandoned() const { return m_Abandoned; }

private:
    struct Key {
        std::uint8_t bytes[38];  // family, protocol, id (4), source (16), destination (16)
        bool operator<(const Key& other) const;
    };
    struct Datagram {
        double firstSeen = 0;
        std::uint8_t protocol = 0;
        std::string data;
        std::vector<std::pair<std::size_t, std::size_t>> pieces;  // [begin, end) received
        std::size_t total = 0;                                   // known once the last fragment came
        std::list<Key>::iterator age;
    };

    void forget(std::map<Key, Datagram>::iterator it, bool abandoned);

    std::map<Key, Datagram> m_Datagrams;
    std::list<Key> m_Order;  // oldest first
    std::uint64_t m_Abandoned = 0;
};

#endif
