// The ACK request.
#include "KtSipAckMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAckMessage")

KT_SIP_METHOD_REGISTER(KtSipAckMessage, "ACK")

KtSipAckMessage::KtSipAckMessage() {}

KtSipAckMessage::KtSipAckMessage(KtHandle<KtSipResponse> response, const void* body, const char* contentType,
                                 unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAckMessage ctor");
    if (response.isNil()) KtSipParseError::sThrow("Handle to response is NIL");
    initAcknowledgement(*response, "The SIP ACK Request is only for INVITE Response", 0, body, contentType, length);
}

KtSipAckMessage::KtSipAckMessage(const KtSipAckMessage& other) : KtSipMethodMessage<KtSipAckMessage>(other) {}

KtSipAckMessage::~KtSipAckMessage() {}
