// The Call-Info header.
#include "KtSipCallInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCallInfoHeader")

// Deliberately left out of the header registry: a received Call-Info line stays an
// unknown header.
KT_SIP_HEADER_UNREGISTERED(KtSipCallInfoHeader, "Call-Info")

KtSipCallInfoHeader::KtSipCallInfoHeader() {}

KtSipCallInfoHeader::KtSipCallInfoHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCallInfoHeader ctor");
    parseText(text);
}

KtSipCallInfoHeader::KtSipCallInfoHeader(const KtSipCallInfoHeader& other) : KtSipHeaderImpl(other) {}

KtSipCallInfoHeader::~KtSipCallInfoHeader() {}
