// The library's error lines as log lines of `ktsip serve`, bounded.
#include "ServeLibraryLog.h"

#include <string>

namespace serve {

namespace {
// Whether this thread is reading a message, its lines so far, and whether one of them was
// held back. Lines outside a message (made by timers) have only the per-second limit.
thread_local bool tInMessage = false;
thread_local unsigned tLines = 0;
thread_local bool tHeld = false;
}  // namespace

LibraryLog::LibraryLog(Counters& counters, bool show)
    : m_Counters(counters), m_Show(show), m_WindowStart(Clock::now()) {}

void LibraryLog::line(const char* text, unsigned length) {
    if (MuteLibraryLines::active()) return;
    m_Counters.libraryLogLine();
    if (!m_Show) return;
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (Clock::now() - m_WindowStart >= std::chrono::seconds(1)) flushLocked();
    if ((tInMessage && ++tLines > LINES_PER_MESSAGE) || m_ShownInWindow >= LINES_PER_SECOND) {
        ++m_HeldLines;
        if (tInMessage && !tHeld) ++m_HeldMessages;
        tHeld = tInMessage;
        return;
    }
    ++m_ShownInWindow;
    log("library: " + std::string(text, length));
}

void LibraryLog::flush() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    flushLocked();
}

void LibraryLog::flushIfDue() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_HeldLines != 0 && Clock::now() - m_WindowStart >= std::chrono::seconds(1)) flushLocked();
}

void LibraryLog::flushLocked() {
    if (m_HeldLines != 0)
        log("library: " + std::to_string(m_HeldLines) + " more lines from " + std::to_string(m_HeldMessages) +
            (m_HeldMessages == 1 ? " message" : " messages") + " in the last second not shown");
    m_HeldLines = 0;
    m_HeldMessages = 0;
    m_ShownInWindow = 0;
    m_WindowStart = Clock::now();
}

LibraryLog::Message::Message() {
    tInMessage = true;
    tLines = 0;
    tHeld = false;
}

LibraryLog::Message::~Message() {
    tInMessage = false;
    tLines = 0;
    tHeld = false;
}

}  // namespace serve
