// The Accept header.
#include "KtSipAcceptHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAcceptHeader")

KT_SIP_HEADER_REGISTER(KtSipAcceptHeader, "Accept")

KtSipAcceptHeader::KtSipAcceptHeader() {}

KtSipAcceptHeader::KtSipAcceptHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAcceptHeader ctor");
    parseText(text);
}

KtSipAcceptHeader::KtSipAcceptHeader(const KtSipAcceptHeader& other) : KtSipHeaderImpl(other) {}
