// Logger over log4cplus and the trace scope records.
//
// A Logger resolves its log4cplus logger on first use that passes the
// process-wide threshold: until the application configures log4cplus and calls
// sRefreshThreshold(), no log4cplus call is ever made from a level check.
#include "TorvaneLogger.h"

#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>

#include <algorithm>

namespace Torvane {

std::atomic<int> Logger::sThreshold{OFF_LOG_LEVEL};

Logger::Logger(const char* name) : m_Name(name ? name : ""), m_pImpl(nullptr) {}

Logger::~Logger() {
    delete static_cast<log4cplus::Logger*>(m_pImpl.load(std::memory_order_acquire));
}

// The log4cplus logger, created on first call. Two threads racing here may both
// build one; the loser deletes its copy (both name the same log4cplus logger).
void* Logger::impl() const {
    void* p = m_pImpl.load(std::memory_order_acquire);
    if (p != nullptr) return p;
    log4cplus::Logger* created = new log4cplus::Logger(log4cplus::Logger::getInstance(m_Name));
    void* expected = nullptr;
    if (m_pImpl.compare_exchange_strong(expected, created, std::memory_order_acq_rel)) return created;
    delete created;
    return expected;
}

LogLevel Logger::getLogLevel() const {
    return static_cast<log4cplus::Logger*>(impl())->getLogLevel();
}

bool Logger::isEnabledForSlow(LogLevel level) const {
    return static_cast<log4cplus::Logger*>(impl())->isEnabledFor(level);
}

bool Logger::isTraceEnabledSlow() const {
    const LogLevel level = getLogLevel();
    if (level != NOT_SET_LOG_LEVEL) return level <= TRACE_LOG_LEVEL;
    return static_cast<log4cplus::Logger*>(impl())->isEnabledFor(log4cplus::TRACE_LOG_LEVEL);
}

void Logger::forcedLog(LogLevel level, const std::string& message, const char* file, int line) const {
    static_cast<log4cplus::Logger*>(impl())->forcedLog(level, message, file ? file : "", line);
}

// The threshold becomes the lowest level set on any existing log4cplus logger,
// the root included: a logger whose level is unset inherits from an ancestor,
// which is either in that list or the root. Loggers configured later need
// another call. When log4cplus cannot be asked, tracing is let through
// (the per-logger check still decides), which is slower but never loses records.
void Logger::sRefreshThreshold() {
    LogLevel lowest = OFF_LOG_LEVEL;
    try {
        const LogLevel root = log4cplus::Logger::getRoot().getLogLevel();
        lowest = root == NOT_SET_LOG_LEVEL ? TRACE_LOG_LEVEL : root;
        for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers()) {
            const LogLevel level = logger.getLogLevel();
            if (level != NOT_SET_LOG_LEVEL) lowest = std::min(lowest, level);
        }
    } catch (...) {
        lowest = TRACE_LOG_LEVEL;
    }
    sSetThreshold(lowest);
}

// Trace records read "Entering <name>" and "Exiting <name>", at trace level.
// They carry no source position: the scope name already says where they come
// from. A failure to log (out of memory, a throwing appender) is swallowed: the
// exit record is written from a destructor, and tracing must never change what
// the traced operation does.
namespace {
void traceRecord(const Logger& logger, const char* prefix, const char* name) noexcept {
    try {
        std::string text(prefix);
        text += name ? name : "";
        logger.forcedLog(TRACE_LOG_LEVEL, text, nullptr, -1);
    } catch (...) {
    }
}
}  // namespace

void TraceScope::ctorLog() const { traceRecord(*m_pLogger, "Entering ", m_Name); }

void TraceScope::dtorLog() const { traceRecord(*m_pLogger, "Exiting ", m_Name); }

}  // namespace Torvane
