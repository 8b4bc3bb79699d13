// The WWW-Authenticate header.
#include "KtSipWWWAuthenticateHeader.h"

#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipWWWAuthenticateHeader")

KT_SIP_HEADER_REGISTER(KtSipWWWAuthenticateHeader, "WWW-Authenticate")

KtSipWWWAuthenticateHeader::KtSipWWWAuthenticateHeader() {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipWWWAuthenticateHeader ctor");
}

KtSipWWWAuthenticateHeader::KtSipWWWAuthenticateHeader(const KtHandle<KtSipChallengeInfo>& challenge) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipWWWAuthenticateHeader ctor");
    m_Challenge = challenge;
}

KtSipWWWAuthenticateHeader::KtSipWWWAuthenticateHeader(const KtSipWWWAuthenticateHeader& other) = default;

KtSipWWWAuthenticateHeader::~KtSipWWWAuthenticateHeader() = default;
