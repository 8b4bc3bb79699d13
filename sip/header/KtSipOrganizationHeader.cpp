// The Organization header.
#include "KtSipOrganizationHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipOrganizationHeader")

KT_SIP_HEADER_REGISTER(KtSipOrganizationHeader, "Organization")

namespace {
// The whole rest of the line is the value (commas included); trimming drops the line end.
constexpr KtDelimiterSet kNoStops(nullptr);
}  // namespace

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipOrganizationHeader, kNoStops, true, nullptr, false)
