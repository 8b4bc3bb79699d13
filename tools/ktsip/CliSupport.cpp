// Shared pieces of the ktsip subcommands.
#include "CliSupport.h"

#include <cxxabi.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <unordered_map>

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include "JsonWriter.h"
#include "KtErrorStream.h"
#include "KtOutputStream.h"
#include "TorvaneLogger.h"

namespace cli {

long long decimal(const std::string& text, const std::string& what, long long low, long long high) {
    const std::size_t digits = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    bool ok = text.size() > digits && text.size() - digits <= 18;
    for (std::size_t i = digits; ok && i < text.size(); ++i) ok = text[i] >= '0' && text[i] <= '9';
    const long long value = ok ? std::stoll(text) : 0;
    if (!ok || value < low || value > high)
        throw UsageError(what + " takes a decimal number from " + std::to_string(low) + " to " +
                         std::to_string(high) + ", not \"" + text + "\"");
    return value;
}

void InputOptions::declare(CLI::App& command) {
    command.add_flag("--crlf", crlf, "turn every bare LF into CR LF first (for hand-written files)");
    command.add_option("--max-bytes", maxBytes,
                       "read at most N bytes of input, up to " + std::to_string(kLargestMaxBytes) + " (default " +
                           std::to_string(kDefaultMaxBytes) + ", 64 MiB); longer input is refused")
        ->type_name("N");
}

std::string InputOptions::read() const {
    const unsigned long long cap =
        maxBytes.empty() ? kDefaultMaxBytes
                         : static_cast<unsigned long long>(decimal(maxBytes, "--max-bytes", 1,
                                                                   static_cast<long long>(kLargestMaxBytes)));
    const bool standardInput = file.empty() || file == "-";
    const std::string name = standardInput ? std::string("standard input") : file;
    const int fd = standardInput ? 0 : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw UsageError("cannot read " + name + ": " + std::strerror(errno));
    // One byte past the cap tells input that is too long from input of exactly the cap.
    std::string data;
    char buffer[65536];
    int error = 0;
    while (data.size() <= cap) {
        const std::size_t want =
            static_cast<std::size_t>(std::min<unsigned long long>(sizeof(buffer), cap + 1 - data.size()));
        const ssize_t n = ::read(fd, buffer, want);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error = n < 0 ? errno : 0;
            break;
        }
        data.append(buffer, static_cast<std::size_t>(n));
    }
    if (!standardInput) ::close(fd);
    if (error != 0) throw UsageError("cannot read " + name + ": " + std::strerror(error));
    if (data.size() > cap)
        throw UsageError(name + " is longer than --max-bytes (" + std::to_string(cap) + " bytes)");
    if (!crlf) return data;
    std::string out;
    out.reserve(data.size() + data.size() / 16);
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (data[i] == '\n' && (i == 0 || data[i - 1] != '\r')) out += '\r';
        out += data[i];
    }
    return out;
}

std::string latin1(const char* bytes, std::size_t length) {
    std::string out;
    out.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

const std::string& className(const std::type_info& type) {
    // Keyed by the type's descriptor: a class seen through two descriptors takes two entries.
    thread_local std::unordered_map<const std::type_info*, std::string> names;
    auto known = names.find(&type);
    if (known != names.end()) return known->second;
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    if (names.size() >= 1024) names.clear();  // the library has fewer classes; bounded all the same
    return names[&type] = status == 0 && name ? std::string(name.get()) : std::string(type.name());
}

void writeHeader(JsonWriter& out, const KtSipHeader& header) {
    const KtString value = header.getValueString();
    const KtString& token = header.getToken();
    out.beginObject()
        .key("name").value(token.c_str(), token.length())
        .key("id").value(static_cast<int>(header.getHeaderID()))
        .key("class").value(className(typeid(header)))
        .key("value").value(value.c_str(), value.length())
        .endObject();
}

json headerJson(const KtSipHeader& header) {
    std::string text;
    {
        JsonWriter out(text);
        writeHeader(out, header);
    }
    return json::parse(text);
}

json chainJson(const KtSipHeader* header) {
    json list = json::array();
    for (; header != nullptr; header = header->getNext().get()) list.push_back(headerJson(*header));
    return list;
}

ErrorCapture::ErrorCapture() { KtErrorStream::sSetSink(&ErrorCapture::sink, this); }
ErrorCapture::~ErrorCapture() { KtErrorStream::sSetSink(nullptr, nullptr); }
void ErrorCapture::sink(void* context, const char* line, unsigned length) {
    static_cast<ErrorCapture*>(context)->m_Lines.emplace_back(line, length);
}
json ErrorCapture::toJson() const {
    json list = json::array();
    for (const auto& l : m_Lines) list.push_back(latin1(l));
    return list;
}

void addFailure(json& out, const KtException& e) {
    out["ok"] = false;
    out["exception"] = className(typeid(e));
    out["message"] = latin1(e.getMessage());
}

void configureLogging(const std::string& level) {
    static const std::map<std::string, int> levels = {
        {"trace", log4cplus::TRACE_LOG_LEVEL}, {"debug", log4cplus::DEBUG_LOG_LEVEL},
        {"info", log4cplus::INFO_LOG_LEVEL},   {"warn", log4cplus::WARN_LOG_LEVEL},
        {"error", log4cplus::ERROR_LOG_LEVEL}, {"off", log4cplus::OFF_LOG_LEVEL}};
    auto it = levels.find(level);
    if (it == levels.end()) throw UsageError("unknown log level " + level);
    if (it->second == log4cplus::OFF_LOG_LEVEL) {
        Torvane::Logger::sSetThreshold(Torvane::OFF_LOG_LEVEL);
        return;
    }
    log4cplus::initialize();
    log4cplus::SharedAppenderPtr appender(new log4cplus::ConsoleAppender(true /* stderr */));
    appender->setLayout(std::unique_ptr<log4cplus::Layout>(new log4cplus::PatternLayout("%-5p %c - %m%n")));
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.removeAllAppenders();
    root.addAppender(appender);
    root.setLogLevel(it->second);
    Torvane::Logger::sRefreshThreshold();
}

int run(bool asJson, const std::function<int(json& out, ErrorCapture& log)>& body,
        const std::function<void(const json&)>& readable) {
    json out;
    int status = 0;
    {
        ErrorCapture capture;
        try {
            status = body(out, capture);
        } catch (const UsageError&) {
            throw;
        } catch (const KtException& e) {
            out = json();
            addFailure(out, e);
            status = 1;
        }
        out["log"] = capture.toJson();
    }
    if (asJson) {
        std::cout << out.dump() << "\n";
    } else if (!out.value("ok", false) && out.contains("exception")) {
        std::cout << "exception: " << out["exception"].get<std::string>() << "\n"
                  << "message:   " << out["message"].get<std::string>() << "\n";
        for (const auto& l : out["log"]) std::cout << "log:       " << l.get<std::string>() << "\n";
    } else {
        readable(out);
    }
    return status;
}

void printReadable(const json& object, const std::vector<std::string>& skip) {
    std::size_t width = 0;
    for (auto it = object.begin(); it != object.end(); ++it) width = std::max(width, it.key().size());
    for (auto it = object.begin(); it != object.end(); ++it) {
        bool skipped = false;
        for (const auto& s : skip) skipped = skipped || s == it.key();
        if (skipped) continue;
        std::string v = it->is_string() ? it->get<std::string>() : it->dump();
        std::cout << it.key() << ":" << std::string(width - it.key().size() + 1, ' ') << v << "\n";
    }
}

}  // namespace cli
