// The process-wide error stream.
//
// Each line reaches the sink in one call made under a process-wide mutex, so
// lines written from several threads never interleave and the sink can be
// swapped at any time. A sink that writes to the error stream itself would
// deadlock; such nested lines go straight to standard error instead.
#include "KtErrorStream.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>

namespace {

std::mutex sSinkMutex;                      // constant-initialised: usable during static construction
KtErrorStream::Sink sSink = nullptr;        // null: standard error
void* sSinkContext = nullptr;
thread_local bool tInsideSink = false;

// Writes the line and "\n" to file descriptor 2 in one writev, so that even
// other processes sharing the descriptor see whole lines (for lines up to
// PIPE_BUF when it is a pipe). Short writes and EINTR are retried.
void writeStandardError(const char* line, unsigned length) {
    char lineEnd = '\n';
    struct iovec parts[2];
    parts[0].iov_base = const_cast<char*>(line);
    parts[0].iov_len = length;
    parts[1].iov_base = &lineEnd;
    parts[1].iov_len = 1;
    struct iovec* part = parts;
    int count = 2;
    while (count > 0) {
        const ssize_t written = ::writev(STDERR_FILENO, part, count);
        if (written < 0) {
            if (errno == EINTR) continue;
            return;  // nowhere left to report it
        }
        std::size_t left = static_cast<std::size_t>(written);
        while (count > 0 && left >= part->iov_len) {
            left -= part->iov_len;
            ++part;
            --count;
        }
        if (count > 0) {
            part->iov_base = static_cast<char*>(part->iov_base) + left;
            part->iov_len -= left;
        }
    }
}

}  // namespace

KtErrorStream& KtErrorStream::sGetDefault() {
    static KtErrorStream sDefault;
    return sDefault;
}

// The previous sink is reported as null when it was standard error, so that
// handing it back to sSetSink restores exactly what was there.
void KtErrorStream::sSetSink(Sink sink, void* context, Sink* previous, void** previousContext) {
    std::lock_guard<std::mutex> lock(sSinkMutex);
    if (previous) *previous = sSink;
    if (previousContext) *previousContext = sSinkContext;
    sSink = sink;
    sSinkContext = sink ? context : nullptr;
}

void KtErrorStream::writeLine(const char* a, const char* b, const char* c) {
    std::string line;
    if (a) line += a;
    if (b) line += b;
    if (c) line += c;
    emit(line.data(), static_cast<unsigned>(line.size()));
}

KtErrorStream::Line KtErrorStream::getDebugStream(const KtString& name, unsigned level) {
    (void)name;
    (void)level;
    return Line(*this);
}

void KtErrorStream::emit(const char* text, unsigned length) {
    if (tInsideSink) {
        writeStandardError(text, length);
        return;
    }
    std::lock_guard<std::mutex> lock(sSinkMutex);
    if (sSink == nullptr) {
        writeStandardError(text, length);
        return;
    }
    tInsideSink = true;
    try {
        sSink(sSinkContext, text, length);
    } catch (...) {
        // A throwing sink loses its line; the writer (often a destructor) must not fail.
    }
    tInsideSink = false;
}

// The line is what was written, less one line end (LF or CR LF) at its end.
// A Line nothing was written to emits nothing. Line ends inside the text are
// passed on as they stand.
KtErrorStream::Line::~Line() {
    unsigned length = size();
    if (length == 0) return;
    const char* text = data();
    if (text[length - 1] == '\n') {
        --length;
        if (length > 0 && text[length - 1] == '\r') --length;
    }
    try {
        m_Owner.emit(text, length);
    } catch (...) {
    }
}
