// The Allow-Events header.
#ifndef KTSIP_KT_SIP_ALLOW_EVENTS_HEADER_H
#define KTSIP_KT_SIP_ALLOW_EVENTS_HEADER_H

#include "KtSipTokenHeader.h"

/// Allow-Events: one event type per header object. An empty value throws KtSipParseError "Empty
/// event-type in Allow-Events header".
class KtSipAllowEventsHeader
    : public KtSipHeaderImpl<KtSipAllowEventsHeader, HeaderAllowEvents, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipAllowEventsHeader)
};

#endif
