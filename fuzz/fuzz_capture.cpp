// Fuzz target: a packet capture (pcap or pcapng bytes) through ScanCapture, the reader of
// `ktsip scan`, every message it finds parsed by KtSipMessage::sConstructFrom as the tool
// does.
//
// Whatever the bytes, reading ends (the capture read to its end, or damaged) without a
// fault. Invariants checked on top of the sanitizers:
//  - every message handed on is non-empty, and a TCP one no longer than a stream keeps;
//  - a UDP message starts like SIP;
//  - messages come in frame order, from frames that were read;
//  - no more frames are skipped or filtered out than were read.
#include <cstdio>

#include "FuzzSupport.h"
#include "KtSipMessage.h"
#include "ScanCapture.h"
#include "ScanSipStart.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::FILE* stream = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (stream == nullptr) return 0;
    ScanCapture capture;
    try {
        capture.open(stream);
    } catch (const std::runtime_error&) {
        return 0;  // not a capture, or of a link type that is not read
    }
    std::uint64_t lastFrame = 0;
    capture.run([&](const ScanMessage& m) {
        if (m.length == 0) fuzz::mismatch("a message has bytes", "> 0", "0");
        if (m.tcp && m.length > ScanTcpStream::MAX_UNREAD)
            fuzz::mismatch("a TCP message fits what a stream keeps", std::to_string(ScanTcpStream::MAX_UNREAD),
                           std::to_string(m.length));
        if (!m.tcp && ScanSipStart::sCheck(m.bytes, m.length) != ScanSipStart::Yes)
            fuzz::mismatch("a UDP message starts like SIP", "a start line", std::string(m.bytes, m.length));
        if (m.frame < lastFrame || m.frame > capture.counts().frames)
            fuzz::mismatch("messages come in frame order", std::to_string(lastFrame), std::to_string(m.frame));
        lastFrame = m.frame;
        KtByteArrayInputStream in(m.bytes, static_cast<unsigned>(m.length));
        try {
            KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
            (void)message->isValid();
        } catch (const KtException&) {
        }
    });
    const ScanCapture::Counts& counts = capture.counts();
    if (counts.skippedPackets + counts.filteredPackets > counts.frames)
        fuzz::mismatch("skipped and filtered frames were read", std::to_string(counts.frames),
                       std::to_string(counts.skippedPackets + counts.filteredPackets));
    return 0;
}
