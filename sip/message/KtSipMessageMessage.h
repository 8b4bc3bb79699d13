// The MESSAGE request.
#ifndef KTSIP_KT_SIP_MESSAGE_MESSAGE_H
#define KTSIP_KT_SIP_MESSAGE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A MESSAGE request.
class KtSipMessageMessage : public KtSipMethodMessage<KtSipMessageMessage> {
public:
    /// "MESSAGE".
    static const KtString sMethodName;

    /// An empty MESSAGE request (the form the message factory creates).
    KtSipMessageMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipMessageMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipMessageMessage(const KtSipMessageMessage& other);
    ~KtSipMessageMessage() override;
};

#endif
