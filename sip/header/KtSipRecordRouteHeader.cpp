// The Record-Route header.
#include "KtSipRecordRouteHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRecordRouteHeader")

KT_SIP_HEADER_REGISTER(KtSipRecordRouteHeader, "Record-Route")

KtSipRecordRouteHeader::KtSipRecordRouteHeader() {}

KtSipRecordRouteHeader::KtSipRecordRouteHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRecordRouteHeader ctor");
    parseText(text);
}

KtSipRecordRouteHeader::KtSipRecordRouteHeader(const KtSipRecordRouteHeader& other) : KtSipHeaderImpl(other) {}

void KtSipRecordRouteHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRecordRouteHeader::doParse");
    parseNameAddress(in, "Invalid Name-Address in KtSipRecordRouteHeader");
}
