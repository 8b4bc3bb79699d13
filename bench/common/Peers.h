// The libraries under comparison behind one interface: ktsip and the peers compiled in.
#ifndef KTSIP_BENCH_PEERS_H
#define KTSIP_BENCH_PEERS_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace ktbench {

/// One SIP library. An instance is used by one thread at a time; threads make their own.
class Peer {
public:
    virtual ~Peer();
    /// Short name ("ktsip", "osip2", "sofia-sip", "belle-sip").
    virtual const char* name() const = 0;
    /// Version of the library (from pkg-config at build time, or the project version).
    virtual const char* version() const = 0;
    /// Builds the library's message object from `length` bytes at `data` and frees it.
    /// Returns false when the library refuses the message (an error code, an exception,
    /// a message marked invalid).
    virtual bool parse(const char* data, std::size_t length) = 0;
    /// Parses, writes the message object back to text (regenerated from the object model),
    /// frees both. Returns the length of the text, 0 when the message was refused.
    virtual std::size_t parseSerialize(const char* data, std::size_t length) = 0;
    /// As parseSerialize, returning the text (for checks, not timed).
    virtual std::string serialized(const char* data, std::size_t length) = 0;
    /// Why the last call refused its message (empty when it did not).
    const std::string& lastError() const { return m_LastError; }

protected:
    /// Records why the message was refused; returns false.
    bool refuse(const std::string& why) {
        m_LastError = why;
        return false;
    }
    std::string m_LastError;
};

/// A peer whose parse + serialize is one routine, run with or without keeping the text.
class TextPeer : public Peer {
public:
    std::size_t parseSerialize(const char* data, std::size_t length) override {
        std::size_t n = 0;
        run(data, length, nullptr, &n);
        return n;
    }
    std::string serialized(const char* data, std::size_t length) override {
        std::string text;
        std::size_t n = 0;
        run(data, length, &text, &n);
        return text;
    }

protected:
    /// Parses, writes and frees; sets `*n` to the length written (0 when refused) and, when
    /// `text` is not null, stores the text there.
    virtual void run(const char* data, std::size_t length, std::string* text, std::size_t* n) = 0;
};

/// Names of the libraries built into this binary, ktsip first.
std::vector<std::string> peerNames();
/// A new instance of the library `name` (one of peerNames()).
std::unique_ptr<Peer> makePeer(const std::string& name);

// Factories of the individual libraries (null when the library is not compiled in).
std::unique_ptr<Peer> makeKtSipPeer();
std::unique_ptr<Peer> makeOsip2Peer();
std::unique_ptr<Peer> makeSofiaPeer();
std::unique_ptr<Peer> makeBelleSipPeer();

}  // namespace ktbench

#endif
