// The Accept-Encoding header.
#include "KtSipAcceptEncodingHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAcceptEncodingHeader")

KT_SIP_HEADER_REGISTER(KtSipAcceptEncodingHeader, "Accept-Encoding")

// An empty Accept-Encoding is valid (RFC 3261 20.2: only the identity coding is acceptable);
// parameters such as q are kept.
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipAcceptEncodingHeader,
                           KtSipLexer::sTokenSeparators(), true, nullptr, true)
