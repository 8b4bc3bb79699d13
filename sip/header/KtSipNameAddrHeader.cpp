// The name-address header shape.
#include "KtSipNameAddrHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipNameAddrHeader")

KtSipNameAddrHeader::KtSipNameAddrHeader(const KtString& token, HeaderID id)
    : KtSipHeader(token, id), m_nameAddress(new KtSipNameAddress()) {}

KtSipNameAddrHeader::KtSipNameAddrHeader(const KtSipNameAddrHeader& other)
    : KtSipHeader(other),
      m_nameAddress(other.m_nameAddress.isNil() ? new KtSipNameAddress() : other.m_nameAddress->clone()) {}

void KtSipNameAddrHeader::setNameAddress(const KtHandle<KtSipNameAddress>& nameAddress) {
    if (nameAddress.isNil())
        m_nameAddress = new KtSipNameAddress();
    else
        m_nameAddress = nameAddress;
}

void KtSipNameAddrHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipNameAddrHeader::doSerialize");
    out << m_nameAddress;
}

void KtSipNameAddrHeader::parseNameAddress(KtInputStream& in) {
    if (m_nameAddress.isNil()) m_nameAddress = new KtSipNameAddress();
    m_nameAddress->parse(in);
}

void KtSipNameAddrHeader::parseNameAddress(KtInputStream& in, const char* failureMessage) {
    try {
        in >> m_nameAddress;
    } catch (const KtException& e) {
        TORVANE_DEBUG(fileLogger(), getExpandedToken().c_str() << ": name-address rejected: " << e.getMessage());
        KtSipParseError::sThrow(failureMessage);
    }
}
