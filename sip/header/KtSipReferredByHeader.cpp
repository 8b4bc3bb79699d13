// The Referred-By header.
#include "KtSipReferredByHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReferredByHeader")

KT_SIP_HEADER_REGISTER(KtSipReferredByHeader, "Referred-By")

KtSipReferredByHeader::KtSipReferredByHeader() {}

KtSipReferredByHeader::KtSipReferredByHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferredByHeader ctor (1)");
    parseText(text);
}

KtSipReferredByHeader::KtSipReferredByHeader(const KtHandle<KtSipNameAddress>& nameAddress,
                                             const KtHandle<KtParameters>& parameters) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferredByHeader ctor (2)");
    assignClones(nameAddress, parameters);
}

KtSipReferredByHeader::KtSipReferredByHeader(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferredByHeader ctor (3)");
    assignURL(url, parameters);
}

KtSipReferredByHeader::KtSipReferredByHeader(const KtSipReferredByHeader& other) : KtSipHeaderImpl(other) {}

KtSipReferredByHeader::~KtSipReferredByHeader() {}

