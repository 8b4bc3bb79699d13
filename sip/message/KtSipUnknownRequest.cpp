// Requests of a method without a class of its own.
#include "KtSipUnknownRequest.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUnknownRequest")

KtSipUnknownRequest::KtSipUnknownRequest() {}

KtSipUnknownRequest::KtSipUnknownRequest(const KtSipUnknownRequest& other) : KtSipRequest(other) {}

KtSipUnknownRequest::~KtSipUnknownRequest() {}

KtSipUnknownRequest* KtSipUnknownRequest::clone() const { return new KtSipUnknownRequest(*this); }
