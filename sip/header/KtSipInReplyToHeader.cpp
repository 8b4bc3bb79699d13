// The In-Reply-To header.
#include "KtSipInReplyToHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipInReplyToHeader")

KT_SIP_HEADER_REGISTER(KtSipInReplyToHeader, "In-Reply-To")

namespace {
// In-Reply-To carries a comma-separated list of Call-IDs (RFC 3261 20.21). Each Call-ID is
// read as Call-ID reads one, except that a comma ends it too, so that the list becomes a
// chain of one Call-ID per object instead of a first value that swallows the comma.
constexpr KtDelimiterSet kCallIdListStops(" \t\r\n,");
}  // namespace

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipInReplyToHeader, kCallIdListStops, true, "Invalid Call-ID header", false)
