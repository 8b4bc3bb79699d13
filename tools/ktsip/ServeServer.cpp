// The sockets and threads of `ktsip serve`.
#include "ServeServer.h"

#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "ServeConnection.h"
#include "ServeUas.h"

namespace serve {

constexpr std::chrono::milliseconds Server::ACCEPT_BACKOFF;
constexpr std::chrono::seconds Server::EVICTABLE_AFTER;

namespace {

// Descriptors kept back from the connection limit: sockets, the event loop's own, standard
// streams, log files.
const unsigned kReservedDescriptors = 32;

// One received datagram and where it came from.
struct Datagram {
    std::vector<char> bytes = std::vector<char>(65536);
    asio::ip::udp::endpoint from;
};

// Raises the soft descriptor limit towards the hard one, as far as `wanted` needs; returns
// the limit in force.
rlim_t descriptorLimit(rlim_t wanted) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur < wanted) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max == RLIM_INFINITY || limit.rlim_max > wanted ? wanted : limit.rlim_max;
        if (setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    return limit.rlim_cur;
}

}  // namespace

Server::Server(const Config& config, Counters& counters)
    : m_Config(config), m_Counters(counters), m_Udp(m_Io), m_Acceptor(m_Io), m_AcceptPause(m_Io) {}

Server::~Server() {
    stop();
    std::error_code ec;
    m_Acceptor.close(ec);
    m_Udp.close(ec);
    std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
    m_Connections.clear();
}

void Server::open() {
    std::string host = m_Config.bind;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    std::error_code ec;
    const asio::ip::address address = asio::ip::make_address(host, ec);
    if (ec) throw std::runtime_error("not a numeric address: " + m_Config.bind);
    m_LocalHost = address.is_unspecified() ? "" : host;
    const std::string where = m_Config.bind + ":" + std::to_string(m_Config.port);
    auto failure = [](const std::string& what, const std::error_code& e) {
        return std::runtime_error(what + ": " + e.message());
    };

    // Port 0: bind UDP (or TCP) to a port of the system's choice, then the other transport
    // to the same number; should that one be taken, try again with a new port.
    for (int attempt = 0;; ++attempt) {
        m_Udp.close(ec);
        m_Acceptor.close(ec);
        unsigned port = m_Config.port;
        if (m_Config.udp) {
            const asio::ip::udp::endpoint endpoint(address, static_cast<unsigned short>(port));
            m_Udp.open(endpoint.protocol(), ec);
            if (ec) throw failure("socket", ec);
            if (address.is_v6()) m_Udp.set_option(asio::ip::v6_only(true), ec);
            m_Udp.set_option(asio::socket_base::receive_buffer_size(4 * 1024 * 1024), ec);  // bursts (best effort)
            m_Udp.bind(endpoint, ec);
            if (ec) throw failure("cannot bind udp " + where, ec);
            port = m_Udp.local_endpoint().port();
        }
        if (m_Config.tcp) {
            const asio::ip::tcp::endpoint endpoint(address, static_cast<unsigned short>(port));
            m_Acceptor.open(endpoint.protocol(), ec);
            if (ec) throw failure("socket", ec);
            if (address.is_v6()) m_Acceptor.set_option(asio::ip::v6_only(true), ec);
            m_Acceptor.set_option(asio::socket_base::reuse_address(true), ec);
            m_Acceptor.bind(endpoint, ec);
            if (ec) {
                if (ec == asio::error::address_in_use && m_Config.port == 0 && m_Config.udp && attempt < 20) continue;
                throw failure("cannot bind tcp " + where, ec);
            }
            m_Acceptor.listen(asio::socket_base::max_listen_connections, ec);
            if (ec) throw failure("cannot listen on tcp " + where, ec);
            port = m_Acceptor.local_endpoint().port();
        }
        m_Port = port;
        if (m_Config.udp) m_UdpDescriptor = m_Udp.native_handle();
        break;
    }
    m_MaxConnections = m_Config.maxConnections;
    if (m_Config.tcp) {
        const rlim_t limit = descriptorLimit(static_cast<rlim_t>(m_Config.maxConnections) + kReservedDescriptors);
        if (limit < static_cast<rlim_t>(m_MaxConnections) + kReservedDescriptors) {
            m_MaxConnections =
                limit > kReservedDescriptors + 1 ? static_cast<unsigned>(limit - kReservedDescriptors) : 1;
            log("at most " + std::to_string(m_MaxConnections) + " tcp connections: the descriptor limit is " +
                std::to_string(limit));
        }
    }
}

void Server::start(Uas& uas) {
    m_Uas = &uas;
    if (m_Udp.is_open()) receiveDatagram();
    if (m_Acceptor.is_open()) acceptNext();
    for (unsigned i = 0; i < m_Config.threads; ++i) m_Threads.emplace_back([this] { m_Io.run(); });
}

void Server::stop() {
    if (m_Stopped) return;
    m_Stopped = true;
    m_Io.stop();
    for (auto& t : m_Threads) t.join();
    m_Threads.clear();
}

// ---- UDP ---------------------------------------------------------------------------------

void Server::receiveDatagram() {
    auto datagram = std::make_shared<Datagram>();
    m_Udp.async_receive_from(asio::buffer(datagram->bytes), datagram->from,
                             [this, datagram](std::error_code ec, std::size_t n) {
                                 if (ec == asio::error::operation_aborted) return;
                                 // The next read starts first, so that another thread can take
                                 // the next datagram while this one is handled.
                                 receiveDatagram();
                                 if (ec) return;  // an ICMP error for an earlier response
                                 Peer peer;
                                 peer.kind = Peer::Udp;
                                 peer.addressLength = static_cast<socklen_t>(datagram->from.size());
                                 std::memcpy(&peer.address, datagram->from.data(), peer.addressLength);
                                 peer.localHost = m_LocalHost;
                                 peer.localPort = m_Port;
                                 m_Uas->receive(datagram->bytes.data(), n, peer);
                             });
}

// ---- TCP ---------------------------------------------------------------------------------

void Server::acceptNext() {
    m_Acceptor.async_accept([this](std::error_code ec, asio::ip::tcp::socket socket) {
        if (ec == asio::error::operation_aborted) return;
        if (!ec) {
            accepted(std::move(socket));
        } else if (ec == asio::error::no_descriptors || ec.value() == ENFILE || ec == asio::error::no_buffer_space ||
                   ec == asio::error::no_memory) {
            // Out of descriptors or memory: the pending connection stays in the backlog.
            // Accepting again at once would find the same, so wait.
            m_Counters.dropped("accept-failed");
            {
                std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
                if (std::shared_ptr<Connection> idle = evictLocked("")) idle->close();
            }
            m_AcceptPause.expires_after(ACCEPT_BACKOFF);
            m_AcceptPause.async_wait([this](std::error_code e) {
                if (!e) acceptNext();
            });
            return;
        }
        acceptNext();  // a connection reset before it was accepted, and the like
    });
}

void Server::accepted(asio::ip::tcp::socket socket) {
    m_Counters.connection();
    std::error_code ec;
    const asio::ip::tcp::endpoint remote = socket.remote_endpoint(ec);
    if (ec) return;  // already gone
    const std::string address = remote.address().to_string();
    std::vector<std::shared_ptr<Connection>> evicted;
    std::shared_ptr<Connection> connection;
    {
        std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
        bool room = true;
        if (m_Connections.size() >= m_MaxConnections) {
            evicted.push_back(evictLocked(""));
            room = evicted.back() != nullptr;
        }
        if (room && m_PerAddress[address] >= m_Config.maxConnectionsPerAddress) {
            evicted.push_back(evictLocked(address));
            room = evicted.back() != nullptr;
        }
        if (room) {
            const std::uint64_t id = m_NextConnection++;
            connection = std::make_shared<Connection>(std::move(socket), id, m_Config, m_Counters, *m_Uas,
                                                      [this](const Connection& c) { forget(c); });
            m_Connections[id] = connection;
            ++m_PerAddress[address];
        } else if (m_PerAddress[address] == 0) {
            m_PerAddress.erase(address);
        }
    }
    for (auto& e : evicted)
        if (e) e->close();
    if (connection) {
        connection->start();
        return;
    }
    // Every connection is in the middle of a message: refuse the new one with a reset.
    socket.set_option(asio::socket_base::linger(true, 0), ec);
    socket.close(ec);
    m_Counters.dropped("connection-limit");
}

std::shared_ptr<Connection> Server::evictLocked(const std::string& address) {
    auto oldest = m_Connections.end();
    const Clock::time_point recent = Clock::now() - EVICTABLE_AFTER;
    for (auto it = m_Connections.begin(); it != m_Connections.end(); ++it) {
        const Connection& c = *it->second;
        if (!c.idle() || c.lastActive() > recent || (!address.empty() && c.address() != address)) continue;
        if (oldest == m_Connections.end() || c.lastActive() < oldest->second->lastActive()) oldest = it;
    }
    if (oldest == m_Connections.end()) return nullptr;
    std::shared_ptr<Connection> victim = oldest->second;
    m_Connections.erase(oldest);
    auto count = m_PerAddress.find(victim->address());
    if (count != m_PerAddress.end() && --count->second == 0) m_PerAddress.erase(count);
    return victim;
}

void Server::forget(const Connection& connection) {
    std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
    // An evicted connection has left the tables already.
    if (m_Connections.erase(connection.id()) == 0) return;
    auto count = m_PerAddress.find(connection.address());
    if (count != m_PerAddress.end() && --count->second == 0) m_PerAddress.erase(count);
}

void Server::send(const Peer& peer, const std::string& bytes) {
    if (peer.kind == Peer::Udp) {
        // The descriptor is used directly: sending needs no state of the event loop.
        if (sendto(m_UdpDescriptor, bytes.data(), bytes.size(), MSG_DONTWAIT,
                   reinterpret_cast<const sockaddr*>(&peer.address), peer.addressLength) < 0)
            m_Counters.dropped("send-failed");
        return;
    }
    std::shared_ptr<Connection> c;
    {
        std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
        auto it = m_Connections.find(peer.connection);
        if (it != m_Connections.end()) c = it->second;
    }
    if (!c) {
        m_Counters.dropped("peer-gone");
        return;
    }
    c->write(bytes);
}

}  // namespace serve
