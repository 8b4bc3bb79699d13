// The Proxy-Authenticate header.
#include "KtSipProxyAuthenticateHeader.h"

#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProxyAuthenticateHeader")

KT_SIP_HEADER_REGISTER(KtSipProxyAuthenticateHeader, "Proxy-Authenticate")

KtSipProxyAuthenticateHeader::KtSipProxyAuthenticateHeader() {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipProxyAuthenticateHeader ctor");
}

KtSipProxyAuthenticateHeader::KtSipProxyAuthenticateHeader(const KtHandle<KtSipChallengeInfo>& challenge) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipProxyAuthenticateHeader ctor");
    m_Challenge = challenge;
}

KtSipProxyAuthenticateHeader::KtSipProxyAuthenticateHeader(const KtSipProxyAuthenticateHeader& other) = default;

KtSipProxyAuthenticateHeader::~KtSipProxyAuthenticateHeader() = default;
