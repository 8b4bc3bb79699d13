// ktsip scan: every SIP message of a packet capture, parsed by the library.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <map>
#include <stdexcept>

#include "Commands.h"
#include "JsonWriter.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "ScanCapture.h"

namespace {


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

// Output gathered and written in large blocks: a capture may hold millions of messages.
class Output {
public:
    Output() : m_Writer(m_Buffer) {}
    ~Output() { flush(); }
    JsonWriter& writer() { return m_Writer; }
    /// Ends the current line, and writes the block out once it is large.
    void endLine() {
        m_Writer.newline();
        if (m_Writer.size() >= 1 << 16) flush();
    }
    void flush() {
        std::fwrite(m_Writer.data(), 1, m_Writer.size(), stdout);
        std::fflush(stdout);
        m_Writer.clear();
    }

private:
    std::string m_Buffer;
    JsonWriter m_Writer;
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

// "HH:MM:SS.uuuuuu" in UTC (a day has 86400 seconds in capture time stamps).
void appendClock(std::string& out, std::int64_t seconds, std::uint32_t micros) {
    std::int64_t inDay = seconds % 86400;
    if (inDay < 0) inDay += 86400;
    const unsigned fields[3] = {static_cast<unsigned>(inDay / 3600), static_cast<unsigned>(inDay / 60 % 60),
                                static_cast<unsigned>(inDay % 60)};
    char text[16] = "00:00:00.000000";
    for (int i = 0; i < 3; ++i) {
        text[i * 3] = static_cast<char>('0' + fields[i] / 10);
        text[i * 3 + 1] = static_cast<char>('0' + fields[i] % 10);
    }
    for (int i = 14; i >= 9; --i, micros /= 10) text[i] = static_cast<char>('0' + micros % 10);
    out.append(text, 15);
}

class Scanner {
public:
    explicit Scanner(bool json) : m_Json(json) {}

    void message(const ScanMessage& found) {
        ++m_Messages;
        JsonWriter& json = m_Output.writer();
        std::string failure;
        KtHandle<KtSipMessage> parsed;
        {
            cli::ErrorCapture log;
            try {
                KtByteArrayInputStream in(found.bytes, static_cast<unsigned>(found.length));
                parsed = KtSipMessage::sConstructFrom(in);
                count(*parsed);
            } catch (const KtException& e) {
                failure = fail(found, e, log);
            }
            if (m_Json && !parsed.isNil()) {
                // Writing a message may throw too (credentials it cannot compute): the
                // object is then the failure, as `parse --json` reports it.
                const std::size_t start = json.size();
                try {
                    writeCapture(json.beginObject(), found);
                    cmd::writeMessage(json, *parsed);
                    writeLog(json, log);
                } catch (const KtException& e) {
                    json.rewind(start);
                    fail(found, e, log);
                }
            }
        }
        if (!m_Json) {
            std::string& out = m_Line;
            out.clear();
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
            json.append(out.data(), out.size());
        }
        m_Output.endLine();
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
            const std::string text = cli::json({{"summary", s}}).dump();
            m_Output.writer().append(text.data(), text.size());
            m_Output.endLine();
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
    // Counts a library exception; with --json writes its object, else gives the text the
    // readable line ends with ("CLASS: message").
    std::string fail(const ScanMessage& found, const KtException& e, const cli::ErrorCapture& log) {
        m_Exceptions.add(cli::latin1(e.getMessage()));
        const std::string& name = cli::className(typeid(e));
        if (!m_Json) return name + ": " + cli::latin1(e.getMessage());
        JsonWriter& json = m_Output.writer();
        writeCapture(json.beginObject(), found);
        json.key("ok").value(false).key("exception").value(name).key("message").value(e.getMessage());
        writeLog(json, log);
        return name;
    }

    // The capture's members of a message's object: frame, time, src, dst, transport.
    static void writeCapture(JsonWriter& json, const ScanMessage& found) {
        json.key("frame").value(found.frame);
        // Seconds and six decimals, trailing zeros dropped: the shortest form of the time.
        std::string time = std::to_string(found.seconds) + ".";
        char micros[7] = "000000";
        for (std::uint32_t i = 6, v = found.micros; i-- > 0; v /= 10) micros[i] = static_cast<char>('0' + v % 10);
        std::size_t digits = 6;
        while (digits > 1 && micros[digits - 1] == '0') --digits;
        time.append(micros, digits);
        json.key("time").raw(time.data(), time.size());
        json.key("src").value(found.source->toString());
        json.key("dst").value(found.destination->toString());
        json.key("transport").value(found.tcp ? "tcp" : "udp", 3);
    }

    static void writeLog(JsonWriter& json, const cli::ErrorCapture& log) {
        json.key("log").beginArray();
        for (const std::string& line : log.lines()) json.value(line);
        json.endArray().endObject();
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
    std::string m_Line;  // the readable line being written
    std::uint64_t m_Messages = 0;
    Tally m_Requests, m_Responses, m_Invalid, m_Exceptions;
};

// The options of `scan` as given (checked when it runs).
struct ScanOptions {
    bool json = false;
    bool hasFilter = false;
    std::string filter;
    std::vector<std::string> ports;
    std::string file = "-";
};

std::uint16_t portNumber(const std::string& text) {
    char* end = nullptr;
    const unsigned long v = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || text[0] == '-' || text[0] == '+' || v > 65535)
        throw cli::UsageError("--port takes a number from 0 to 65535");
    return static_cast<std::uint16_t>(v);
}

int runScan(const ScanOptions& o) {
    std::vector<std::uint16_t> ports;
    for (const std::string& port : o.ports) ports.push_back(portNumber(port));
    ScanCapture capture;
    try {
        capture.open(o.file);
    } catch (const std::runtime_error& e) {
        throw cli::UsageError("cannot read " + o.file + ": " + e.what());
    }
    if (o.hasFilter) {
        try {
            capture.setFilter(o.filter);
        } catch (const std::invalid_argument& e) {
            throw cli::UsageError(std::string("--filter: ") + e.what());
        }
    }
    capture.setPorts(ports);

    Scanner scanner(o.json);
    const auto start = std::chrono::steady_clock::now();
    const bool whole = capture.run([&](const ScanMessage& found) { scanner.message(found); });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    scanner.summary(capture.counts(), took.count());
    if (whole) return 0;
    std::cerr << "ktsip scan: " << o.file << ": " << capture.error() << "\n";
    return 1;
}

}  // namespace

cmd::Command cmd::addScan(CLI::App& ktsip) {
    auto o = std::make_shared<ScanOptions>();
    CLI::App* scan = ktsip.add_subcommand(
        "scan", "parse every SIP message of a pcap or pcapng capture: UDP datagrams, TCP streams cut by "
                "Content-Length, IPv4 and IPv6, fragments reassembled");
    scan->footer("exit status: 0 capture read to its end, 1 capture truncated or damaged, 2 usage error");
    addJsonFlag(*scan, o->json);
    CLI::Option* filter = scan->add_option("--filter", o->filter, "a libpcap filter expression applied first")
                              ->type_name("EXPR");
    scan->add_option("--port", o->ports, "look for SIP on this port only (repeatable)")
        ->type_name("N")
        ->allow_extra_args(false);
    scan->add_option("FILE", o->file, "the capture (default or -: standard input)");
    return {scan, [o, filter] {
                o->hasFilter = filter->count() != 0;
                return runScan(*o);
            }};
}
