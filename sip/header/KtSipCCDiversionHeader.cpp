// The CC-Diversion header.
#include "KtSipCCDiversionHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCCDiversionHeader")

KT_SIP_HEADER_REGISTER(KtSipCCDiversionHeader, "CC-Diversion")

KtSipCCDiversionHeader::KtSipCCDiversionHeader() {}

KtSipCCDiversionHeader::KtSipCCDiversionHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCCDiversionHeader ctor");
    parseText(text);
}

KtSipCCDiversionHeader::KtSipCCDiversionHeader(const KtSipCCDiversionHeader& other) : KtSipHeaderImpl(other) {}

KtSipCCDiversionHeader::~KtSipCCDiversionHeader() {}
