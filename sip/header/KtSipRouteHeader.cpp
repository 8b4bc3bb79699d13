// The Route header.
#include "KtSipRouteHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRouteHeader")

KT_SIP_HEADER_REGISTER(KtSipRouteHeader, "Route")

KtSipRouteHeader::KtSipRouteHeader() {}

KtSipRouteHeader::KtSipRouteHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRouteHeader ctor");
    parseText(text);
}

KtSipRouteHeader::KtSipRouteHeader(const KtSipRouteHeader& other) : KtSipHeaderImpl(other) {}

void KtSipRouteHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRouteHeader::doParse");
    parseNameAddress(in, "Invalid Name-Address in KtSipRouteHeader");
}
