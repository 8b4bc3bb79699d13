// Recognizing the start of a SIP message in captured bytes.
#ifndef KTSIP_TOOL_SCAN_SIP_START_H
#define KTSIP_TOOL_SCAN_SIP_START_H

#include <cstddef>

/// Tells whether bytes start like a SIP message: a response line ("SIP/" first), a request
/// line (a method token, a space, a URI and " SIP/" before the line end), or a keep-alive
/// (nothing but CR and LF). The version after "SIP/" is not checked: the parser judges it.
class ScanSipStart {
public:
    enum Answer { No, Yes, NeedMore };

    /// The longest start line looked at; a longer one does not count as SIP.
    static constexpr std::size_t MAX_LINE = 2048;

    /// Whether `bytes` start like SIP; NeedMore when the first line has not ended yet (and
    /// could still be a start line).
    static Answer sCheck(const char* bytes, std::size_t length);

    /// The offset of the first line after offset 0 that starts like SIP (its first line
    /// complete), or `length` when there is none.
    static std::size_t sFindNext(const char* bytes, std::size_t length);
};

#endif
