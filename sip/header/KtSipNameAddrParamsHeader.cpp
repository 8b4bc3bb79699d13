// The name-address-with-parameters header shape.
#include "KtSipNameAddrParamsHeader.h"

#include <typeinfo>

TORVANE_FILE_LOGGER("calvoran.kt.KtSipNameAddrParamsHeader")

KtSipNameAddrParamsHeader::KtSipNameAddrParamsHeader(const KtString& token, HeaderID id)
    : KtSipNameAddrHeader(token, id) {}

KtSipNameAddrParamsHeader::KtSipNameAddrParamsHeader(const KtSipNameAddrParamsHeader& other)
    : KtSipNameAddrHeader(other),
      m_parameters(KtParameters::sCloneOf(other.m_parameters.peek())) {}

void KtSipNameAddrParamsHeader::setParameters(const KtHandle<KtParameters>& parameters) {
    m_parameters = parameters;  // nil: an empty list, made on first use
}

void KtSipNameAddrParamsHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipNameAddrParamsHeader::doParse");
    parseNameAddress(in);
    parseParameters(in);
}

void KtSipNameAddrParamsHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipNameAddrParamsHeader::doSerialize");
    out << m_nameAddress;
    serializeParameters(out);
}

void KtSipNameAddrParamsHeader::parseParameters(KtInputStream& in) {
    in.mark(1);
    const int c = in.read();
    // Bytes 0..13 (tab, LF, CR) and the end of the input (-1) end the value; a byte above
    // 127 is negative as a signed byte and ends it too. The character stays consumed.
    if (static_cast<signed char>(c) <= 13 || c < 0) return;
    if (c != ';') in.reset();
    m_parameters.unshared().parse(in, KtParameters::sOwner);
}

void KtSipNameAddrParamsHeader::serializeParameters(KtOutputStream& out) const {
    if (const KtParameters* parameters = m_parameters.peek()) parameters->serializeWithLead(out, ';');
}

void KtSipNameAddrParamsHeader::assignClones(const KtHandle<KtSipNameAddress>& nameAddress,
                                             const KtHandle<KtParameters>& parameters) {
    m_nameAddress = nameAddress.isNil() ? new KtSipNameAddress() : nameAddress->clone();
    m_parameters = KtParameters::sCloneOf(parameters.get());
}

void KtSipNameAddrParamsHeader::assignURL(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters) {
    m_nameAddress = new KtSipNameAddress("", KtHandle<KtURI>(url));
    m_parameters = KtParameters::sCloneOf(parameters.get());
}

void KtSipNameAddrParamsHeader::checkAddress(const char* message, bool fresh) {
    // A fresh name-address holds an empty generic URI as a placeholder: it counts as no URI,
    // so that a header built from a nil name-address or URL is refused.
    if (m_nameAddress.isNil()) KtSipParseError::sThrow(message);
    const KtHandle<KtURI>& uri = m_nameAddress->getURI();
    // (The type is compared last: comparing type_info objects may compare their names.)
    if (uri.isNil() || (uri->getScheme().empty() && uri->getSchemeData().empty() && typeid(*uri.get()) == typeid(KtURI)))
        KtSipParseError::sThrow(message);

    // Only a sip: URL is checked further (a cast, not getURL, which reports other schemes
    // as an assertion failure).
    // The name-address holds the URL for as long as this runs: no reference of its own.
    KtSipURL* const url = ktCast<KtSipURL>(uri.get());
    if (url == nullptr) return;
    // The URL headers are dropped only when the URL has parameters: one without keeps them.
    // Its lists are made on first use, so neither is touched unless it holds something.
    if (!url->hasParameters()) return;
    KtParameters& parameters = *url->getParameters();
    if (fresh) {
        parameters.removeValue("transport", KtParameters::sOwner);
        parameters.removeValue("maddr", KtParameters::sOwner);
        parameters.removeValue("ttl", KtParameters::sOwner);
        if (url->hasHeaders()) url->getHeaders()->clear(KtParameters::sOwner);
        return;
    }
    parameters.removeValue("transport");
    parameters.removeValue("maddr");
    parameters.removeValue("ttl");
    if (url->hasHeaders()) url->getHeaders()->clear();
}
