// The PRACK request.
#ifndef KTSIP_KT_SIP_PRACK_MESSAGE_H
#define KTSIP_KT_SIP_PRACK_MESSAGE_H

#include "KtSipMethodMessage.h"
#include "KtSipResponse.h"

/// A PRACK request.
class KtSipPrackMessage : public KtSipMethodMessage<KtSipPrackMessage> {
public:
    /// "PRACK".
    static const KtString sMethodName;

    /// An empty PRACK request (the form the message factory creates).
    KtSipPrackMessage();
    /// A PRACK for `response`, a reliable provisional response to an INVITE: as the ACK
    /// (same headers and request-URI rule, so a 1xx goes to the To URI) with CSeq number
    /// the response's plus one and method "PRACK". The RAck header is not added here: add
    /// it from the response's RSeq and CSeq. Throws KtSipParseError "Handle to response is
    /// NIL" for a nil response and "The SIP PRACK Request is only for INVITE Response"
    /// unless the CSeq method is exactly "INVITE".
    explicit KtSipPrackMessage(KtHandle<KtSipResponse> response, const void* body = nullptr,
                               const char* contentType = nullptr, unsigned int length = 0);
    /// The request-building constructors of KtSipRequest with method "PRACK".
    using KtSipMethodMessage<KtSipPrackMessage>::KtSipMethodMessage;

    /// A deep copy (see KtSipRequest).
    KtSipPrackMessage(const KtSipPrackMessage& other);
    ~KtSipPrackMessage() override;
};

#endif
