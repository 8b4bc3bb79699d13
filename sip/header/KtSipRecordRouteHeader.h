// The Record-Route header: one name-address per element.
#ifndef KTSIP_KT_SIP_RECORD_ROUTE_HEADER_H
#define KTSIP_KT_SIP_RECORD_ROUTE_HEADER_H

#include "KtSipNameAddrHeader.h"

/// Record-Route (id 40). A line of several routes becomes a chain of Record-Route headers.
class KtSipRecordRouteHeader
    : public KtSipHeaderImpl<KtSipRecordRouteHeader, HeaderRecordRoute, KtSipNameAddrHeader> {
public:
    static const KtString sToken;  ///< "Record-Route"

    /// An empty name-address.
    KtSipRecordRouteHeader();
    /// Parses the header value `text`; throws KtSipParseError
    /// "Invalid Name-Address in KtSipRecordRouteHeader" when it is not a name-address.
    explicit KtSipRecordRouteHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipRecordRouteHeader(const KtSipRecordRouteHeader& other);
    ~KtSipRecordRouteHeader() override {}

    /// Reads one name-address; any failure becomes KtSipParseError
    /// "Invalid Name-Address in KtSipRecordRouteHeader".
    void doParse(KtInputStream& in) override;
};

#endif
