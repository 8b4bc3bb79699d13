// The WWW-Authenticate header.
#ifndef KTSIP_KT_SIP_WWW_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_WWW_AUTHENTICATE_HEADER_H

#include "KtSipAuthenticateHeader.h"

/// The WWW-Authenticate header (RFC 3261 20.44): the challenge of a user agent server.
class KtSipWWWAuthenticateHeader
    : public KtSipHeaderImpl<KtSipWWWAuthenticateHeader, HeaderWWWAuthenticate, KtSipAuthenticateHeader> {
    KT_SIP_HEADER_VALUE_MEMBERS(KtSipWWWAuthenticateHeader, KtSipChallengeInfo)
};

#endif
