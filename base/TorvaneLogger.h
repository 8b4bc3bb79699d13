// Named loggers over log4cplus, trace scopes and the level checks every source uses.
//
// The library configures nothing: the application (or the ktsip tool) sets up
// log4cplus and then calls Logger::sRefreshThreshold(). Until then every level
// check is a single comparison against a process-wide threshold that is
// "off", so a disabled log statement never formats anything.
#ifndef KTSIP_TORVANE_LOGGER_H
#define KTSIP_TORVANE_LOGGER_H

#include <atomic>
#include <sstream>
#include <string>

namespace Torvane {

/// Log levels, numerically those of log4cplus.
typedef int LogLevel;
const LogLevel NOT_SET_LOG_LEVEL = -1;
const LogLevel TRACE_LOG_LEVEL = 0;
const LogLevel DEBUG_LOG_LEVEL = 10000;
const LogLevel INFO_LOG_LEVEL = 20000;
const LogLevel WARN_LOG_LEVEL = 30000;
const LogLevel ERROR_LOG_LEVEL = 40000;
const LogLevel FATAL_LOG_LEVEL = 50000;
const LogLevel OFF_LOG_LEVEL = 60000;

/// A named logger. Cheap to construct; the log4cplus logger is resolved on first enabled use.
class Logger {
public:
    /// Creates the logger `name` (for example "calvoran.kt.KtSipHeader").
    explicit Logger(const char* name);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The logger's name.
    const std::string& getName() const { return m_Name; }
    /// The level configured for this very logger, or -1 (NOT_SET_LOG_LEVEL) when none is set.
    LogLevel getLogLevel() const;
    /// True when a record of `level` would be logged. One comparison while logging is off.
    bool isEnabledFor(LogLevel level) const {
        return level >= sThreshold.load(std::memory_order_relaxed) && isEnabledForSlow(level);
    }
    /// True when trace scopes are to be opened: the level is at most trace, or it is
    /// unset and the underlying log4cplus logger is enabled for trace.
    bool isTraceEnabled() const {
        return sThreshold.load(std::memory_order_relaxed) <= TRACE_LOG_LEVEL && isTraceEnabledSlow();
    }
    /// Logs `message` at `level` without checking the level (callers check first).
    void forcedLog(LogLevel level, const std::string& message, const char* file, int line) const;

    /// Lowest level that any logger may be enabled for; records below it are never formatted.
    /// The default is OFF_LOG_LEVEL: nothing is logged until the application opts in.
    static void sSetThreshold(LogLevel level) { sThreshold.store(level, std::memory_order_relaxed); }
    /// Sets the threshold from the current log4cplus configuration (call after configuring log4cplus).
    static void sRefreshThreshold();
    /// The current threshold.
    static LogLevel sGetThreshold() { return sThreshold.load(std::memory_order_relaxed); }

private:
    bool isEnabledForSlow(LogLevel level) const;
    bool isTraceEnabledSlow() const;
    void* impl() const;

    static std::atomic<int> sThreshold;
    std::string m_Name;
    mutable std::atomic<void*> m_pImpl;
};

/// Logs the entry and exit of an operation at trace level; costs one branch when tracing is off.
class TraceScope {
public:
    /// Opens a scope named `name` ("KtSipHeader::parse", "KtSipAcceptHeader ctor").
    TraceScope(const Logger& logger, const char* name) : m_pLogger(nullptr) {
        if (logger.isTraceEnabled()) open(&logger, name);
    }
    /// As above for an optional logger: nothing is logged when it is null.
    TraceScope(const Logger* logger, const char* name) : m_pLogger(nullptr) {
        if (logger != nullptr && logger->isTraceEnabled()) open(logger, name);
    }
    ~TraceScope() {
        if (m_pLogger) dtorLog();
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

    /// Writes the entry record.
    void ctorLog() const;
    /// Writes the exit record.
    void dtorLog() const;

private:
    // Only a scope that logs stores its name: a disabled one writes nothing but the null logger.
    void open(const Logger* logger, const char* name) {
        m_pLogger = logger;
        m_Name = name;
        ctorLog();
    }

    const Logger* m_pLogger;
    const char* m_Name;  // set when m_pLogger is
};

}  // namespace Torvane

/// Defines the file-scope logger of a source file, created on first use.
#define TORVANE_FILE_LOGGER(NAME)                           \
    namespace {                                             \
    inline const Torvane::Logger& fileLogger() {            \
        static const Torvane::Logger sLogger(NAME);         \
        return sLogger;                                     \
    }                                                       \
    }

/// Logs the streamed expression at LEVEL when the logger is enabled for it. Below the
/// process-wide threshold the logger expression is not even evaluated.
/// The record is formatted in a function of its own (a lambda kept out of line), so that the
/// functions that log keep a small stack frame and no formatting code on their usual path.
#define TORVANE_LOG(LOGGER, LEVEL, EXPR)                                                     \
    do {                                                                                     \
        if ((LEVEL) >= Torvane::Logger::sGetThreshold()) {                                   \
            [&]() __attribute__((noinline, cold)) {                                          \
                const Torvane::Logger& torvaneLogger_ = (LOGGER);                            \
                if (torvaneLogger_.isEnabledFor(LEVEL)) {                                    \
                    std::ostringstream torvaneText_;                                         \
                    torvaneText_ << EXPR;                                                    \
                    torvaneLogger_.forcedLog(LEVEL, torvaneText_.str(), __FILE__, __LINE__); \
                }                                                                            \
            }();                                                                             \
        }                                                                                    \
    } while (0)

#define TORVANE_TRACE(LOGGER, EXPR) TORVANE_LOG(LOGGER, Torvane::TRACE_LOG_LEVEL, EXPR)
#define TORVANE_DEBUG(LOGGER, EXPR) TORVANE_LOG(LOGGER, Torvane::DEBUG_LOG_LEVEL, EXPR)
#define TORVANE_INFO(LOGGER, EXPR) TORVANE_LOG(LOGGER, Torvane::INFO_LOG_LEVEL, EXPR)
#define TORVANE_WARN(LOGGER, EXPR) TORVANE_LOG(LOGGER, Torvane::WARN_LOG_LEVEL, EXPR)
#define TORVANE_ERROR(LOGGER, EXPR) TORVANE_LOG(LOGGER, Torvane::ERROR_LOG_LEVEL, EXPR)

/// Opens a trace scope named NAME on LOGGER for the rest of the enclosing block.
/// The logger expression is evaluated only when the process-wide threshold admits trace
/// records, so a disabled scope costs one load and one branch (no logger look-up).
#define TORVANE_TRACE_SCOPE(LOGGER, NAME)                                                            \
    Torvane::TraceScope torvaneTraceScope_(                                                        \
        Torvane::Logger::sGetThreshold() <= Torvane::TRACE_LOG_LEVEL ? &(LOGGER) : nullptr, (NAME))

#endif
