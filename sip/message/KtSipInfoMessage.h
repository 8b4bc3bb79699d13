// The INFO request.
#ifndef KTSIP_KT_SIP_INFO_MESSAGE_H
#define KTSIP_KT_SIP_INFO_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An INFO request.
class KtSipInfoMessage : public KtSipMethodMessage<KtSipInfoMessage> {
public:
    /// "INFO".
    static const KtString sMethodName;

    /// An empty INFO request (the form the message factory creates).
    KtSipInfoMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipInfoMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipInfoMessage(const KtSipInfoMessage& other);
    ~KtSipInfoMessage() override;
};

#endif
