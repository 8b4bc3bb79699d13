// The REFER request.
#ifndef KTSIP_KT_SIP_REFER_MESSAGE_H
#define KTSIP_KT_SIP_REFER_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A REFER request.
class KtSipReferMessage : public KtSipMethodMessage<KtSipReferMessage> {
public:
    /// "REFER".
    static const KtString sMethodName;

    /// An empty REFER request (the form the message factory creates).
    KtSipReferMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipReferMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipReferMessage(const KtSipReferMessage& other);
    ~KtSipReferMessage() override;
};

#endif
