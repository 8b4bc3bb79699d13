// The SUBSCRIBE request.
#ifndef KTSIP_KT_SIP_SUBSCRIBE_MESSAGE_H
#define KTSIP_KT_SIP_SUBSCRIBE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A SUBSCRIBE request.
class KtSipSubscribeMessage : public KtSipMethodMessage<KtSipSubscribeMessage> {
public:
    /// "SUBSCRIBE".
    static const KtString sMethodName;

    /// An empty SUBSCRIBE request (the form the message factory creates).
    KtSipSubscribeMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipSubscribeMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipSubscribeMessage(const KtSipSubscribeMessage& other);
    ~KtSipSubscribeMessage() override;
};

#endif
