// The To header.
#include "KtSipToHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipToHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipToHeader, "To", "t")
const KtString KtSipToHeader::sTagToken(KtString::sStatic("tag"));

KT_SIP_ADDRESS_HEADER_DEFINE(KtSipToHeader, " ctor(", checkValidity())

KtSipToHeader::KtSipToHeader(const KtSipToHeader& other) : KtSipCompactHeaderImpl(other) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipToHeader copy ctor");
    checkValidity();
}

void KtSipToHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipToHeader::doParse");
    KtSipNameAddrParamsHeader::doParse(in);
    checkAddress("Invalid To header", true);  // the URL was just parsed: no other thread has it
}

void KtSipToHeader::checkValidity() {
    checkAddress("Invalid To header");
}
