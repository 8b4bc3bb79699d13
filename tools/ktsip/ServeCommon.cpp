// Counters, log lines and the text form of peers for `ktsip serve`.
#include "ServeCommon.h"

#include <arpa/inet.h>

#include <atomic>
#include <cstdio>
#include <iostream>

namespace serve {

namespace {

// Method texts are kept as received; an attacker sending many distinct methods must not
// grow the table without bound, so past this many distinct names the rest are pooled.
const std::size_t kMaxDistinctMethods = 64;
const std::size_t kMaxMethodLength = 32;

std::atomic<bool> sLogging{true};
std::mutex sLogMutex;

}  // namespace

void log(const std::string& line) {
    if (!sLogging.load()) return;
    std::lock_guard<std::mutex> lock(sLogMutex);
    std::cerr << "ktsip serve: " << line << "\n" << std::flush;
}

void setLogging(bool enabled) { sLogging.store(enabled); }

namespace {
thread_local int tMuted = 0;
}

MuteLibraryLines::MuteLibraryLines() { ++tMuted; }
MuteLibraryLines::~MuteLibraryLines() { --tMuted; }
bool MuteLibraryLines::active() { return tMuted != 0; }

std::string Peer::describe() const {
    if (kind == Tcp) return "tcp#" + std::to_string(connection);
    char host[INET6_ADDRSTRLEN] = "?";
    unsigned port = 0;
    if (address.ss_family == AF_INET) {
        const auto* a = reinterpret_cast<const sockaddr_in*>(&address);
        inet_ntop(AF_INET, &a->sin_addr, host, sizeof(host));
        port = ntohs(a->sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto* a = reinterpret_cast<const sockaddr_in6*>(&address);
        inet_ntop(AF_INET6, &a->sin6_addr, host, sizeof(host));
        port = ntohs(a->sin6_port);
    }
    return "udp " + std::string(host) + ":" + std::to_string(port);
}

void Counters::request(const std::string& method) {
    // Bytes outside printable ASCII (which garbage input produces) are written as \xNN.
    std::string name;
    for (std::size_t i = 0; i < method.size() && i < kMaxMethodLength; ++i) {
        const unsigned char c = static_cast<unsigned char>(method[i]);
        if (c > 0x20 && c < 0x7f && c != '\\') {
            name += static_cast<char>(c);
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", c);
            name += escaped;
        }
    }
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_Requests.count(name) == 0 && m_Requests.size() >= kMaxDistinctMethods) name = "(other)";
    ++m_Requests[name];
}

void Counters::response(int code) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Responses[code];
}

void Counters::receivedResponse(int code) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    // Codes of received responses are whatever the peer wrote: clamp them to one bucket
    // outside the valid range so the table stays small.
    if (code < 100 || code > 699) code = 0;
    ++m_ReceivedResponses[code];
}

void Counters::dropped(const std::string& reason) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Dropped[reason];
}

void Counters::keepAlive() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_KeepAlives;
}

void Counters::connection() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Connections;
}

void Counters::libraryLogLine() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_LibraryLogLines;
}

std::uint64_t Counters::responses(int code) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto it = m_Responses.find(code);
    return it == m_Responses.end() ? 0 : it->second;
}

cli::json Counters::toJson() const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    cli::json out;
    out["ok"] = true;
    cli::json requests = cli::json::object();
    for (const auto& r : m_Requests) requests[cli::latin1(r.first)] = r.second;
    out["requests"] = requests;
    cli::json responses = cli::json::object();
    for (const auto& r : m_Responses) responses[std::to_string(r.first)] = r.second;
    out["responses"] = responses;
    cli::json received = cli::json::object();
    for (const auto& r : m_ReceivedResponses) received[std::to_string(r.first)] = r.second;
    out["received_responses"] = received;
    std::uint64_t dropped = 0;
    cli::json reasons = cli::json::object();
    for (const auto& d : m_Dropped) {
        reasons[d.first] = d.second;
        dropped += d.second;
    }
    out["dropped"] = dropped;
    out["dropped_by_reason"] = reasons;
    out["keep_alives"] = m_KeepAlives;
    out["connections"] = m_Connections;
    out["library_log_lines"] = m_LibraryLogLines;
    return out;
}

void Counters::print(std::ostream& out) const {
    cli::json j = toJson();
    for (auto it = j["requests"].begin(); it != j["requests"].end(); ++it)
        out << "request " << it.key() << " " << it->get<std::uint64_t>() << "\n";
    for (auto it = j["responses"].begin(); it != j["responses"].end(); ++it)
        out << "response " << it.key() << " " << it->get<std::uint64_t>() << "\n";
    for (auto it = j["received_responses"].begin(); it != j["received_responses"].end(); ++it)
        out << "received-response " << it.key() << " " << it->get<std::uint64_t>() << "\n";
    out << "dropped " << j["dropped"].get<std::uint64_t>() << "\n";
    for (auto it = j["dropped_by_reason"].begin(); it != j["dropped_by_reason"].end(); ++it)
        out << "dropped-by-reason " << it.key() << " " << it->get<std::uint64_t>() << "\n";
    out << "keep-alive " << j["keep_alives"].get<std::uint64_t>() << "\n";
    out << "connection " << j["connections"].get<std::uint64_t>() << "\n";
    out << "library-log-line " << j["library_log_lines"].get<std::uint64_t>() << "\n";
}

}  // namespace serve
