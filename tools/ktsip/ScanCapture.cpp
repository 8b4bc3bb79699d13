// Reading a packet capture and finding the SIP messages it carries.
#include "ScanCapture.h"

#include <cstring>
#include <stdexcept>

#include "ScanSipStart.h"

ScanCapture::~ScanCapture() {
    if (m_HasFilter) pcap_freecode(&m_Filter);
    if (m_Pcap != nullptr) pcap_close(m_Pcap);
}

void ScanCapture::adopt(pcap_t* handle, const char* errorText) {
    if (handle == nullptr) throw std::runtime_error(errorText);
    if (m_Pcap != nullptr) pcap_close(m_Pcap);
    m_Pcap = handle;
    m_LinkType = pcap_datalink(handle);
    if (!ScanDecoder::sLinkSupported(m_LinkType)) {
        const char* name = pcap_datalink_val_to_name(m_LinkType);
        throw std::runtime_error("link type " + std::string(name != nullptr ? name : std::to_string(m_LinkType)) +
                                 " is not supported");
    }
    m_StreamSink = [this](const char* bytes, std::size_t length) { emit(bytes, length); };
}

void ScanCapture::open(const std::string& file) {
    char errorText[PCAP_ERRBUF_SIZE] = "";
    adopt(pcap_open_offline_with_tstamp_precision(file.c_str(), PCAP_TSTAMP_PRECISION_MICRO, errorText), errorText);
}

void ScanCapture::open(std::FILE* stream) {
    char errorText[PCAP_ERRBUF_SIZE] = "";
    pcap_t* handle = pcap_fopen_offline_with_tstamp_precision(stream, PCAP_TSTAMP_PRECISION_MICRO, errorText);
    if (handle == nullptr) std::fclose(stream);
    adopt(handle, errorText);
}

void ScanCapture::setFilter(const std::string& expression) {
    if (m_HasFilter) pcap_freecode(&m_Filter);
    m_HasFilter = false;
    if (pcap_compile(m_Pcap, &m_Filter, expression.c_str(), 1, PCAP_NETMASK_UNKNOWN) != 0)
        throw std::invalid_argument(pcap_geterr(m_Pcap));
    m_HasFilter = true;
}

void ScanCapture::setPorts(const std::vector<std::uint16_t>& ports) {
    m_Ports.assign(ports.empty() ? 0 : 65536, false);
    for (std::uint16_t port : ports) m_Ports[port] = true;
}

const ScanCapture::Counts& ScanCapture::counts() const {
    m_Counts.abandonedDatagrams = m_Fragments.abandoned();
    return m_Counts;
}

bool ScanCapture::run(const Sink& sink) {
    m_Sink = &sink;
    for (;;) {
        pcap_pkthdr* header = nullptr;
        const u_char* data = nullptr;
        const int status = pcap_next_ex(m_Pcap, &header, &data);
        if (status == 1) {
            frame(*header, data);
        } else if (status == PCAP_ERROR_BREAK) {
            return true;
        } else {
            m_Error = pcap_geterr(m_Pcap);
            return false;
        }
    }
}

void ScanCapture::frame(const pcap_pkthdr& header, const std::uint8_t* data) {
    m_FrameNumber = ++m_Counts.frames;
    m_Counts.bytes += header.caplen;
    m_Seconds = header.ts.tv_sec;
    m_Micros = static_cast<std::uint32_t>(header.ts.tv_usec);
    if (m_HasFilter && pcap_offline_filter(&m_Filter, &header, data) == 0) {
        ++m_Counts.filteredPackets;
        return;
    }
    ScanIpPacket ip;
    if (!ScanDecoder::sNetwork(m_LinkType, data, header.caplen, ip)) {
        ++m_Counts.skippedPackets;
        return;
    }
    const std::uint8_t* bytes = ip.payload;
    std::size_t length = ip.length;
    std::uint8_t protocol = ip.protocol;
    bool truncated = ip.truncated;
    if (ip.fragment) {
        if (protocol != 6 && protocol != 17) {
            ++m_Counts.skippedPackets;
            return;
        }
        const double time = static_cast<double>(m_Seconds) + m_Micros / 1e6;
        // A fragment is part of a datagram that is looked at when it is whole.
        if (!m_Fragments.add(ip, time, protocol, m_Whole)) return;
        bytes = reinterpret_cast<const std::uint8_t*>(m_Whole.data());
        length = m_Whole.size();
        truncated = false;
    }
    ScanTransport t;
    if (!ScanDecoder::sTransport(ip, protocol, bytes, length, truncated, t)) {
        ++m_Counts.skippedPackets;
        return;
    }
    if (!m_Ports.empty() && !m_Ports[t.source.port] && !m_Ports[t.destination.port]) {
        ++m_Counts.filteredPackets;
        return;
    }
    transport(t);
}

void ScanCapture::transport(const ScanTransport& t) {
    m_Current = &t;
    if (t.truncated) {
        // Part of the payload was not captured: a datagram cannot be read, and a segment
        // leaves a gap in its stream.
        ++m_Counts.truncatedPackets;
        ++m_Counts.skippedPackets;
        return;
    }
    if (t.tcp) {
        tcp(t);
        return;
    }
    const char* payload = reinterpret_cast<const char*>(t.payload);
    if (ScanSipStart::sCheck(payload, t.length) == ScanSipStart::Yes)
        emit(payload, t.length);
    else
        ++m_Counts.skippedPackets;
}

void ScanCapture::tcp(const ScanTransport& t) {
    const FlowKey key = flowKey(t.source, t.destination);
    if (t.rst) {  // the connection is gone in both directions
        for (const FlowKey& direction : {key, flowKey(t.destination, t.source)}) {
            auto flow = m_Flows.find(direction);
            if (flow != m_Flows.end()) flow->second.stream.close();
        }
        ++m_Counts.skippedPackets;
        return;
    }
    auto it = m_Flows.find(key);
    if (it != m_Flows.end() && t.syn) {  // a new connection between the same ends
        forget(key);
        it = m_Flows.end();
    }
    if (it == m_Flows.end()) {
        if (t.length == 0 && !t.syn) {  // an acknowledgement or FIN of a connection not followed
            ++m_Counts.skippedPackets;
            return;
        }
        if (m_Flows.size() >= MAX_STREAMS) {
            const FlowKey oldest = m_FlowAge.front();
            forget(oldest);
            ++m_Counts.evictedStreams;
        }
        it = m_Flows.emplace(key, Flow()).first;
        it->second.age = m_FlowAge.insert(m_FlowAge.end(), key);
    } else {
        m_FlowAge.splice(m_FlowAge.end(), m_FlowAge, it->second.age);
    }
    Flow& flow = it->second;
    ScanTcpStream& stream = flow.stream;
    const bool wasDropped = stream.dropped();
    const std::uint64_t gaps = stream.gaps();
    if (t.length == 0 || wasDropped) {
        ++m_Counts.skippedPackets;
    } else {
        ++flow.segments;
    }
    stream.segment(t.sequence, t.syn, reinterpret_cast<const char*>(t.payload), t.length, m_StreamSink);
    m_Counts.tcpGaps += stream.gaps() - gaps;
    if (!wasDropped && stream.dropped()) {
        // Its segments carried no SIP after all.
        ++m_Counts.droppedStreams;
        m_Counts.skippedPackets += flow.segments;
    }
    // The direction is kept, closed, so that late retransmissions are recognised; it
    // leaves the table when a new connection takes its addresses, or as the oldest.
    if (t.fin) stream.close();
}

void ScanCapture::emit(const char* bytes, std::size_t length) {
    const ScanMessage message{m_FrameNumber, m_Seconds,  m_Micros, &m_Current->source, &m_Current->destination,
                              m_Current->tcp, bytes, length};
    (*m_Sink)(message);
}

ScanCapture::FlowKey ScanCapture::flowKey(const ScanEndpoint& from, const ScanEndpoint& to) {
    FlowKey key;
    key.bytes[0] = from.family;
    std::memcpy(key.bytes + 1, from.address, 16);
    std::memcpy(key.bytes + 17, &from.port, 2);
    std::memcpy(key.bytes + 19, to.address, 16);
    std::memcpy(key.bytes + 35, &to.port, 2);
    key.bytes[37] = 0;
    return key;
}

void ScanCapture::forget(const FlowKey& key) {
    auto it = m_Flows.find(key);
    if (it == m_Flows.end()) return;
    m_FlowAge.erase(it->second.age);
    m_Flows.erase(it);
}

bool ScanCapture::FlowKey::operator==(const FlowKey& other) const {
    return std::memcmp(bytes, other.bytes, sizeof bytes) == 0;
}

std::size_t ScanCapture::FlowHash::operator()(const FlowKey& key) const {
    std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a
    for (std::uint8_t byte : key.bytes) hash = (hash ^ byte) * 1099511628211ULL;
    return static_cast<std::size_t>(hash);
}
