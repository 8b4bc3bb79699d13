// One TCP connection of `ktsip serve`.
#ifndef KTSIP_TOOL_SERVE_CONNECTION_H
#define KTSIP_TOOL_SERVE_CONNECTION_H

#include <asio.hpp>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ServeCommon.h"

namespace serve {

class Uas;

/// A TCP connection: reads and frames messages, hands each to the Uas, writes responses
/// and keeps the connection's deadlines (see Server for the limits). Everything it does runs
/// on its own strand; write() and close() may be called from any thread.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    /// Called once, on the connection's strand, when it closes.
    using Closed = std::function<void(const Connection&)>;

    Connection(asio::ip::tcp::socket socket, std::uint64_t id, const Config& config, Counters& counters, Uas& uas,
               Closed closed);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Starts reading, with the first message due within the message timeout.
    void start();
    /// Queues `bytes` to be sent (dropped once the connection is closing).
    void write(std::string bytes);
    /// Closes the connection (after the answers already queued have been tried).
    void close();

    std::uint64_t id() const { return m_Id; }
    /// The peer's address without its port, for the per-address limit.
    const std::string& address() const { return m_Address; }
    /// True when the connection holds no partial message and no unsent bytes.
    bool idle() const { return !m_Busy.load(); }
    /// When a message last arrived whole (or the connection was accepted).
    Clock::time_point lastActive() const { return Clock::time_point(Clock::duration(m_LastActive.load())); }

private:
    void read();
    // Frames and handles what the input holds; false when the connection is to be closed.
    bool consume();
    void send(std::string bytes);
    void flush();
    void armDeadline(Clock::time_point deadline);
    void shutdown();
    void updateBusy();

    asio::ip::tcp::socket m_Socket;
    asio::strand<asio::io_context::executor_type> m_Strand;
    asio::steady_timer m_Timer;
    const std::uint64_t m_Id;
    const Config& m_Config;
    Counters& m_Counters;
    Uas& m_Uas;
    Closed m_Closed;
    Peer m_Peer;
    std::string m_Address;

    // On the strand only.
    std::vector<char> m_Chunk;
    std::string m_Input;
    std::string m_Writing;  // bytes handed to async_write
    std::string m_Pending;  // bytes queued behind them
    Clock::time_point m_Deadline = Clock::time_point::max();
    Clock::time_point m_MessageStart;  // when the message now being read began
    bool m_InMessage = false;          // a message is due (partial, or the first one)
    bool m_TimerArmed = false;
    bool m_Closing = false;  // reading stopped: close once the output has gone
    bool m_Gone = false;     // the socket is closed

    std::atomic<bool> m_Busy{false};
    std::atomic<Clock::rep> m_LastActive;
};

}  // namespace serve

#endif
