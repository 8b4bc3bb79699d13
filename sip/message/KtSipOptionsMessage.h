// The OPTIONS request.
#ifndef KTSIP_KT_SIP_OPTIONS_MESSAGE_H
#define KTSIP_KT_SIP_OPTIONS_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An OPTIONS request.
class KtSipOptionsMessage : public KtSipMethodMessage<KtSipOptionsMessage> {
public:
    /// "OPTIONS".
    static const KtString sMethodName;

    /// An empty OPTIONS request (the form the message factory creates).
    KtSipOptionsMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipOptionsMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipOptionsMessage(const KtSipOptionsMessage& other);
    ~KtSipOptionsMessage() override;
};

#endif
