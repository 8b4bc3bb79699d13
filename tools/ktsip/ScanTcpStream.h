// One direction of a TCP connection seen in a capture, cut into SIP messages.
#ifndef KTSIP_TOOL_SCAN_TCP_STREAM_H
#define KTSIP_TOOL_SCAN_TCP_STREAM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

/// Puts the segments of one TCP direction back in sequence order (bytes seen before are
/// taken once) and cuts the byte stream into messages with the framing of `ktsip serve`:
/// each ends Content-Length bytes after its header section, or (where the server refuses
/// it) at its empty line when it has no Content-Length. A CR LF CR LF keep-alive comes out as a message of its own; stray
/// line ends between messages are skipped.
///
/// Bytes that do not start like SIP (a capture that began in the middle of a connection,
/// the body after an unreadable Content-Length, a message too large to keep) are skipped up
/// to the next line that starts like a SIP start line. When a gap in the sequence is never
/// filled (a segment the capture missed), the partial message before it is given up and
/// reading resumes after it in the same way.
///
/// Bounded: at most MAX_UNREAD bytes wait for the rest of their message (a longer message
/// is skipped), and at most MAX_HELD bytes in MAX_HELD_SEGMENTS segments wait for a gap
/// to fill. A direction that skips MAX_UNREAD bytes without ever framing a message is not
/// SIP: it is dropped, and later segments are ignored.
class ScanTcpStream {
public:
    static constexpr std::size_t MAX_UNREAD = 65536;
    static constexpr std::size_t MAX_HELD = 65536;
    static constexpr std::size_t MAX_HELD_SEGMENTS = 64;

    /// Receives each message as it is completed (the bytes live until the call returns).
    using Sink = std::function<void(const char* bytes, std::size_t length)>;

    /// Takes one segment: `sequence` is the segment's sequence number (of the SYN itself
    /// when `syn` is set), `bytes` its payload.
    void segment(std::uint32_t sequence, bool syn, const char* bytes, std::size_t length, const Sink& sink);

    /// The direction ended (FIN or RST): what waits is given up, and segments that come
    /// later (retransmissions) are ignored.
    void close();

    /// True once the direction was found not to carry SIP.
    bool dropped() const { return m_Dropped; }
    /// Messages framed so far.
    std::uint64_t messages() const { return m_Messages; }
    /// Gaps given up (bytes the capture never held).
    std::uint64_t gaps() const { return m_Gaps; }
    /// Bytes skipped because they did not belong to a message.
    std::uint64_t skippedBytes() const { return m_Skipped; }

private:
    void append(const char* bytes, std::size_t length, const Sink& sink);
    std::size_t consume(const char* bytes, std::size_t length, const Sink& sink);
    void drainHeld(const Sink& sink);
    void skip(std::size_t length);
    void release();

    bool m_Started = false;
    bool m_Dropped = false;
    bool m_Resync = false;
    bool m_Closed = false;
    std::uint32_t m_Next = 0;  // sequence number of the next byte expected
    std::string m_Unread;      // bytes of a message not yet complete
    std::map<std::uint32_t, std::string> m_Held;
    std::size_t m_HeldBytes = 0;
    std::uint64_t m_Messages = 0;
    std::uint64_t m_Gaps = 0;
    std::uint64_t m_Skipped = 0;
};

#endif
