// The URI-with-parameters header shape (Alert-Info, Error-Info, Call-Info).
#include "KtSipUriParamsHeader.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUriParamsHeader")

KtSipUriParamsHeader::KtSipUriParamsHeader(const KtString& token, HeaderID id)
    : KtSipHeader(token, id), m_parameters(new KtParameters(';')) {}

KtSipUriParamsHeader::KtSipUriParamsHeader(const KtSipUriParamsHeader& other)
    : KtSipHeader(other),
      m_uri(other.m_uri.isNil() ? nullptr : other.m_uri->clone()),
      m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()) {}

KtSipUriParamsHeader::~KtSipUriParamsHeader() {}

void KtSipUriParamsHeader::setParameters(const KtHandle<KtParameters>& parameters) {
    if (parameters.isNil())
        m_parameters = new KtParameters(';');
    else
        m_parameters = parameters;
}

void KtSipUriParamsHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUriParamsHeader::doParse");
    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == '"') {
        // The quotes delimit the URI the way angle brackets do, so the URI is read as in
        // brackets: parameters inside the quotes belong to it.
        const KtString quoted = KtStreamTokenizer::sGetQuote(in);
        KtByteArrayInputStream uriIn(quoted.c_str(), quoted.length());
        m_uri = KtURI::sConstructFrom(uriIn, true);
    } else {
        m_uri = KtURI::sConstructFrom(in, false);
    }

    KtStreamTokenizer::sDiscardWhite(in);
    in.mark(1);
    const int c = in.read();
    // The end of the input, CR and LF (any byte of 13 or below as a signed byte) end the
    // value; the character stays consumed.
    if (static_cast<signed char>(c) <= 13) return;
    if (c != ';') in.reset();
    m_parameters->parse(in, KtParameters::sOwner);
}

void KtSipUriParamsHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUriParamsHeader::doSerialize");
    out << '"';
    if (!m_uri.isNil()) m_uri->serialize(out);
    out << '"';
    m_parameters->serializeWithLead(out, ';');
}
