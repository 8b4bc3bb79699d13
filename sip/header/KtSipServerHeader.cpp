// The Server header.
#include "KtSipServerHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipServerHeader")

KT_SIP_HEADER_REGISTER(KtSipServerHeader, "Server")

namespace {
// The product is one word; the version is the rest of the line.
constexpr KtDelimiterSet kProductStops(" /(\r\n\t");
}  // namespace

KT_SIP_PRODUCT_HEADER_SYNTAX(KtSipServerHeader, kProductStops, KtSipLexer::sLineEnd(),
                             "Error serializing KtSipServerHeader")
