// The sockets and threads of `ktsip serve`.
#ifndef KTSIP_TOOL_SERVE_SERVER_H
#define KTSIP_TOOL_SERVE_SERVER_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ServeCommon.h"

namespace serve {

class Uas;

/// The transports: one UDP socket read by `threads` workers, and one thread that accepts
/// TCP connections and reads them all through poll(). Every thread hands each message to
/// the Uas on its own stack; responses go out through send(), from whichever thread made
/// them (a worker, the TCP thread, or the Uas timer).
///
/// Bounds: a TCP connection buffers at most MAX_INPUT unconsumed bytes (a peer that sends
/// a message larger than that is disconnected) and MAX_OUTPUT unsent bytes (a peer that
/// does not read is disconnected); at most MAX_CONNECTIONS connections are open (more are
/// accepted and closed at once); a connection silent for IDLE_TIMEOUT is closed.
class Server : public Sender {
public:
    static const std::size_t MAX_INPUT = 64 * 1024;
    static const std::size_t MAX_OUTPUT = 1024 * 1024;
    static const std::size_t MAX_CONNECTIONS = 512;
    static constexpr std::chrono::seconds IDLE_TIMEOUT{600};

    Server(const Config& config, Counters& counters);
    ~Server() override;
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Creates and binds the sockets. With port 0 the system picks a port that is free for
    /// both UDP and TCP. Throws std::runtime_error naming the socket that failed.
    void open();
    /// The port the sockets are bound to (after open()).
    unsigned port() const { return m_Port; }
    /// Starts the worker threads, which hand every message to `uas`.
    void start(Uas& uas);
    /// Stops the threads, waits for them and closes every socket. Idempotent.
    void stop();

    void send(const Peer& peer, const std::string& bytes) override;

private:
    struct Connection;

    void udpLoop(Uas& uas);
    void tcpLoop(Uas& uas);
    void acceptAll();
    // Reads what the connection has; false when it is to be closed.
    bool readFrom(const std::shared_ptr<Connection>& connection, Uas& uas);
    // Sends queued bytes; false when the connection is to be closed.
    bool flush(Connection& connection);
    void queue(Connection& connection, const std::string& bytes);
    void close(const std::shared_ptr<Connection>& connection);
    void notify();
    void closeSockets();

    const Config& m_Config;
    Counters& m_Counters;
    int m_Family = 0;
    std::string m_LocalHost;  // "" for a wildcard address
    unsigned m_Port = 0;
    int m_Udp = -1;
    int m_Listen = -1;
    int m_StopPipe[2] = {-1, -1};    // written once to stop every thread
    int m_NotifyPipe[2] = {-1, -1};  // wakes the TCP thread when bytes were queued
    std::vector<std::thread> m_Threads;
    bool m_Stopped = false;

    std::mutex m_ConnectionsMutex;  // guards the map; each connection has its own mutex
    std::map<std::uint64_t, std::shared_ptr<Connection>> m_Connections;
    std::uint64_t m_NextConnection = 1;
};

}  // namespace serve

#endif
