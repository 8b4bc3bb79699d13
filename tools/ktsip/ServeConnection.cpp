// One TCP connection of `ktsip serve`.
#include "ServeConnection.h"

#include <string_view>

#include "ServeFraming.h"
#include "ServeServer.h"
#include "ServeUas.h"

namespace serve {

Connection::Connection(asio::ip::tcp::socket socket, std::uint64_t id, const Config& config, Counters& counters,
                       Uas& uas, Closed closed)
    : m_Socket(std::move(socket)),
      m_Strand(asio::make_strand(static_cast<asio::io_context&>(m_Socket.get_executor().context()))),
      m_Timer(m_Strand),
      m_Id(id),
      m_Config(config),
      m_Counters(counters),
      m_Uas(uas),
      m_Closed(std::move(closed)),
      m_Chunk(16384),
      m_LastActive(Clock::now().time_since_epoch().count()) {
    m_Peer.kind = Peer::Tcp;
    m_Peer.connection = id;
    std::error_code ec;
    const asio::ip::tcp::endpoint local = m_Socket.local_endpoint(ec);
    if (!ec) {
        m_Peer.localHost = local.address().to_string();
        m_Peer.localPort = local.port();
    }
    const asio::ip::tcp::endpoint remote = m_Socket.remote_endpoint(ec);
    if (!ec) m_Address = remote.address().to_string();
}

void Connection::start() {
    asio::dispatch(m_Strand, [self = shared_from_this()] {
        self->m_InMessage = true;  // the first message is due within the message timeout
        self->m_MessageStart = Clock::now();
        self->armDeadline(self->m_MessageStart + std::chrono::seconds(self->m_Config.messageTimeout));
        self->read();
    });
}

void Connection::write(std::string bytes) {
    asio::dispatch(m_Strand, [self = shared_from_this(), b = std::move(bytes)]() mutable { self->send(std::move(b)); });
}

void Connection::close() {
    asio::post(m_Strand, [self = shared_from_this()] { self->shutdown(); });
}

void Connection::read() {
    auto self = shared_from_this();
    m_Socket.async_read_some(
        asio::buffer(m_Chunk), asio::bind_executor(m_Strand, [self](std::error_code ec, std::size_t n) {
            if (self->m_Gone || self->m_Closing) return;
            if (ec) {
                if (!self->m_Input.empty()) self->m_Counters.dropped("truncated");  // the peer left mid-message
                self->shutdown();
                return;
            }
            self->m_Input.append(self->m_Chunk.data(), n);
            if (!self->consume()) {
                // Let the answers already queued go out before the descriptor closes.
                self->m_Closing = true;
                if (self->m_Writing.empty()) self->shutdown();
                return;
            }
            self->read();
        }));
}

bool Connection::consume() {
    std::size_t used = 0;
    bool keep = true;
    bool framed = false;
    while (keep) {
        const std::string_view view = std::string_view(m_Input).substr(used);
        const Frame frame = nextFrame(view, Server::INPUT_LIMIT);
        if (frame.kind == Frame::NeedMore) break;
        framed = true;
        switch (frame.kind) {
            case Frame::Ping:
                m_Counters.keepAlive();
                send("\r\n");
                break;
            case Frame::Skip:
                break;
            case Frame::Message:
                m_Uas.receive(view.data(), frame.length, m_Peer);
                break;
            case Frame::BadLength:
                // Answered as the library reads the header section, then the connection is
                // closed: where the next message starts is unknown.
                m_Uas.receive(view.data(), frame.length, m_Peer);
                m_Counters.dropped("bad-content-length");
                keep = false;
                break;
            case Frame::NoLength:
                // Without a Content-Length the end of the message is unknown on a stream.
                m_Uas.refuse(view.data(), frame.length, m_Peer);
                m_Counters.dropped("no-content-length");
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
    m_Input.erase(0, used);
    if (!keep) return false;
    const Clock::time_point now = Clock::now();
    if (framed) {
        m_LastActive.store(now.time_since_epoch().count());
        m_InMessage = !m_Input.empty();
        m_MessageStart = now;
    } else if (!m_InMessage) {
        m_InMessage = true;  // a new message has begun
        m_MessageStart = now;
    }
    armDeadline(m_InMessage ? m_MessageStart + std::chrono::seconds(m_Config.messageTimeout)
                            : now + std::chrono::seconds(m_Config.idleTimeout));
    updateBusy();
    return true;
}

void Connection::send(std::string bytes) {
    if (m_Gone) return;
    if (m_Writing.empty()) {
        m_Writing = std::move(bytes);
        flush();
    } else {
        m_Pending += bytes;
        if (m_Writing.size() + m_Pending.size() > Server::OUTPUT_LIMIT) {
            m_Counters.dropped("output-overflow");  // the peer does not read what it is sent
            shutdown();
            return;
        }
    }
    updateBusy();
}

void Connection::flush() {
    asio::async_write(m_Socket, asio::buffer(m_Writing),
                      asio::bind_executor(m_Strand, [self = shared_from_this()](std::error_code ec, std::size_t) {
                          if (self->m_Gone) return;
                          if (ec) {
                              self->shutdown();
                              return;
                          }
                          self->m_Writing.clear();
                          self->m_Writing.swap(self->m_Pending);
                          if (!self->m_Writing.empty())
                              self->flush();
                          else if (self->m_Closing)
                              self->shutdown();
                          self->updateBusy();
                      }));
}

void Connection::armDeadline(Clock::time_point deadline) {
    const bool earlier = deadline < m_Deadline;
    m_Deadline = deadline;
    // A later deadline is picked up when the armed wait ends; only an earlier one re-arms.
    if (m_TimerArmed && !earlier) return;
    m_TimerArmed = true;
    m_Timer.expires_at(deadline);
    m_Timer.async_wait([self = shared_from_this()](std::error_code ec) {
        if (ec == asio::error::operation_aborted || self->m_Gone) return;  // re-armed, or closed
        self->m_TimerArmed = false;
        if (Clock::now() < self->m_Deadline) {
            self->armDeadline(self->m_Deadline);
            return;
        }
        if (self->m_InMessage && !self->m_Input.empty()) self->m_Counters.dropped("message-timeout");
        self->shutdown();
    });
}

void Connection::shutdown() {
    if (m_Gone) return;
    m_Gone = true;
    std::error_code ec;
    m_Socket.close(ec);
    m_Timer.cancel();
    m_Busy.store(false);
    m_Closed(*this);
}

void Connection::updateBusy() { m_Busy.store(!m_Input.empty() || !m_Writing.empty()); }

}  // namespace serve
