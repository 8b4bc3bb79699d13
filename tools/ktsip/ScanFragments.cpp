// Reassembly of fragmented IPv4 and IPv6 datagrams found in a capture.
#include "ScanFragments.h"

#include <algorithm>
#include <cstring>

bool ScanFragments::Key::operator<(const Key& other) const { return std::memcmp(bytes, other.bytes, sizeof bytes) < 0; }

void ScanFragments::forget(std::map<Key, Datagram>::iterator it, bool abandoned) {
    m_Order.erase(it->second.age);
    m_Datagrams.erase(it);
    if (abandoned) ++m_Abandoned;
}

bool ScanFragments::add(const ScanIpPacket& ip, double time, std::uint8_t& protocol, std::string& whole) {
    // Datagrams too old to complete go first (the order list is by first fragment).
    while (!m_Order.empty()) {
        auto oldest = m_Datagrams.find(m_Order.front());
        if (time - oldest->second.firstSeen <= MAX_AGE) break;
        forget(oldest, true);
    }
    Key key;
    std::memset(key.bytes, 0, sizeof key.bytes);
    const std::size_t size = ip.family == 4 ? 4 : 16;
    key.bytes[0] = ip.family;
    key.bytes[1] = ip.protocol;
    std::memcpy(key.bytes + 2, &ip.fragmentId, 4);
    std::memcpy(key.bytes + 6, ip.source, size);
    std::memcpy(key.bytes + 22, ip.destination, size);

    auto it = m_Datagrams.find(key);
    if (it == m_Datagrams.end()) {
        if (m_Datagrams.size() >= MAX_DATAGRAMS) forget(m_Datagrams.find(m_Order.front()), true);
        it = m_Datagrams.emplace(key, Datagram()).first;
        it->second.firstSeen = time;
        it->second.protocol = ip.protocol;
        it->second.age = m_Order.insert(m_Order.end(), key);
    }
    Datagram& d = it->second;
    const std::size_t begin = ip.fragmentOffset;
    const std::size_t end = begin + ip.length;
    // A truncated fragment leaves a hole that never fills; the datagram ages out.
    if (ip.truncated) return false;
    if (end > MAX_BYTES || d.pieces.size() >= MAX_PIECES || (d.total != 0 && end > d.total) ||
        (!ip.moreFragments && end < d.data.size())) {
        forget(it, true);
        return false;
    }
    if (!ip.moreFragments) d.total = end;
    if (d.data.size() < end) d.data.resize(end);
    std::memcpy(&d.data[begin], ip.payload, ip.length);
    d.pieces.emplace_back(begin, end);
    if (d.total == 0) return false;
    std::sort(d.pieces.begin(), d.pieces.end());
    std::size_t covered = 0;
    for (const auto& piece : d.pieces) {
        if (piece.first > covered) return false;
        covered = std::max(covered, piece.second);
    }
    if (covered < d.total) return false;
    protocol = d.protocol;
    whole.swap(d.data);
    forget(it, false);
    return true;
}
