// The Record-Route header: one name-address per element.
#ifndef KTSIP_KT_SIP_RECORD_ROUTE_HEADER_H
#define KTSIP_KT_SIP_RECORD_ROUTE_HEADER_H

#include "KtSipNameAddrHeader.h"

/// Record-Route (id 40). A line of several routes becomes a chain of Record-Route headers.
/// A value that is not a name-address throws KtSipParseError
/// "Invalid Name-Address in KtSipRecordRouteHeader".
class KtSipRecordRouteHeader : public KtSipHeaderImpl<KtSipRecordRouteHeader, HeaderRecordRoute, KtSipNameAddrHeader> {
    KT_SIP_NAME_ADDR_HEADER_MEMBERS(KtSipRecordRouteHeader)
};

#endif
