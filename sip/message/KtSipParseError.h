// The exceptions of SIP parsing.
#ifndef KTSIP_KT_SIP_PARSE_ERROR_H
#define KTSIP_KT_SIP_PARSE_ERROR_H

#include "KtException.h"

/// Malformed SIP text. Every parse failure of the library is raised through sThrow.
class KtSipParseError : public KtException {
public:
    explicit KtSipParseError(const char* message) : KtException(message) {}
    KtSipParseError* clone() const override { return new KtSipParseError(*this); }
    [[noreturn]] void raise() const override { throw *this; }
    /// Throws a new KtSipParseError carrying `message`.
    [[noreturn]] static void sThrow(const char* message) { throw KtSipParseError(message); }
};

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
