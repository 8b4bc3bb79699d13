// The From header.
#include "KtSipFromHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipFromHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipFromHeader, "From", "f")

KT_SIP_ADDRESS_HEADER_DEFINE(KtSipFromHeader, " ctor (", checkValidity())

KtSipFromHeader::KtSipFromHeader(const KtSipFromHeader& other) : KtSipCompactHeaderImpl(other) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipFromHeader copy ctor");
    checkValidity();
}

void KtSipFromHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipFromHeader::doParse");
    KtSipNameAddrParamsHeader::doParse(in);
    checkAddress("Invalid From header", true);  // the URL was just parsed: no other thread has it
}

void KtSipFromHeader::checkValidity() {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipFromHeader::checkValidity");
    checkAddress("Invalid From header");
}
