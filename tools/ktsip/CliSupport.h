// Shared pieces of the ktsip subcommands: option reading, input, JSON conversion of the
// library's objects, the capture of the error stream and the reporting of failures.
#ifndef KTSIP_TOOL_CLI_SUPPORT_H
#define KTSIP_TOOL_CLI_SUPPORT_H

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

/// Options and operands of one subcommand. Options come before the operands; "--" ends them.
class Args {
public:
    /// Splits `args`: `flags` are options without a value, `valued` options take the next word.
    /// Options not listed are usage errors.
    Args(const std::vector<std::string>& args, const std::vector<std::string>& flags,
         const std::vector<std::string>& valued);
    bool has(const std::string& flag) const { return m_Flags.count(flag) != 0; }
    /// The value of an option (the last one given), or `fallback`.
    std::string value(const std::string& option, const std::string& fallback = "") const;
    /// Every value given for a repeatable option.
    std::vector<std::string> values(const std::string& option) const;
    bool hasValue(const std::string& option) const { return m_Values.count(option) != 0; }
    const std::vector<std::string>& operands() const { return m_Operands; }

private:
    std::map<std::string, bool> m_Flags;
    std::multimap<std::string, std::string> m_Values;
    std::vector<std::string> m_Operands;
};

/// Bytes of FILE ("-" or empty: standard input), exactly as they are; with `crlf` every bare
/// LF becomes CR LF. An unreadable file is a usage error.
std::string readInput(const std::string& file, bool crlf);

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
