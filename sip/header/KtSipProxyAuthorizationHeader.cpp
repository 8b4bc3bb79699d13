// The Proxy-Authorization header.
#include "KtSipProxyAuthorizationHeader.h"

#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProxyAuthorizationHeader")

KT_SIP_HEADER_REGISTER(KtSipProxyAuthorizationHeader, "Proxy-Authorization")

KtSipProxyAuthorizationHeader::KtSipProxyAuthorizationHeader() {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipProxyAuthorizationHeader ctor");
}

KtSipProxyAuthorizationHeader::KtSipProxyAuthorizationHeader(const KtHandle<KtSipCredentialsInfo>& credentials) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipProxyAuthorizationHeader ctor");
    m_Credentials = credentials;
}

KtSipProxyAuthorizationHeader::KtSipProxyAuthorizationHeader(const KtSipProxyAuthorizationHeader& other) = default;

KtSipProxyAuthorizationHeader::~KtSipProxyAuthorizationHeader() = default;
