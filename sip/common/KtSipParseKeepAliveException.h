// The exception that reports a keep-alive datagram.
#ifndef KTSIP_KT_SIP_PARSE_KEEP_ALIVE_EXCEPTION_H
#define KTSIP_KT_SIP_PARSE_KEEP_ALIVE_EXCEPTION_H

#include "KtException.h"

/// A keep-alive datagram (one that starts with white space, a slash, CR or LF).
/// Derives from KtException directly, not from KtSipParseError.
class KtSipParseKeepAliveException : public KtException {
public:
    KtSipParseKeepAliveException() : KtException("Keep-alive datagram encountered") {}
    KtSipParseKeepAliveException* clone() const override { return new KtSipParseKeepAliveException(*this); }
    [[noreturn]] void raise() const override { throw *this; }
    /// Throws a new keep-alive exception.
    [[noreturn]] static void sThrow() { throw KtSipParseKeepAliveException(); }
};

#endif
