// The Event header.
#ifndef KTSIP_KT_SIP_EVENT_HEADER_H
#define KTSIP_KT_SIP_EVENT_HEADER_H

#include "KtSipTokenHeader.h"

/// Event: the event type and its parameters (for example "refer;id=93809824"). An empty event
/// type throws KtSipParseError "Empty value in Event header".
class KtSipEventHeader : public KtSipHeaderImpl<KtSipEventHeader, HeaderEvent, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipEventHeader)
};

#endif
