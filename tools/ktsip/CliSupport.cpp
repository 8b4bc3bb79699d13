// Shared pieces of the ktsip subcommands.
#include "CliSupport.h"

#include <cxxabi.h>
#include <fstream>
#include <iostream>
#include <iterator>
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

Args::Args(const std::vector<std::string>& args, const std::vector<std::string>& flags,
           const std::vector<std::string>& valued) {
    auto listed = [](const std::vector<std::string>& v, const std::string& s) {
        for (const auto& x : v)
            if (x == s) return true;
        return false;
    };
    std::size_t i = 0;
    for (; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--") {
            ++i;
            break;
        }
        if (a.size() < 2 || a[0] != '-') break;
        if (listed(flags, a)) {
            m_Flags[a] = true;
        } else if (listed(valued, a)) {
            if (i + 1 >= args.size()) throw UsageError("option " + a + " needs a value");
            m_Values.emplace(a, args[++i]);
        } else {
            throw UsageError("unknown option " + a);
        }
    }
    for (; i < args.size(); ++i) m_Operands.push_back(args[i]);
}

std::string Args::value(const std::string& option, const std::string& fallback) const {
    auto range = m_Values.equal_range(option);
    std::string v = fallback;
    for (auto it = range.first; it != range.second; ++it) v = it->second;
    return v;
}

std::vector<std::string> Args::values(const std::string& option) const {
    std::vector<std::string> out;
    auto range = m_Values.equal_range(option);
    for (auto it = range.first; it != range.second; ++it) out.push_back(it->second);
    return out;
}

std::string readInput(const std::string& file, bool crlf) {
    std::string data;
    if (file.empty() || file == "-") {
        data.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else {
        std::ifstream in(file, std::ios::binary);
        if (!in) throw UsageError("cannot read " + file);
        data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
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
