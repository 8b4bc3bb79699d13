// The Call-ID header.
#include "KtSipCallIdHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCallIdHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipCallIdHeader, "Call-ID", "i")

// A Call-ID ends at white space only: a comma is part of it, so the line is never split.
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipCallIdHeader,
                           KtSipLexer::sWhiteSeparators(), true, "Invalid Call-ID header", false)
