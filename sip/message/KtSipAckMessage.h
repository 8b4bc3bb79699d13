// The ACK request.
#ifndef KTSIP_KT_SIP_ACK_MESSAGE_H
#define KTSIP_KT_SIP_ACK_MESSAGE_H

#include "KtSipMethodMessage.h"
#include "KtSipResponse.h"

/// An ACK request.
class KtSipAckMessage : public KtSipMethodMessage<KtSipAckMessage> {
public:
    /// "ACK".
    static const KtString sMethodName;

    /// An empty ACK request (the form the message factory creates).
    KtSipAckMessage();
    /// An ACK for `response`, a final response to an INVITE: clones of its From and To (To
    /// with the response's tag) and Call-ID, CSeq with the response's number and method
    /// "ACK". The request URI is the URI of the response's Contact for a 2xx with a Contact,
    /// else the URI of its To. A `length` of 0 adds Content-Length 0, any other sets the
    /// body. Throws KtSipParseError "Handle to response is NIL" for a nil response and "The
    /// SIP ACK Request is only for INVITE Response" unless the CSeq method is exactly
    /// "INVITE". No Via is added (the transport adds it); a header the response lacks is
    /// left out of the ACK.
    explicit KtSipAckMessage(KtHandle<KtSipResponse> response, const void* body = nullptr,
                             const char* contentType = nullptr, unsigned int length = 0);
    /// The request-building constructors of KtSipRequest with method "ACK".
    using KtSipMethodMessage<KtSipAckMessage>::KtSipMethodMessage;

    /// A deep copy (see KtSipRequest).
    KtSipAckMessage(const KtSipAckMessage& other);
    ~KtSipAckMessage() override;
};

#endif
