// The exception of malformed SIP text.
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

#endif
