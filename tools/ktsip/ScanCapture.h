// Reading a packet capture and finding the SIP messages it carries.
#ifndef KTSIP_TOOL_SCAN_CAPTURE_H
#define KTSIP_TOOL_SCAN_CAPTURE_H

#include <pcap/pcap.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "ScanDecoder.h"
#include "ScanEndpoint.h"
#include "ScanFragments.h"
#include "ScanTcpStream.h"

/// One SIP message found in a capture. The bytes live until the sink returns.
struct ScanMessage {
    std::uint64_t frame;      ///< 1-based number of the frame that completed the message
    std::int64_t seconds;     ///< capture time of that frame
    std::uint32_t micros;
    const ScanEndpoint* source;
    const ScanEndpoint* destination;
    bool tcp;
    const char* bytes;
    std::size_t length;
};

/// Reads a pcap or pcapng capture with libpcap and hands every SIP message in it to a sink,
/// in the order the capture completes them: each UDP payload that starts like SIP, and the
/// messages of each TCP direction (see ScanTcpStream), over IPv4 and IPv6, fragmented
/// datagrams reassembled (see ScanFragments). The capture is treated as hostile: every
/// header is checked against the captured bytes and everything kept is bounded. At most
/// MAX_STREAMS TCP directions are followed at once; a new one evicts the one that was idle
/// longest. A direction closed by FIN or RST stays in the table (holding no bytes) so that
/// retransmissions after the close are not taken for a new stream; a SYN between the same
/// addresses starts a new one.
class ScanCapture {
public:
    static constexpr std::size_t MAX_STREAMS = 2048;

    /// What the reading counted.
    struct Counts {
        std::uint64_t frames = 0;             ///< frames read
        std::uint64_t bytes = 0;              ///< captured bytes of those frames
        std::uint64_t skippedPackets = 0;     ///< frames that carried no SIP bytes
        std::uint64_t filteredPackets = 0;    ///< frames left out by --filter or --port
        std::uint64_t truncatedPackets = 0;   ///< UDP datagrams and TCP segments not captured whole
        std::uint64_t droppedStreams = 0;     ///< TCP directions found not to carry SIP
        std::uint64_t evictedStreams = 0;     ///< TCP directions given up for room
        std::uint64_t tcpGaps = 0;            ///< bytes missing from TCP directions, given up
        std::uint64_t abandonedDatagrams = 0; ///< fragmented datagrams never completed in time
    };

    using Sink = std::function<void(const ScanMessage&)>;

    ScanCapture() = default;
    ~ScanCapture();
    ScanCapture(const ScanCapture&) = delete;
    ScanCapture& operator=(const ScanCapture&) = delete;

    /// Opens FILE ("-": standard input). Throws std::runtime_error with libpcap's message
    /// when it is not a capture that can be read, or of a link type that is not supported.
    void open(const std::string& file);
    /// The same for an open stream, which the capture then owns and closes.
    void open(std::FILE* stream);
    /// Applies a libpcap filter expression to every frame before anything else. Throws
    /// std::invalid_argument with libpcap's message when the expression is wrong.
    void setFilter(const std::string& expression);
    /// Only datagrams and segments from or to one of `ports` are looked at (all when empty).
    void setPorts(const std::vector<std::uint16_t>& ports);

    /// Reads every frame, calling `sink` for each message. True when the capture was read
    /// to its end; false when it is truncated or damaged (error() tells), after handing on
    /// everything read before that point.
    bool run(const Sink& sink);

    /// libpcap's description of the damage that stopped run().
    const std::string& error() const { return m_Error; }
    const Counts& counts() const;

private:
    struct FlowKey {
        std::uint8_t bytes[38];
        bool operator==(const FlowKey& other) const;
    };
    struct FlowHash {
        std::size_t operator()(const FlowKey& key) const;
    };
    struct Flow {
        ScanTcpStream stream;
        std::list<FlowKey>::iterator age;
        std::uint64_t segments = 0;  // segments with payload taken so far
    };

    void adopt(pcap_t* handle, const char* errorText);
    void frame(const pcap_pkthdr& header, const std::uint8_t* data);
    void transport(const ScanTransport& t);
    void tcp(const ScanTransport& t);
    void emit(const char* bytes, std::size_t length);
    static FlowKey flowKey(const ScanEndpoint& from, const ScanEndpoint& to);
    void forget(const FlowKey& key);

    pcap_t* m_Pcap = nullptr;
    int m_LinkType = 0;
    bpf_program m_Filter{};
    bool m_HasFilter = false;
    std::vector<bool> m_Ports;  // empty: every port
    std::string m_Error;
    mutable Counts m_Counts;

    ScanFragments m_Fragments;
    std::string m_Whole;  // the last reassembled datagram
    std::unordered_map<FlowKey, Flow, FlowHash> m_Flows;
    std::list<FlowKey> m_FlowAge;  // least recently active first

    // The frame being read, for the messages it completes.
    const Sink* m_Sink = nullptr;
    const ScanTransport* m_Current = nullptr;
    std::uint64_t m_FrameNumber = 0;
    std::int64_t m_Seconds = 0;
    std::uint32_t m_Micros = 0;
    ScanTcpStream::Sink m_StreamSink;
};

#endif
