// The Content-Type header.
#include "KtSipContentTypeHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentTypeHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipContentTypeHeader, "Content-Type", "c")

KtSipContentTypeHeader::KtSipContentTypeHeader() {}

KtSipContentTypeHeader::KtSipContentTypeHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentTypeHeader ctor");
    parseText(text);
}

KtSipContentTypeHeader::KtSipContentTypeHeader(const KtSipContentTypeHeader& other) : KtSipCompactHeaderImpl(other) {}
