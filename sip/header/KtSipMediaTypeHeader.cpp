// The media-type header shape (Accept, Content-Type).
#include "KtSipMediaTypeHeader.h"

#include "KtSipLexer.h"

#include <cstring>

#include "KtSipTokenHeader.h"
#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMediaTypeHeader")

namespace {
// A type is a token: it ends at "/", and reaching ";", "," or the line end first means the
// "/" and the subtype are missing.
const KtDelimiterSet& typeDelimiters() {
    static const KtDelimiterSet sSet("/;,\r\n");
    return sSet;
}
}  // namespace

KtSipMediaTypeHeader::KtSipMediaTypeHeader(const KtString& token, HeaderID id)
    : KtSipHeader(token, id) {}

KtSipMediaTypeHeader::KtSipMediaTypeHeader(const KtSipMediaTypeHeader& other)
    : KtSipHeader(other),
      m_type(other.m_type),
      m_subtype(other.m_subtype),
      m_parameters(KtParameters::sCloneOf(other.m_parameters.peek())) {}

void KtSipMediaTypeHeader::setParameters(const KtHandle<KtParameters>& parameters) {
    m_parameters = parameters;  // nil: an empty list, made on first use
}

void KtSipMediaTypeHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMediaTypeHeader::doParse");
    const KtStringTable& words = KtSipLexer::sCommonWords();
    const KtString type = words.parse(in, typeDelimiters(), true);
    KtString subtype;
    if (in.peek() == '/') {
        in.read();
        subtype = words.parse(in, KtSipHeader::sDelimeterSet(), false);
    }
    if (type.empty() || subtype.empty()) KtSipParseError::sThrow("Invalid Accept header");
    m_type = KtConstString(type);
    m_subtype = KtConstString(subtype);

    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == ';') {
        in.read();
        // The list is read from the stream: it ends at "," outside double quotes or at the
        // line end, so a quoted value may hold a comma.
        m_parameters.unshared().parse(in, KtParameters::sOwner);
    }
}

void KtSipMediaTypeHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMediaTypeHeader::doSerialize");
    out << m_type << '/' << m_subtype;
    if (const KtParameters* parameters = m_parameters.peek()) parameters->serializeWithLead(out, ';');
}

KtString KtSipMediaTypeHeader::joinMedia() const {
    KtString media(KtStringBuffer::sCreate(m_type.c_str(), m_type.length(), m_type.length() + m_subtype.length() + 1));
    media.append("/", 1);
    media.append(m_subtype.c_str(), m_subtype.length());
    return media;
}

void KtSipMediaTypeHeader::splitMedia(const char* media) {
    if (!media) {
        m_type.assign("*");
        m_subtype.assign("*");
        return;
    }
    const char* slash = std::strchr(media, '/');
    if (!slash) {
        m_type.assign(media);
        m_subtype.assign("*");
        return;
    }
    m_type.assign(media, static_cast<unsigned>(slash - media));
    m_subtype.assign(slash + 1);
}
