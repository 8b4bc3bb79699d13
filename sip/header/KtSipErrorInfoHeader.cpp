// The Error-Info header.
#include "KtSipErrorInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipErrorInfoHeader")

KT_SIP_HEADER_REGISTER(KtSipErrorInfoHeader, "Error-Info")

KtSipErrorInfoHeader::KtSipErrorInfoHeader() {}

KtSipErrorInfoHeader::KtSipErrorInfoHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipErrorInfoHeader ctor");
    parseText(text);
}

KtSipErrorInfoHeader::KtSipErrorInfoHeader(const KtSipErrorInfoHeader& other) : KtSipHeaderImpl(other) {}

KtSipErrorInfoHeader::~KtSipErrorInfoHeader() {}
