// The PRACK request.
#ifndef KTSIP_KT_SIP_PRACK_MESSAGE_H
#define KTSIP_KT_SIP_PRACK_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A PRACK request. Built for a reliable provisional response to an INVITE, it is what the
/// ACK would be (same headers and request-URI rule, so a 1xx goes to the To URI) with CSeq
/// number the response's plus one and method "PRACK". The RAck header is not added: add it
/// from the response's RSeq and CSeq. Throws KtSipParseError "Handle to response is NIL"
/// for a nil response and "The SIP PRACK Request is only for INVITE Response" unless the
/// CSeq method is exactly "INVITE".
class KtSipPrackMessage : public KtSipMethodMessage<KtSipPrackMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipPrackMessage)
    KT_SIP_ACKNOWLEDGEMENT_CONSTRUCTOR(KtSipPrackMessage)
};

#endif
