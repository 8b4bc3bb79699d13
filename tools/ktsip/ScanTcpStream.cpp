// One direction of a TCP connection seen in a capture, cut into SIP messages.
#include "ScanTcpStream.h"

#include <cstring>
#include <string_view>

#include "ScanSipStart.h"
#include "ServeFraming.h"

namespace {

// Signed distance from sequence number `from` to `to`, modulo 2^32.
std::int64_t distance(std::uint32_t from, std::uint32_t to) { return static_cast<std::int32_t>(to - from); }

}  // namespace

void ScanTcpStream::release() {
    m_Unread.clear();
    m_Unread.shrink_to_fit();
    m_Held.clear();
    m_HeldBytes = 0;
}

void ScanTcpStream::close() {
    m_Closed = true;
    release();
}

void ScanTcpStream::skip(std::size_t length) {
    m_Skipped += length;
    if (m_Messages == 0 && m_Skipped >= MAX_UNREAD) {
        m_Dropped = true;
        release();
    }
}

void ScanTcpStream::segment(std::uint32_t sequence, bool syn, const char* bytes, std::size_t length,
                            const Sink& sink) {
    if (m_Dropped || m_Closed) return;
    if (syn) ++sequence;  // the SYN takes one sequence number before the first byte
    if (!m_Started) {
        m_Started = true;
        m_Next = sequence;
    }
    if (length == 0) return;
    std::int64_t ahead = distance(m_Next, sequence);
    if (ahead < 0) {  // bytes seen before: keep only what is new
        if (static_cast<std::uint64_t>(-ahead) >= length) return;
        bytes += -ahead;
        length -= static_cast<std::size_t>(-ahead);
        sequence = m_Next;
        ahead = 0;
    }
    if (ahead > 0) {
        std::string& held = m_Held[sequence];
        if (held.size() < length) {
            m_HeldBytes += length - held.size();
            held.assign(bytes, length);
        }
        if (m_HeldBytes <= MAX_HELD && m_Held.size() <= MAX_HELD_SEGMENTS) return;
        // The gap is not going to fill: what waits before it is lost; resume at the first
        // held segment, at the next start line.
        ++m_Gaps;
        skip(m_Unread.size());
        m_Unread.clear();
        if (m_Dropped) return;
        std::uint32_t first = m_Held.begin()->first;
        for (const auto& entry : m_Held)
            if (distance(m_Next, entry.first) < distance(m_Next, first)) first = entry.first;
        m_Next = first;
        m_Resync = true;
        drainHeld(sink);
        return;
    }
    append(bytes, length, sink);
    drainHeld(sink);
}

void ScanTcpStream::drainHeld(const Sink& sink) {
    for (bool progress = true; progress && !m_Held.empty() && !m_Dropped;) {
        progress = false;
        for (auto it = m_Held.begin(); it != m_Held.end(); ++it) {
            const std::int64_t ahead = distance(m_Next, it->first);
            if (ahead > 0) continue;
            std::string bytes = std::move(it->second);
            m_HeldBytes -= bytes.size();
            m_Held.erase(it);
            if (static_cast<std::uint64_t>(-ahead) < bytes.size())
                append(bytes.data() - ahead, bytes.size() - static_cast<std::size_t>(-ahead), sink);
            progress = true;
            break;
        }
    }
}

void ScanTcpStream::append(const char* bytes, std::size_t length, const Sink& sink) {
    m_Next += static_cast<std::uint32_t>(length);
    if (m_Unread.empty()) {
        // The usual case: whole messages in the segment are read where they stand.
        const std::size_t used = consume(bytes, length, sink);
        if (!m_Dropped) m_Unread.assign(bytes + used, length - used);
        return;
    }
    m_Unread.append(bytes, length);
    const std::size_t used = consume(m_Unread.data(), m_Unread.size(), sink);
    if (!m_Dropped) m_Unread.erase(0, used);
}

std::size_t ScanTcpStream::consume(const char* p, std::size_t n, const Sink& sink) {
    std::size_t at = 0;
    while (at < n && !m_Dropped) {
        const char* front = p + at;
        const std::size_t rest = n - at;
        if (front[0] != '\r' && front[0] != '\n') {
            const ScanSipStart::Answer start = ScanSipStart::sCheck(front, rest);
            if (start == ScanSipStart::NeedMore && !m_Resync) break;
            if (start != ScanSipStart::Yes) m_Resync = true;
        }
        if (m_Resync) {
            std::size_t next = front[0] != '\r' && front[0] != '\n' &&
                                       ScanSipStart::sCheck(front, rest) == ScanSipStart::Yes
                                   ? 0
                                   : ScanSipStart::sFindNext(front, rest);
            if (next == rest) {
                // No start line yet: keep only the last, unfinished line, which may become one.
                const char* lastLine = static_cast<const char*>(memrchr(front, '\n', rest));
                next = lastLine == nullptr ? 0 : static_cast<std::size_t>(lastLine - front) + 1;
                if (rest - next >= ScanSipStart::MAX_LINE) next = rest;
                skip(next);
                at += next;
                break;
            }
            skip(next);
            at += next;
            m_Resync = false;
            continue;
        }
        const serve::Frame frame = serve::nextFrame(std::string_view(front, rest), MAX_UNREAD);
        switch (frame.kind) {
            case serve::Frame::NeedMore:
                return at;
            case serve::Frame::Message:
            case serve::Frame::NoLength:  // a message without Content-Length ends at its blank line
            case serve::Frame::Ping:
                ++m_Messages;
                sink(front, frame.length);
                at += frame.length;
                break;
            case serve::Frame::Skip:
                at += frame.length;
                break;
            case serve::Frame::BadLength:
                // The header section is shown; where its body ends is unknown.
                ++m_Messages;
                sink(front, frame.length);
                at += frame.length;
                m_Resync = true;
                break;
            case serve::Frame::TooLarge:
                m_Resync = true;
                skip(1);
                at += 1;
                break;
        }
    }
    return at;
}
