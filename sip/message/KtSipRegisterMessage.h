// The REGISTER request.
#ifndef KTSIP_KT_SIP_REGISTER_MESSAGE_H
#define KTSIP_KT_SIP_REGISTER_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A REGISTER request.
class KtSipRegisterMessage : public KtSipMethodMessage<KtSipRegisterMessage> {
public:
    /// "REGISTER".
    static const KtString sMethodName;

    /// An empty REGISTER request (the form the message factory creates).
    KtSipRegisterMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipRegisterMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipRegisterMessage(const KtSipRegisterMessage& other);
    ~KtSipRegisterMessage() override;
};

#endif
