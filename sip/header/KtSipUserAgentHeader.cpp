// The User-Agent header.
#include "KtSipUserAgentHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUserAgentHeader")

KT_SIP_HEADER_REGISTER(KtSipUserAgentHeader, "User-Agent")

namespace {
// The product may hold spaces; the version runs to the next comma or the line end, further
// products and comments included ("3.6.1 (belle-sip/1.2.4)"), so nothing of them is lost.
constexpr KtDelimiterSet kProductStops("/(,\r\n");
constexpr KtDelimiterSet kVersionStops(",\r\n");
}  // namespace

KT_SIP_PRODUCT_HEADER_SYNTAX(KtSipUserAgentHeader, kProductStops, kVersionStops, nullptr)
