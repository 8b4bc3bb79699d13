// The CANCEL request.
#ifndef KTSIP_KT_SIP_CANCEL_MESSAGE_H
#define KTSIP_KT_SIP_CANCEL_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A CANCEL request.
class KtSipCancelMessage : public KtSipMethodMessage<KtSipCancelMessage> {
public:
    /// "CANCEL".
    static const KtString sMethodName;

    /// An empty CANCEL request (the form the message factory creates).
    KtSipCancelMessage() = default;
    /// A CANCEL of `request`: clones of its From, To and Call-ID, the same request URI (a
    /// copy), CSeq with the request's number and method "CANCEL", clones of its Via headers
    /// in order, and Content-Length 0. A header the request lacks is left out of the CANCEL.
    /// Throws KtSipParseError "Handle to request is NIL" for a nil request.
    explicit KtSipCancelMessage(KtHandle<KtSipRequest> request);
    /// A deep copy (see KtSipRequest).
    KtSipCancelMessage(const KtSipCancelMessage& other) = default;
};

#endif
