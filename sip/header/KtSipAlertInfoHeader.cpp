// The Alert-Info header.
#include "KtSipAlertInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAlertInfoHeader")

KT_SIP_HEADER_REGISTER(KtSipAlertInfoHeader, "Alert-Info")

KtSipAlertInfoHeader::KtSipAlertInfoHeader() {}

KtSipAlertInfoHeader::KtSipAlertInfoHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAlertInfoHeader ctor");
    parseText(text);
}

KtSipAlertInfoHeader::KtSipAlertInfoHeader(const KtSipAlertInfoHeader& other) : KtSipHeaderImpl(other) {}

KtSipAlertInfoHeader::~KtSipAlertInfoHeader() {}
