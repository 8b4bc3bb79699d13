// The Organization header.
#include "KtSipOrganizationHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipOrganizationHeader")

KT_SIP_HEADER_REGISTER(KtSipOrganizationHeader, "Organization")

namespace {
const KtDelimiterSet& noStops() {
    static const KtDelimiterSet sSet("");
    return sSet;
}
}  // namespace

// The whole rest of the line is the value (commas included); trimming drops the line end.
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipOrganizationHeader, noStops(), true, nullptr, false)
