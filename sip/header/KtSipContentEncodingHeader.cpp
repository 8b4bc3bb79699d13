// The Content-Encoding header.
#include "KtSipContentEncodingHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentEncodingHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipContentEncodingHeader, "Content-Encoding", "e")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipContentEncodingHeader,
                           KtSipLexer::sTokenSeparators(), true, "Invalid Content-Encoding header", false)
