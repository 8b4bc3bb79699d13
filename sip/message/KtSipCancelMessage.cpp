// The CANCEL request.
#include "KtSipCancelMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCancelMessage")

KT_SIP_METHOD_REGISTER(KtSipCancelMessage, "CANCEL")

KtSipCancelMessage::KtSipCancelMessage(KtHandle<KtSipRequest> request) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCancelMessage ctor");
    if (request.isNil()) KtSipParseError::sThrow("Handle to request is NIL");
    addCopyOf(*request, HeaderFrom);
    addCopyOf(*request, HeaderTo);
    setURI(request->getURI());
    addCopyOf(*request, HeaderCallId);
    addNextCSeq(*request, 0);
    addHeader(request->cloneHeaderChain(HeaderVia), false);
    addBody(nullptr, nullptr, 0);
}
