// The sockets and threads of `ktsip serve`.
#include "ServeServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "ServeFraming.h"
#include "ServeUas.h"

namespace serve {

constexpr std::chrono::seconds Server::IDLE_TIMEOUT;

// One TCP connection. `input` and `lastInput` belong to the TCP thread; the rest is
// guarded by `mutex`, since responses are queued from other threads too.
struct Server::Connection {
    int fd = -1;
    std::uint64_t id = 0;
    std::string localHost;
    unsigned localPort = 0;
    std::string input;
    Clock::time_point lastInput;

    std::mutex mutex;
    std::string output;   // bytes not yet accepted by the socket
    bool closed = false;  // the descriptor is closed: drop whatever comes
    bool failed = false;  // to be closed by the TCP thread
};

namespace {

std::string errorText(const std::string& what) { return what + ": " + std::strerror(errno); }

void setNonBlocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL, 0) | O_NONBLOCK); }

// The numeric host of a socket address, and its port.
std::string hostOf(const sockaddr_storage& address, unsigned* port) {
    char host[INET6_ADDRSTRLEN] = "";
    if (address.ss_family == AF_INET) {
        const auto* a = reinterpret_cast<const sockaddr_in*>(&address);
        inet_ntop(AF_INET, &a->sin_addr, host, sizeof(host));
        if (port) *port = ntohs(a->sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto* a = reinterpret_cast<const sockaddr_in6*>(&address);
        inet_ntop(AF_INET6, &a->sin6_addr, host, sizeof(host));
        if (port) *port = ntohs(a->sin6_port);
    }
    return host;
}

}  // namespace

Server::Server(const Config& config, Counters& counters) : m_Config(config), m_Counters(counters) {}

Server::~Server() {
    stop();
    closeSockets();
}

void Server::open() {
    sockaddr_storage address{};
    socklen_t length = 0;
    std::string host = m_Config.bind;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&address);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&address);
    if (inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        length = sizeof(sockaddr_in);
        m_LocalHost = v4->sin_addr.s_addr == htonl(INADDR_ANY) ? "" : host;
    } else if (inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        length = sizeof(sockaddr_in6);
        m_LocalHost = IN6_IS_ADDR_UNSPECIFIED(&v6->sin6_addr) ? "" : host;
    } else {
        throw std::runtime_error("not a numeric address: " + m_Config.bind);
    }
    m_Family = address.ss_family;
    auto setPort = [&](unsigned port) {
        if (m_Family == AF_INET)
            v4->sin_port = htons(static_cast<uint16_t>(port));
        else
            v6->sin6_port = htons(static_cast<uint16_t>(port));
    };
    auto makeSocket = [&](int type) {
        int fd = socket(m_Family, type | SOCK_CLOEXEC, 0);
        if (fd < 0) throw std::runtime_error(errorText("socket"));
        int one = 1;
        if (m_Family == AF_INET6) setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &one, sizeof(one));
        return fd;
    };
    const std::string where = m_Config.bind + ":" + std::to_string(m_Config.port);

    // Port 0: bind UDP (or TCP) to a port of the system's choice, then the other transport
    // to the same number; should that one be taken, try again with a new port.
    for (int attempt = 0;; ++attempt) {
        closeSockets();
        unsigned port = m_Config.port;
        setPort(port);
        if (m_Config.udp) {
            m_Udp = makeSocket(SOCK_DGRAM);
            int size = 4 * 1024 * 1024;  // room for bursts of datagrams (best effort)
            setsockopt(m_Udp, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
            if (bind(m_Udp, reinterpret_cast<sockaddr*>(&address), length) != 0)
                throw std::runtime_error(errorText("cannot bind udp " + where));
            sockaddr_storage bound{};
            socklen_t boundLength = sizeof(bound);
            getsockname(m_Udp, reinterpret_cast<sockaddr*>(&bound), &boundLength);
            hostOf(bound, &port);
            setPort(port);
        }
        if (m_Config.tcp) {
            m_Listen = makeSocket(SOCK_STREAM);
            int one = 1;
            setsockopt(m_Listen, SOL_SOCKET, SO_REUSEADDR, &one, sizeof(one));
            if (bind(m_Listen, reinterpret_cast<sockaddr*>(&address), length) != 0) {
                if (errno == EADDRINUSE && m_Config.port == 0 && m_Config.udp && attempt < 20) continue;
                throw std::runtime_error(errorText("cannot bind tcp " + where));
            }
            if (listen(m_Listen, 128) != 0) throw std::runtime_error(errorText("cannot listen on tcp " + where));
            setNonBlocking(m_Listen);
            sockaddr_storage bound{};
            socklen_t boundLength = sizeof(bound);
            getsockname(m_Listen, reinterpret_cast<sockaddr*>(&bound), &boundLength);
            hostOf(bound, &port);
        }
        m_Port = port;
        break;
    }
    if (pipe2(m_StopPipe, O_CLOEXEC | O_NONBLOCK) != 0 || pipe2(m_NotifyPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::runtime_error(errorText("pipe"));
}

void Server::start(Uas& uas) {
    if (m_Udp >= 0)
        for (unsigned i = 0; i < m_Config.threads; ++i) m_Threads.emplace_back(&Server::udpLoop, this, std::ref(uas));
    if (m_Listen >= 0) m_Threads.emplace_back(&Server::tcpLoop, this, std::ref(uas));
}

void Server::stop() {
    if (m_Stopped || m_StopPipe[1] < 0) return;
    m_Stopped = true;
    const char byte = 1;
    while (write(m_StopPipe[1], &byte, 1) < 0 && errno == EINTR) {
    }
    for (auto& t : m_Threads) t.join();
    m_Threads.clear();
    std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
    for (auto& c : m_Connections) {
        std::lock_guard<std::mutex> guard(c.second->mutex);
        if (!c.second->closed) ::close(c.second->fd);
        c.second->closed = true;
    }
    m_Connections.clear();
}

void Server::closeSockets() {
    for (int* fd : {&m_Udp, &m_Listen, &m_StopPipe[0], &m_StopPipe[1], &m_NotifyPipe[0], &m_NotifyPipe[1]}) {
        if (*fd >= 0) ::close(*fd);
        *fd = -1;
    }
}

// ---- UDP ---------------------------------------------------------------------------------

void Server::udpLoop(Uas& uas) {
    std::vector<char> buffer(65536);
    pollfd fds[2] = {{m_Udp, POLLIN, 0}, {m_StopPipe[0], POLLIN, 0}};
    for (;;) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            log(errorText("udp poll"));
            return;
        }
        if (fds[1].revents != 0) return;
        if ((fds[0].revents & POLLIN) == 0) continue;
        Peer peer;
        peer.kind = Peer::Udp;
        peer.addressLength = sizeof(peer.address);
        // Every worker wakes for a datagram; the ones that find none go back to poll.
        const ssize_t n = recvfrom(m_Udp, buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC,
                                   reinterpret_cast<sockaddr*>(&peer.address), &peer.addressLength);
        if (n < 0) continue;
        if (static_cast<std::size_t>(n) > buffer.size()) {
            m_Counters.dropped("too-large");
            continue;
        }
        peer.localHost = m_LocalHost;
        peer.localPort = m_Port;
        uas.receive(buffer.data(), static_cast<std::size_t>(n), peer);
    }
}

// ---- TCP ---------------------------------------------------------------------------------

void Server::tcpLoop(Uas& uas) {
    std::vector<pollfd> fds;
    std::vector<std::shared_ptr<Connection>> polled;
    for (;;) {
        fds.assign({{m_StopPipe[0], POLLIN, 0}, {m_NotifyPipe[0], POLLIN, 0}, {m_Listen, POLLIN, 0}});
        polled.clear();
        {
            std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
            for (auto& c : m_Connections) polled.push_back(c.second);
        }
        const Clock::time_point now = Clock::now();
        for (auto& c : polled) {
            short events = POLLIN;
            bool failed;
            {
                std::lock_guard<std::mutex> guard(c->mutex);
                if (!c->output.empty()) events |= POLLOUT;
                failed = c->failed;
            }
            if (failed || now - c->lastInput > IDLE_TIMEOUT) events = 0;  // closed below, after poll
            fds.push_back({c->fd, events, 0});
        }
        if (poll(fds.data(), fds.size(), 1000) < 0) {
            if (errno == EINTR) continue;
            log(errorText("tcp poll"));
            return;
        }
        if (fds[0].revents != 0) return;
        if (fds[1].revents != 0) {
            char drain[256];
            while (read(m_NotifyPipe[0], drain, sizeof(drain)) > 0) {
            }
        }
        if (fds[2].revents != 0) acceptAll();
        for (std::size_t i = 0; i < polled.size(); ++i) {
            const std::shared_ptr<Connection>& c = polled[i];
            const pollfd& p = fds[i + 3];
            bool keep = p.events != 0;
            if (keep && (p.revents & POLLOUT) != 0) {
                std::lock_guard<std::mutex> guard(c->mutex);
                keep = flush(*c);
            }
            if (keep && (p.revents & (POLLIN | POLLHUP | POLLERR)) != 0) keep = readFrom(c, uas);
            if (!keep) close(c);
        }
    }
}

void Server::acceptAll() {
    for (;;) {
        sockaddr_storage address{};
        socklen_t length = sizeof(address);
        int fd = accept4(m_Listen, reinterpret_cast<sockaddr*>(&address), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) return;
        m_Counters.connection();
        std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
        if (m_Connections.size() >= MAX_CONNECTIONS) {
            ::close(fd);
            m_Counters.dropped("connection-limit");
            continue;
        }
        auto c = std::make_shared<Connection>();
        c->fd = fd;
        c->id = m_NextConnection++;
        c->lastInput = Clock::now();
        sockaddr_storage local{};
        socklen_t localLength = sizeof(local);
        getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength);
        c->localHost = hostOf(local, &c->localPort);
        m_Connections[c->id] = c;
    }
}

bool Server::readFrom(const std::shared_ptr<Connection>& c, Uas& uas) {
    Peer peer;
    peer.kind = Peer::Tcp;
    peer.connection = c->id;
    peer.localHost = c->localHost;
    peer.localPort = c->localPort;
    char chunk[16384];
    // A bounded number of reads per round, so that one busy peer cannot starve the others.
    for (int round = 0; round < 16; ++round) {
        const ssize_t n = recv(c->fd, chunk, sizeof(chunk), MSG_DONTWAIT);
        if (n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            if (!c->input.empty()) m_Counters.dropped("truncated");  // the peer left mid-message
            return false;
        }
        if (n < 0) return true;
        c->lastInput = Clock::now();
        c->input.append(chunk, static_cast<std::size_t>(n));
        std::size_t used = 0;
        bool keep = true;
        while (keep) {
            const std::string_view view = std::string_view(c->input).substr(used);
            const Frame frame = nextFrame(view, MAX_INPUT);
            if (frame.kind == Frame::NeedMore) break;
            switch (frame.kind) {
                case Frame::Ping: {
                    m_Counters.keepAlive();
                    std::lock_guard<std::mutex> guard(c->mutex);
                    queue(*c, "\r\n");
                    break;
                }
                case Frame::Skip:
                    break;
                case Frame::Message:
                    uas.receive(view.data(), frame.length, peer);
                    break;
                case Frame::BadLength:
                    // Answered as the library reads the header section, then the connection
                    // is closed: where the next message starts is unknown.
                    uas.receive(view.data(), frame.length, peer);
                    m_Counters.dropped("bad-content-length");
                    keep = false;
                    break;
                case Frame::TooLarge:
                    m_Counters.dropped("too-large");
                    keep = false;
                    break;
                case Frame::NeedMore:
                    break;
            }
            used += frame.length;
        }
        c->input.erase(0, used);
        if (!keep) {
            // Let the answers already queued go out before the descriptor closes.
            std::lock_guard<std::mutex> guard(c->mutex);
            flush(*c);
            return false;
        }
    }
    return true;
}

void Server::queue(Connection& c, const std::string& bytes) {
    if (c.closed || c.failed) return;
    if (c.output.empty()) {
        const ssize_t n = ::send(c.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n == static_cast<ssize_t>(bytes.size())) return;
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            c.failed = true;
            notify();
            return;
        }
        c.output.append(bytes, n < 0 ? 0 : static_cast<std::size_t>(n), std::string::npos);
    } else {
        c.output.append(bytes);
    }
    if (c.output.size() > MAX_OUTPUT) {
        c.failed = true;  // the peer does not read what it is sent
        m_Counters.dropped("output-overflow");
    }
    notify();  // the TCP thread polls for POLLOUT from now on
}

bool Server::flush(Connection& c) {
    while (!c.output.empty()) {
        const ssize_t n = ::send(c.fd, c.output.data(), c.output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        c.output.erase(0, static_cast<std::size_t>(n));
    }
    return !c.failed;
}

void Server::close(const std::shared_ptr<Connection>& c) {
    {
        std::lock_guard<std::mutex> guard(c->mutex);
        if (!c->closed) ::close(c->fd);
        c->closed = true;
    }
    std::lock_guard<std::mutex> lock(m_ConnectionsMutex);
    m_Connections.erase(c->id);
}

void Server::notify() {
    const char byte = 1;
    // A full pipe already holds a wake-up.
    if (write(m_NotifyPipe[1], &byte, 1) < 0 && errno != EAGAIN) log(errorText("notify"));
}

void Server::send(const Peer& peer, const std::string& bytes) {
    if (peer.kind == Peer::Udp) {
        if (sendto(m_Udp, bytes.data(), bytes.size(), MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&peer.address),
                   peer.addressLength) < 0)
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
    std::lock_guard<std::mutex> guard(c->mutex);
    if (c->closed) {
        m_Counters.dropped("peer-gone");
        return;
    }
    queue(*c, bytes);
}

}  // namespace serve
