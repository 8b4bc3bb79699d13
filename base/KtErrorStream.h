// The process-wide error stream to which parse failures are reported.
#ifndef KTSIP_KT_ERROR_STREAM_H
#define KTSIP_KT_ERROR_STREAM_H

#include "KtOutputStream.h"
#include "KtString.h"

/// Error output shared by the whole process. Text is written line by line; each completed
/// line is handed to the sink as one call, under a lock, so lines from several threads never
/// mix. The default sink writes to standard error; applications (and the ktsip tool) install
/// their own with sSetSink.
class KtErrorStream {
public:
    /// Receives one line, without its line end.
    typedef void (*Sink)(void* context, const char* line, unsigned length);

    /// The default error stream.
    static KtErrorStream& sGetDefault();
    /// Installs `sink` (null restores standard error). Returns the previous sink and context.
    static void sSetSink(Sink sink, void* context, Sink* previous = nullptr, void** previousContext = nullptr);

    /// Writes one line made of the given pieces (null pieces are skipped).
    void writeLine(const char* a, const char* b = nullptr, const char* c = nullptr);

    /// A stream for one line: everything written to it up to the end of the stream's life is
    /// handed to the sink as one line (a trailing LF is dropped). `name` and `level` are accepted
    /// for compatibility and not used.
    class Line : public KtByteArrayOutputStream {
    public:
        explicit Line(KtErrorStream& owner) : KtByteArrayOutputStream(256), m_Owner(owner) {}
        ~Line() override;

    private:
        KtErrorStream& m_Owner;
    };
    Line getDebugStream(const KtString& name, unsigned level);

private:
    KtErrorStream() = default;
    void emit(const char* text, unsigned length);
};

#endif
