// Requests of a method without a class of its own.
#ifndef KTSIP_KT_SIP_UNKNOWN_REQUEST_H
#define KTSIP_KT_SIP_UNKNOWN_REQUEST_H

#include "KtSipRequest.h"

/// A request whose method is not registered (UPDATE, PUBLISH, ...). The factory makes it
/// with an empty method; parsing stores the method text as received.
class KtSipUnknownRequest : public KtSipRequest {
public:
    /// A request with an empty method and an empty request URI.
    KtSipUnknownRequest();
    /// A deep copy (see KtSipRequest).
    KtSipUnknownRequest(const KtSipUnknownRequest& other);
    ~KtSipUnknownRequest() override;

    /// A deep copy of the request.
    KtSipUnknownRequest* clone() const override;
};

#endif
