// The library's error lines as log lines of `ktsip serve`, bounded.
#ifndef KTSIP_TOOL_SERVE_LIBRARY_LOG_H
#define KTSIP_TOOL_SERVE_LIBRARY_LOG_H

#include <cstdint>
#include <mutex>

#include "ServeCommon.h"

namespace serve {

/// Takes the lines the library writes to its error stream (one message can make thousands:
/// one per unreadable header line) and logs at most LINES_PER_MESSAGE of them per received
/// message and LINES_PER_SECOND in all. The lines held back are counted and summed up once
/// per second, as "library: N more lines from M messages in the last second not shown".
/// Every line is counted in Counters (library_log_lines), shown or not.
class LibraryLog {
public:
    static const unsigned LINES_PER_MESSAGE = 3;
    static const unsigned LINES_PER_SECOND = 20;

    /// `show`: log the lines (false with --quiet: they are only counted).
    LibraryLog(Counters& counters, bool show);
    /// One line of the library (the error stream's sink).
    void line(const char* text, unsigned length);
    /// Logs the summary of the lines held back, if any.
    void flush();
    /// As flush(), once the second in which they were held back has passed (called by a
    /// timer, so that a flood that stopped is summed up too).
    void flushIfDue();

    /// Marks the reading of one message on the current thread, for the per-message limit.
    class Message {
    public:
        Message();
        ~Message();
        Message(const Message&) = delete;
        Message& operator=(const Message&) = delete;
    };

private:
    void flushLocked();

    Counters& m_Counters;
    const bool m_Show;
    std::mutex m_Mutex;
    Clock::time_point m_WindowStart;
    unsigned m_ShownInWindow = 0;
    std::uint64_t m_HeldLines = 0;
    std::uint64_t m_HeldMessages = 0;
};

}  // namespace serve

#endif
