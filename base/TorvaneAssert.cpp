// Reporting of failed internal assertions and checked casts.
//
// Every report is one line, "<what>: <expression> (<file>:<line>)", where file
// is the base name of the source file. It goes to the caller's logger at error
// level (when enabled) and, always, to the process error stream; the failure
// counter goes up by one. Nothing aborts: callers continue with their fallback.
#include "TorvaneAssert.h"

#include <atomic>
#include <cstring>
#include <string>

#include "KtErrorStream.h"

namespace Torvane {

namespace {

std::atomic<unsigned long> sFailures{0};

const char* baseName(const char* file) {
    if (file == nullptr) return "?";
    const char* slash = std::strrchr(file, '/');
    return slash ? slash + 1 : file;
}

void report(const char* what, const char* expression, const Logger& logger, const char* file, int line) {
    sFailures.fetch_add(1, std::memory_order_relaxed);
    std::string text(what);
    text += ": ";
    text += expression ? expression : "?";
    text += " (";
    text += baseName(file);
    text += ':';
    text += std::to_string(line);
    text += ')';
    if (logger.isEnabledFor(ERROR_LOG_LEVEL)) logger.forcedLog(ERROR_LOG_LEVEL, text, file, line);
    KtErrorStream::sGetDefault().writeLine(text.c_str());
}

}  // namespace

void Assertion(bool condition, const char* expression, const Logger& logger, const char* file, int line) {
    if (condition) return;
    report("Assertion failed", expression, logger, file, line);
}

unsigned long assertionFailures() { return sFailures.load(std::memory_order_relaxed); }

// A checked cast whose object is of another class.
void typeIdError(const char* expression, const Logger& logger, const char* file, int line) {
    report("Checked cast failed, wrong type", expression, logger, file, line);
}

// A checked cast of a null pointer.
void nullBaseError(const char* expression, const Logger& logger, const char* file, int line) {
    report("Checked cast failed, null pointer", expression, logger, file, line);
}

}  // namespace Torvane
