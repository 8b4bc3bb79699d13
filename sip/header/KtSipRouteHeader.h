// The Route header: one name-address per element.
#ifndef KTSIP_KT_SIP_ROUTE_HEADER_H
#define KTSIP_KT_SIP_ROUTE_HEADER_H

#include "KtSipNameAddrHeader.h"

/// Route (id 47). A line of several routes becomes a chain of Route headers. Route
/// parameters such as lr belong to the URI inside the angle brackets. A value that is not a
/// name-address throws KtSipParseError "Invalid Name-Address in KtSipRouteHeader".
class KtSipRouteHeader : public KtSipHeaderImpl<KtSipRouteHeader, HeaderRoute, KtSipNameAddrHeader> {
    KT_SIP_NAME_ADDR_HEADER_MEMBERS(KtSipRouteHeader)
};

#endif
