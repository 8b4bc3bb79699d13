// The sockets and threads of `ktsip serve`.
#ifndef KTSIP_TOOL_SERVE_SERVER_H
#define KTSIP_TOOL_SERVE_SERVER_H

#include <asio.hpp>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ServeCommon.h"

namespace serve {

class Connection;
class Uas;

/// The transports, on an asio io_context run by `threads` threads: one UDP socket whose
/// datagrams are read one after another and handled in parallel, and a TCP acceptor whose
/// connections each read, write and keep their deadlines on a strand of their own. Each
/// message goes to the Uas on the thread that read it; responses go out through send(),
/// from whichever thread made them (an I/O thread, or the Uas timer).
///
/// Bounds of the TCP side:
/// - a connection buffers at most INPUT_LIMIT unconsumed bytes (a larger message closes it)
///   and OUTPUT_LIMIT unsent bytes (a peer that does not read is disconnected);
/// - a message must arrive whole within `messageTimeout` of its first byte, and the first
///   one within `messageTimeout` of the connect; between messages a connection may stay
///   silent for `idleTimeout`; then it is closed;
/// - at most `maxConnections` connections are open, and at most `maxConnectionsPerAddress`
///   from one peer address. A connection beyond either limit makes room by closing the
///   least recently active idle connection (of that address, for the second limit): one
///   that holds no partial message and no unsent bytes and has been silent for at least
///   EVICTABLE_AFTER (a connection in the middle of a call is not closed for a newcomer).
///   Only when none is idle is the new connection closed at once (counted as
///   "connection-limit");
/// - when the process runs out of descriptors, accepting pauses for ACCEPT_BACKOFF.
class Server : public Sender {
public:
    static const std::size_t INPUT_LIMIT = 64 * 1024;
    static const std::size_t OUTPUT_LIMIT = 1024 * 1024;
    static constexpr std::chrono::milliseconds ACCEPT_BACKOFF{100};
    static constexpr std::chrono::seconds EVICTABLE_AFTER{1};

    Server(const Config& config, Counters& counters);
    ~Server() override;
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Creates and binds the sockets. With port 0 the system picks a port that is free for
    /// both UDP and TCP. Throws std::runtime_error naming the socket that failed.
    void open();
    /// The port the sockets are bound to (after open()).
    unsigned port() const { return m_Port; }
    /// The connection limit in force: `maxConnections`, lowered when the process's
    /// descriptor limit cannot hold that many (after open()).
    unsigned maxConnections() const { return m_MaxConnections; }
    /// Starts the threads, which hand every message to `uas`.
    void start(Uas& uas);
    /// Stops the threads and waits for them; the sockets stay open (a response sent after
    /// this is dropped) until the object is destroyed. Idempotent.
    void stop();

    void send(const Peer& peer, const std::string& bytes) override;

private:
    void receiveDatagram();
    void acceptNext();
    void accepted(asio::ip::tcp::socket socket);
    // Picks the least recently active idle connection (of `address` unless empty), removes
    // it from the table and returns it; null when none is idle. Called with the table locked.
    std::shared_ptr<Connection> evictLocked(const std::string& address);
    void forget(const Connection& connection);

    const Config& m_Config;
    Counters& m_Counters;
    Uas* m_Uas = nullptr;
    std::string m_LocalHost;  // "" for a wildcard address
    unsigned m_Port = 0;
    unsigned m_MaxConnections = 0;

    asio::io_context m_Io;
    asio::ip::udp::socket m_Udp;
    int m_UdpDescriptor = -1;
    asio::ip::tcp::acceptor m_Acceptor;
    asio::steady_timer m_AcceptPause;
    std::vector<std::thread> m_Threads;
    bool m_Stopped = false;

    std::mutex m_ConnectionsMutex;  // guards the tables; each connection's own state is on its strand
    std::map<std::uint64_t, std::shared_ptr<Connection>> m_Connections;
    std::map<std::string, unsigned> m_PerAddress;
    std::uint64_t m_NextConnection = 1;
};

}  // namespace serve

#endif
