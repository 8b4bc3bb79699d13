// The library's error lines as log lines of `ktsip serve`, bounded.
#include "ServeLibraryLog.h"

#include <string>

namespace serve {

namespace {
// Lines of the message being read on this thread, and whether one of them was held back.
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
    if (++tLines > LINES_PER_MESSAGE || m_ShownInWindow >= LINES_PER_SECOND) {
        ++m_HeldLines;
        if (!tHeld) ++m_HeldMessages;
        tHeld = true;
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
    tLines = 0;
    tHeld = false;
}

LibraryLog::Message::~Message() {
    tLines = 0;
    tHeld = false;
}

}  // namespace serve
