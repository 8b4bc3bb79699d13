// The token/text header shape and the separator sets of the token grammar.
#include "KtSipTokenHeader.h"

#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipTokenHeader")

KtSipTokenHeader::KtSipTokenHeader(const KtSipTokenHeader& other)
    : KtSipHeader(other),
      m_Value(other.m_Value),
      m_Parameters(other.m_Parameters.isNil() ? nullptr : other.m_Parameters->clone()) {}

void KtSipTokenHeader::setParameter(const char* name, const char* value) {
    if (m_Parameters.isNil()) m_Parameters = new KtParameters(';');
    m_Parameters->setValue(name, value);
}

namespace {
// The table behind sCommonWords, inlined into the token reader below (every token header
// value is read through it).
KT_ALWAYS_INLINE const KtStringTable& commonWords() {
    static const KtStringTable sTable{
        // methods
        "INVITE", "ACK", "BYE", "CANCEL", "OPTIONS", "REGISTER", "PRACK", "UPDATE", "REFER", "SUBSCRIBE",
        "NOTIFY", "INFO", "MESSAGE", "PUBLISH",
        // option tags
        "100rel", "timer", "replaces", "path", "gruu", "outbound", "norefersub", "precondition", "eventlist",
        "from-change", "histinfo", "join", "privacy", "sec-agree", "tdialog", "resource-priority", "answermode",
        // media types and subtypes
        "application", "text", "multipart", "message", "audio", "video", "image", "sdp", "plain", "html", "xml",
        "pidf+xml", "xpidf+xml", "cpim-pidf+xml", "dialog-info+xml", "reginfo+xml", "watcherinfo+xml",
        "rlmi+xml", "simple-message-summary", "im-iscomposing+xml", "sipfrag", "mixed", "related",
        "alternative", "json",
        // event packages
        "presence", "dialog", "message-summary", "refer", "reg", "conference", "presence.winfo",
        // encodings, dispositions and languages
        "gzip", "deflate", "identity", "session", "render", "icon", "alert", "en", "en-US", "de", "fr", "es"};
    return sTable;
}
}  // namespace

const KtStringTable& KtSipTokenHeader::sCommonWords() { return commonWords(); }

void KtSipTokenHeader::doParse(KtInputStream& in) {
    const KtSipTokenSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    KtString value = commonWords().parse(in, syntax.stops, syntax.trim);
    if (value.empty()) {
        if (syntax.emptyError) KtSipParseError::sThrow(syntax.emptyError);
        m_Value = KtConstString();
    } else {
        m_Value = KtConstString(std::move(value));
    }
    m_Parameters.clear();
    if (syntax.parameters) {
        KtStreamTokenizer::sDiscardWhite(in);
        if (in.peek() == ';') {
            in.read();
            m_Parameters = new KtParameters(';');
            m_Parameters->parse(in, KtParameters::sOwner);
        }
    }
    TORVANE_DEBUG(syntax.logger, syntax.parseScope << " value=\"" << m_Value.c_str() << '"');
}

void KtSipTokenHeader::doSerialize(KtOutputStream& out) const {
    const KtSipTokenSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    out << m_Value;
    if (!m_Parameters.isNil()) m_Parameters->serializeWithLead(out, ';');
}

const KtDelimiterSet& KtSipTokenHeader::sTokenSeparators() {
    static const KtDelimiterSet sSet(" \t\r\n\\\"()<>@,;:/[]?={}");
    return sSet;
}

const KtDelimiterSet& KtSipTokenHeader::sListSeparators() {
    static const KtDelimiterSet sSet(", \t\r\n");
    return sSet;
}

const KtDelimiterSet& KtSipTokenHeader::sMethodSeparators() {
    static const KtDelimiterSet sSet(" \t\r\n\"()<>@,;:/[]?={}");
    return sSet;
}


const KtDelimiterSet& KtSipTokenHeader::sWhiteSeparators() {
    static const KtDelimiterSet sSet(" \t\r\n");
    return sSet;
}

int KtSipTokenHeader::sReadBounded(KtInputStream& in, const KtDelimiterSet& stops, char* buffer, unsigned size) {
    KtStreamTokenizer::sDiscardWhite(in);
    unsigned length = 0;
    bool overflow = false;
    for (int c = in.peek(); c >= 0 && !stops.contains(static_cast<unsigned char>(c)); c = in.peek()) {
        in.read();
        if (length + 1 < size)
            buffer[length++] = static_cast<char>(c);
        else
            overflow = true;
    }
    buffer[length] = '\0';
    return overflow ? -1 : static_cast<int>(length);
}
