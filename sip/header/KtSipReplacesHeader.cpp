// The Replaces header.
#include "KtSipReplacesHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReplacesHeader")

KT_SIP_HEADER_REGISTER(KtSipReplacesHeader, "Replaces")
const KtString KtSipReplacesHeader::sToTag(KtString::sStatic("to-tag"));
const KtString KtSipReplacesHeader::sFromTag(KtString::sStatic("from-tag"));

KtSipReplacesHeader::KtSipReplacesHeader() : m_parameters(new KtParameters(';')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader ctor (1)");
}

KtSipReplacesHeader::KtSipReplacesHeader(const char* text) : m_parameters(new KtParameters(';')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader ctor");
    parseText(text);
}

KtSipReplacesHeader::KtSipReplacesHeader(const char* callId, const char* toTag, const char* fromTag)
    : m_parameters(new KtParameters(';')), m_callId(callId) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader ctor (2)");
    m_parameters->setValue(sToTag.c_str(), toTag);
    m_parameters->setValue(sFromTag.c_str(), fromTag);
}

KtSipReplacesHeader::KtSipReplacesHeader(const KtSipReplacesHeader& other)
    : KtSipHeaderImpl(other),
      m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()),
      m_callId(other.m_callId) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader copy ctor");
}


void KtSipReplacesHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader::doParse");
    // The call-id runs to ";" (or the line end when there is none).
    KtString callId;
    callId.mutableBuffer()->parse(in, ";\r\n");
    callId.trim();
    if (callId.empty()) KtSipParseError::sThrow("SIP Replaces header must contain a callid");
    m_callId = KtConstString(callId);

    // The parameters are the whole rest of the line, commas included.
    if (in.peek() == ';') in.read();
    KtString rest;
    rest.mutableBuffer()->parse(in, "\r\n");
    rest.trim();
    m_parameters->parse(rest.c_str());

    if (!m_parameters->hasName(sToTag.c_str())) KtSipParseError::sThrow("SIP Replaces header must contain a to-tag");
    if (!m_parameters->hasName(sFromTag.c_str())) KtSipParseError::sThrow("SIP Replaces header must contain a from-tag");
}

void KtSipReplacesHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReplacesHeader::doSerialize");
    out << m_callId;
    m_parameters->serializeWithLead(out, ';');
}
