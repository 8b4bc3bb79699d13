// Headers without a class of their own.
#include "KtSipUnknownHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUnknownHeader")

KtSipUnknownHeader::KtSipUnknownHeader(const char* name)
    : KtSipHeader(KtString(name ? name : ""), HeaderUnknown), m_Value(""), m_Name(m_Token) {}

KtSipUnknownHeader::KtSipUnknownHeader(const char* name, const char* value)
    : KtSipHeader(KtString(name ? name : ""), HeaderUnknown), m_Value(value ? value : ""), m_Name(m_Token) {}

KtSipUnknownHeader::KtSipUnknownHeader(const KtSipUnknownHeader& other)
    : KtSipHeader(other), m_Value(other.m_Value), m_Name(other.m_Name) {}

KtSipUnknownHeader::~KtSipUnknownHeader() {}

KtSipHeader* KtSipUnknownHeader::clone() const { return new KtSipUnknownHeader(*this); }

void KtSipUnknownHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUnknownHeader::doParse");
    static const KtDelimiterSet lineEnd("\r\n");
    m_Value = KtString();
    m_Value.mutableBuffer()->parse(in, lineEnd);
}

void KtSipUnknownHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUnknownHeader::doSerialize");
    out << m_Value;
}
