// Shared pieces of the ktsip subcommands: numbers, input, JSON conversion of the
// library's objects, the capture of the error stream and the reporting of failures.
#ifndef KTSIP_TOOL_CLI_SUPPORT_H
#define KTSIP_TOOL_CLI_SUPPORT_H

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "KtException.h"
#include "KtSipHeader.h"

class JsonWriter;
class KtSipMessage;

namespace cli {

using json = nlohmann::ordered_json;

/// A usage error: printed as one line on standard error, exit status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The decimal number `text` (an optional sign and digits only) from `low` to `high`;
/// anything else is a usage error that names `what` (an option or an operand).
long long decimal(const std::string& text, const std::string& what, long long low, long long high);

/// Input is read up to this many bytes unless --max-bytes says otherwise.
constexpr unsigned long long kDefaultMaxBytes = 64ull << 20;
/// The largest --max-bytes.
constexpr unsigned long long kLargestMaxBytes = 1ull << 30;

/// How the subcommands that read a message take their input: FILE ("-": standard input),
/// --crlf and --max-bytes.
struct InputOptions {
    std::string file = "-";
    bool crlf = false;
    std::string maxBytes;

    /// Declares --crlf and --max-bytes on `command` (FILE is the command's operand).
    void declare(CLI::App& command);
    /// The bytes of the input, exactly as they are; with --crlf every bare LF becomes
    /// CR LF. Unreadable input and input longer than --max-bytes are usage errors.
    std::string read() const;
};

/// Raw bytes as a JSON string: each byte becomes the code point of the same number.
std::string latin1(const char* bytes, std::size_t length);
inline std::string latin1(const std::string& s) { return latin1(s.data(), s.size()); }

/// The dynamic class name of a library object ("KtSipViaHeader"); demangled once per class
/// and thread.
const std::string& className(const std::type_info& type);

/// Writes {"name", "id", "class", "value"} of one header.
void writeHeader(JsonWriter& out, const KtSipHeader& header);
/// The same object as JSON.
json headerJson(const KtSipHeader& header);
/// One object per element of the chain that starts at `header`.
json chainJson(const KtSipHeader* header);

/// Collects the lines the library writes to its error stream while it lives.
class ErrorCapture {
public:
    ErrorCapture();
    ~ErrorCapture();
    const std::vector<std::string>& lines() const { return m_Lines; }
    json toJson() const;

private:
    static void sink(void* context, const char* line, unsigned length);
    std::vector<std::string> m_Lines;
};

/// Adds the failure fields of a library exception to `out`: "ok" false, "exception" (its
/// dynamic class) and "message" (its text).
void addFailure(json& out, const KtException& e);

/// Configures log4cplus for --log-level (trace, debug, info, warn, error, off).
void configureLogging(const std::string& level);

/// Runs `body` and turns a library exception into the failure object (exit 1) and a usage
/// error into its message (exit 2). `body` fills `out` and returns the exit status. With
/// `asJson` the object is printed as JSON, otherwise `readable` formats it.
int run(bool asJson, const std::function<int(json& out, ErrorCapture& log)>& body,
        const std::function<void(const json&)>& readable);

/// Prints `object` as aligned "name: value" lines (nested values as compact JSON).
void printReadable(const json& object, const std::vector<std::string>& skip = {});

}  // namespace cli

#endif
