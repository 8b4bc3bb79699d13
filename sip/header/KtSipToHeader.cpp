// The To header.
#include "KtSipToHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipToHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipToHeader, "To", "t")
const KtString KtSipToHeader::sTagToken(KtString::sStatic("tag"));

KtSipToHeader::KtSipToHeader() {}

KtSipToHeader::KtSipToHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipToHeader ctor(1)");
    parseText(text);
    checkValidity();
}

KtSipToHeader::KtSipToHeader(const KtHandle<KtSipNameAddress>& nameAddress,
                             const KtHandle<KtParameters>& parameters) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipToHeader ctor(2)");
    assignClones(nameAddress, parameters);
    checkValidity();
}

KtSipToHeader::KtSipToHeader(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipToHeader ctor(3)");
    assignURL(url, parameters);
    checkValidity();
}

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
