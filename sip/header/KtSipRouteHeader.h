// The Route header: one name-address per element.
#ifndef KTSIP_KT_SIP_ROUTE_HEADER_H
#define KTSIP_KT_SIP_ROUTE_HEADER_H

#include "KtSipNameAddrHeader.h"

/// Route (id 47). A line of several routes becomes a chain of Route headers. Route
/// parameters such as lr belong to the URI inside the angle brackets.
class KtSipRouteHeader : public KtSipHeaderImpl<KtSipRouteHeader, HeaderRoute, KtSipNameAddrHeader> {
public:
    static const KtString sToken;  ///< "Route"

    /// An empty name-address.
    KtSipRouteHeader();
    /// Parses the header value `text`; throws KtSipParseError
    /// "Invalid Name-Address in KtSipRouteHeader" when it is not a name-address.
    explicit KtSipRouteHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipRouteHeader(const KtSipRouteHeader& other);
    ~KtSipRouteHeader() override {}

    /// Reads one name-address; any failure becomes KtSipParseError
    /// "Invalid Name-Address in KtSipRouteHeader".
    void doParse(KtInputStream& in) override;
};

#endif
