// The PRACK request.
#include "KtSipPrackMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipPrackMessage")

KT_SIP_METHOD_REGISTER(KtSipPrackMessage, "PRACK")

KtSipPrackMessage::KtSipPrackMessage() {}

KtSipPrackMessage::KtSipPrackMessage(KtHandle<KtSipResponse> response, const void* body, const char* contentType,
                                     unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipPrackMessage ctor");
    if (response.isNil()) KtSipParseError::sThrow("Handle to response is NIL");
    initAcknowledgement(*response, "The SIP PRACK Request is only for INVITE Response", 1, body, contentType,
                        length);
}

KtSipPrackMessage::KtSipPrackMessage(const KtSipPrackMessage& other) : KtSipMethodMessage<KtSipPrackMessage>(other) {}

KtSipPrackMessage::~KtSipPrackMessage() {}
