// The Proxy-Require header.
#include "KtSipProxyRequireHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProxyRequireHeader")

KT_SIP_HEADER_REGISTER(KtSipProxyRequireHeader, "Proxy-Require")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipProxyRequireHeader,
                           KtSipLexer::sListSeparators(), false, nullptr, false)
