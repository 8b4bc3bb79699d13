// Pieces shared by the parts of `ktsip serve`: its settings, the address a response goes
// back to, the interface through which responses leave, and the counters it prints on exit.
#ifndef KTSIP_TOOL_SERVE_COMMON_H
#define KTSIP_TOOL_SERVE_COMMON_H

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <ostream>
#include <string>

#include "CliSupport.h"

namespace serve {

using Clock = std::chrono::steady_clock;

/// The settings of one server run (from the command line).
struct Config {
    std::string bind = "127.0.0.1";            ///< numeric IPv4 or IPv6 address
    unsigned port = 5060;                      ///< 0 picks a free port (the same for UDP and TCP)
    bool udp = true;                           ///< serve UDP
    bool tcp = true;                           ///< serve TCP
    std::string realm = "ktsip";               ///< Digest realm of REGISTER challenges
    std::map<std::string, std::string> users;  ///< user name to secret; empty: REGISTER is not challenged
    unsigned threads = 1;                      ///< threads serving the sockets
    unsigned ringMs = 100;                     ///< time between an INVITE's 180 and its 200
    bool quiet = false;                        ///< drop the library's error lines instead of printing them
    bool json = false;                         ///< print the counts as JSON on exit

    // Limits of the TCP side and of Digest nonces (see the ktsip serve documentation).
    unsigned maxConnections = 4096;            ///< open TCP connections at most
    unsigned maxConnectionsPerAddress = 2048;  ///< open TCP connections from one peer address at most
    unsigned idleTimeout = 120;                ///< seconds a connection may stay silent between messages
    unsigned messageTimeout = 5;               ///< seconds for a message to arrive whole once begun
    unsigned nonceLifetime = 300;              ///< seconds a Digest nonce stays valid
};

/// Where a message came from, and therefore where its responses go: the UDP peer address,
/// or the TCP connection it arrived on. Also the local address the message was received
/// at, which responses name in their Contact.
struct Peer {
    enum Kind { Udp, Tcp };
    Kind kind = Udp;
    sockaddr_storage address{};  ///< peer address (UDP)
    socklen_t addressLength = 0;
    std::uint64_t connection = 0;  ///< connection number (TCP)
    std::string localHost;         ///< local address as text ("" when bound to a wildcard address)
    unsigned localPort = 0;        ///< local port

    /// "udp 127.0.0.1:5062" or "tcp#3", for log lines.
    std::string describe() const;
};

/// The way responses leave the server. Implementations are safe to call from any thread.
class Sender {
public:
    virtual ~Sender() = default;
    /// Sends `bytes` to `peer`. A peer that has gone (closed TCP connection) is not an error:
    /// the bytes are dropped and counted.
    virtual void send(const Peer& peer, const std::string& bytes) = 0;
};

/// What the server did, counted; safe to update from any thread.
class Counters {
public:
    /// A request of `method` arrived. The method is kept as received, cut to 32 bytes, with
    /// bytes outside printable ASCII (and the backslash) written as \xNN; past 64 distinct
    /// names the rest are counted together as "(other)".
    void request(const std::string& method);
    /// A response with `code` was sent.
    void response(int code);
    /// A response with `code` arrived (the server sends no requests, so these are stray).
    void receivedResponse(int code);
    /// Input was dropped without an answer, for `reason` ("unparsable", "too-large", ...).
    void dropped(const std::string& reason);
    /// A keep-alive (CR LF CR LF, or input the library reads as one) arrived.
    void keepAlive();
    /// A TCP connection was accepted.
    void connection();
    /// The library wrote a line to its error stream.
    void libraryLogLine();

    /// Every count: {"requests": {METHOD: N}, "responses": {CODE: N}, "received_responses":
    /// {CODE: N}, "dropped": N, "dropped_by_reason": {REASON: N}, "keep_alives": N,
    /// "connections": N, "library_log_lines": N}.
    cli::json toJson() const;
    /// The same as lines of "name key value" (see the ktsip serve documentation).
    void print(std::ostream& out) const;
    /// Number of responses sent with `code`.
    std::uint64_t responses(int code) const;

private:
    mutable std::mutex m_Mutex;
    std::map<std::string, std::uint64_t> m_Requests;
    std::map<int, std::uint64_t> m_Responses;
    std::map<int, std::uint64_t> m_ReceivedResponses;
    std::map<std::string, std::uint64_t> m_Dropped;
    std::uint64_t m_KeepAlives = 0;
    std::uint64_t m_Connections = 0;
    std::uint64_t m_LibraryLogLines = 0;
};

/// Writes "ktsip serve: LINE" to standard error, one line at a time across threads, unless
/// logging was turned off.
void log(const std::string& line);
/// Turns log() on or off (on by default).
void setLogging(bool enabled);

/// While an object of this class lives, the library's error lines written by the current
/// thread are neither printed nor counted (for a second reading of input already reported).
class MuteLibraryLines {
public:
    MuteLibraryLines();
    ~MuteLibraryLines();
    MuteLibraryLines(const MuteLibraryLines&) = delete;
    MuteLibraryLines& operator=(const MuteLibraryLines&) = delete;
    /// True when the current thread's library lines are muted.
    static bool active();
};

}  // namespace serve

#endif
