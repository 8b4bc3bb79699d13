// The CANCEL request.
#include "KtSipCancelMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCancelMessage")

KT_SIP_METHOD_REGISTER(KtSipCancelMessage, "CANCEL")

KtSipCancelMessage::KtSipCancelMessage() {}

KtSipCancelMessage::KtSipCancelMessage(KtHandle<KtSipRequest> request) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCancelMessage ctor");
    if (request.isNil()) KtSipParseError::sThrow("Handle to request is NIL");
    addCopyOf(*request, HeaderFrom);
    addCopyOf(*request, HeaderTo);
    setURI(request->getURI());
    addCopyOf(*request, HeaderCallId);
    // A request without CSeq gives a CANCEL without one (as invalid as its source).
    const KtHandle<KtSipCSeqHeader> cseq = sCSeqOf(*request);
    if (!cseq.isNil()) addCSeq(cseq->getNumber());
    addHeader(request->cloneHeaderChain(HeaderVia), false);
    addBody(nullptr, nullptr, 0);
}

KtSipCancelMessage::KtSipCancelMessage(const KtSipCancelMessage& other) : KtSipMethodMessage<KtSipCancelMessage>(other) {}

KtSipCancelMessage::~KtSipCancelMessage() {}
