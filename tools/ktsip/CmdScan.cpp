// ktsip scan: every SIP message of a packet capture, parsed by the library.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <map>
#include <stdexcept>

#include "Commands.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "ScanCapture.h"

namespace {

const char* kUsage =
    "usage: ktsip scan [--json] [--filter EXPR] [--port N]... [FILE]\n"
    "Parses every SIP message of a pcap or pcapng capture (FILE, or standard input when it is '-'\n"
    "or absent): UDP datagrams, TCP streams cut by Content-Length, IPv4 and IPv6, fragments\n"
    "reassembled. Prints one line per message, or with --json one JSON object per message and\n"
    "a summary object.\n"
    "  --json         JSON Lines: frame, time, src, dst, transport and the fields of `parse --json`\n"
    "  --filter EXPR  a libpcap filter expression (as for tcpdump), applied to every frame first\n"
    "  --port N       only datagrams and segments from or to port N (repeatable)\n"
    "exit status: 0 capture read to its end, 1 capture truncated or damaged, 2 usage error\n";

// Counts by name, bounded: past MAX_KEYS distinct names the rest share "(other)".
class Tally {
public:
    static constexpr std::size_t MAX_KEYS = 256;
    void add(const std::string& key) {
        auto it = m_Counts.find(key);
        if (it != m_Counts.end())
            ++it->second;
        else if (m_Counts.size() < MAX_KEYS)
            m_Counts.emplace(key, 1);
        else
            ++m_Counts["(other)"];
    }
    cli::json toJson() const {
        cli::json out = cli::json::object();
        for (const auto& entry : m_Counts) out[entry.first] = entry.second;
        return out;
    }

private:
    std::map<std::string, std::uint64_t> m_Counts;
};

// Output written in large blocks: a capture may hold millions of messages.
class Output {
public:
    ~Output() { flush(); }
    std::string& text() { return m_Text; }
    void maybeFlush() {
        if (m_Text.size() >= 1 << 16) flush();
    }
    void flush() {
        std::fwrite(m_Text.data(), 1, m_Text.size(), stdout);
        std::fflush(stdout);
        m_Text.clear();
    }

private:
    std::string m_Text;
};

// The message's first line as received, for the readable line: at most 120 bytes, control
// bytes and bytes above 0x7E shown as \xNN.
void appendStartLine(std::string& out, const char* bytes, std::size_t length) {
    static const char hex[] = "0123456789abcdef";
    for (std::size_t i = 0; i < length && i < 120; ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        if ((c == '\r' || c == '\n') && i > 0) return;
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
}

// "HH:MM:SS.uuuuuu" in UTC.
void appendClock(std::string& out, std::int64_t seconds, std::uint32_t micros) {
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&t, &parts);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06u", parts.tm_hour, parts.tm_min, parts.tm_sec, micros);
    out += text;
}

class Scanner {
public:
    explicit Scanner(bool json) : m_Json(json) {}

    void message(const ScanMessage& found) {
        ++m_Messages;
        std::string failure;
        KtHandle<KtSipMessage> parsed;
        cli::json object;
        {
            cli::ErrorCapture log;
            try {
                KtByteArrayInputStream in(found.bytes, static_cast<unsigned>(found.length));
                parsed = KtSipMessage::sConstructFrom(in);
            } catch (const KtException& e) {
                failure = cli::latin1(e.getMessage());
                m_Exceptions.add(failure);
                failure = cli::className(typeid(e)) + ": " + failure;
                if (m_Json) {
                    object = captureFields(found);
                    cli::addFailure(object, e);
                }
            }
            if (!parsed.isNil()) {
                count(*parsed);
                if (m_Json) object = cmd::messageJson(*parsed, captureFields(found));
            }
            if (m_Json) object["log"] = log.toJson();
        }
        std::string& out = m_Output.text();
        if (m_Json) {
            out += object.dump();
            out += '\n';
        } else {
            out += std::to_string(found.frame);
            out += ' ';
            appendClock(out, found.seconds, found.micros);
            out += ' ';
            out += found.source->toString();
            out += " -> ";
            out += found.destination->toString();
            out += found.tcp ? " tcp " : " udp ";
            appendStartLine(out, found.bytes, found.length);
            if (!failure.empty()) {
                out += "  ";
                out += failure;
            } else if (!parsed->isValid()) {
                out += "  invalid (status " + std::to_string(parsed->getStatus()) + ")";
            }
            out += '\n';
        }
        m_Output.maybeFlush();
    }

    void summary(const ScanCapture::Counts& counts, double seconds) {
        cli::json s;
        s["messages"] = m_Messages;
        s["requests"] = m_Requests.toJson();
        s["responses"] = m_Responses.toJson();
        s["invalid"] = m_Invalid.toJson();
        s["exceptions"] = m_Exceptions.toJson();
        s["skipped_packets"] = counts.skippedPackets;
        s["bytes"] = counts.bytes;
        s["seconds"] = seconds;
        s["frames"] = counts.frames;
        s["filtered_packets"] = counts.filteredPackets;
        s["truncated_packets"] = counts.truncatedPackets;
        s["tcp_streams_dropped"] = counts.droppedStreams;
        s["tcp_streams_evicted"] = counts.evictedStreams;
        s["tcp_gaps"] = counts.tcpGaps;
        s["fragments_abandoned"] = counts.abandonedDatagrams;
        if (m_Json) {
            m_Output.text() += cli::json({{"summary", s}}).dump() + "\n";
            m_Output.flush();
            return;
        }
        m_Output.flush();
        cli::json readable;
        for (auto it = s.begin(); it != s.end(); ++it) {
            if (!it->is_object()) {
                readable[it.key()] = *it;
                continue;
            }
            std::string line;
            for (auto entry = it->begin(); entry != it->end(); ++entry)
                line += (line.empty() ? "" : ", ") + entry.key() + " " + entry->dump();
            readable[it.key()] = line.empty() ? "none" : line;
        }
        std::cout << "\n";
        cli::printReadable(readable);
        std::cout.flush();
    }

private:
    cli::json captureFields(const ScanMessage& found) const {
        cli::json object;
        object["frame"] = found.frame;
        // Whole microseconds divided once: the closest double to the decimal time.
        object["time"] = static_cast<double>(found.seconds * 1000000 + found.micros) / 1e6;
        object["src"] = found.source->toString();
        object["dst"] = found.destination->toString();
        object["transport"] = found.tcp ? "tcp" : "udp";
        return object;
    }

    void count(const KtSipMessage& m) {
        if (const auto* request = dynamic_cast<const KtSipRequest*>(&m)) {
            const KtString& method = request->getMethod();
            m_Requests.add(cli::latin1(method.c_str(), method.length()));
        } else if (const auto* response = dynamic_cast<const KtSipResponse*>(&m)) {
            m_Responses.add(std::to_string(response->getStatusCode()));
        }
        if (!m.isValid()) m_Invalid.add(std::to_string(m.getStatus()));
    }

    bool m_Json;
    Output m_Output;
    std::uint64_t m_Messages = 0;
    Tally m_Requests, m_Responses, m_Invalid, m_Exceptions;
};

std::uint16_t portNumber(const std::string& text) {
    char* end = nullptr;
    const unsigned long v = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || text[0] == '-' || text[0] == '+' || v > 65535)
        throw cli::UsageError("--port takes a number from 0 to 65535");
    return static_cast<std::uint16_t>(v);
}

}  // namespace

int cmd::scan(const std::vector<std::string>& args) {
    cli::Args a(args, {"--json", "--help"}, {"--filter", "--port"});
    if (a.has("--help")) {
        std::cout << kUsage;
        return 0;
    }
    if (a.operands().size() > 1) throw cli::UsageError("scan takes at most one FILE");
    const std::string file = a.operands().empty() ? "-" : a.operands()[0];
    std::vector<std::uint16_t> ports;
    for (const std::string& port : a.values("--port")) ports.push_back(portNumber(port));

    ScanCapture capture;
    try {
        capture.open(file);
    } catch (const std::runtime_error& e) {
        throw cli::UsageError("cannot read " + file + ": " + e.what());
    }
    if (a.hasValue("--filter")) {
        try {
            capture.setFilter(a.value("--filter"));
        } catch (const std::invalid_argument& e) {
            throw cli::UsageError(std::string("--filter: ") + e.what());
        }
    }
    capture.setPorts(ports);

    Scanner scanner(a.has("--json"));
    const auto start = std::chrono::steady_clock::now();
    const bool whole = capture.run([&](const ScanMessage& found) { scanner.message(found); });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    scanner.summary(capture.counts(), took.count());
    if (whole) return 0;
    std::cerr << "ktsip scan: " << file << ": " << capture.error() << "\n";
    return 1;
}
