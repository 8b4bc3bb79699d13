// The name-address: display name and URI.
#include "KtSipNameAddress.h"

#include <cstddef>
#include <cstring>

#include "KtSipParseError.h"
#include "KtStreamTokenizer.h"
#include "TorvaneAssert.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipNameAddress")

namespace {
// Size of the work buffer for the text in front of the URI (at most 1023 characters).
const unsigned kNameBufferSize = 1024;
const char kTooLong[] = "Invalid SIP Name Address";

// The display name in front of "<": the text [b, e) trimmed; the usual empty one shares a
// constant.
KtString displayName(const char* b, const char* e) {
    static const KtString sEmpty = KtString::sStatic("");
    ktTrimRange(b, e);
    return e == b ? sEmpty : KtString(b, static_cast<unsigned>(e - b));
}
}  // namespace

KtURI* KtSipNameAddress::sNewPlaceholder() { return new KtURI(); }

KtSipNameAddress::KtSipNameAddress() : m_AngleBrackets(false), m_URIInBracket(false) {}

KtSipNameAddress::KtSipNameAddress(const char* displayName, const KtHandle<KtURI>& uri)
    : m_DisplayName(displayName), m_URI(uri),
      m_AngleBrackets(displayName != nullptr && *displayName != '\0'), m_URIInBracket(true) {}

KtSipNameAddress::KtSipNameAddress(const KtSipNameAddress& rNameAddress)
    : KtObject(), m_DisplayName(rNameAddress.m_DisplayName), m_AngleBrackets(rNameAddress.m_AngleBrackets),
      m_URIInBracket(rNameAddress.m_URIInBracket) {
    TORVANE_TRACE(fileLogger(), "KtSipNameAddress copy ctor");
    if (const KtURI* uri = rNameAddress.m_URI.peek()) m_URI = KtHandle<KtURI>(TORVANE_DYNCAST_ASSERT(KtURI, uri->clone()));
}

KtSipNameAddress* KtSipNameAddress::clone() const { return new KtSipNameAddress(*this); }

void KtSipNameAddress::setURI(const KtHandle<KtURI>& uri) { m_URI = uri; }

KtHandle<KtSipURL> KtSipNameAddress::getURL() const {
    KtURI* pObject = m_URI.get().get();
    if (pObject == nullptr || !pObject->isSipURL()) {
        TORVANE_DEBUG(fileLogger(), "KtSipNameAddress::getURL returns NULL since "
                                        << (pObject ? pObject->getString() : KtString()) << " isn't a SIP URL");
    }
    return KtHandle<KtSipURL>(TORVANE_DYNCAST_ASSERT(KtSipURL, pObject));
}

void KtSipNameAddress::parse(const char* text) {
    const char* t = text ? text : "";
    TORVANE_DEBUG(fileLogger(), "Parsing " << t << " into an KtSipNameAddress");
    KtByteArrayInputStream in(t, static_cast<unsigned>(std::strlen(t)));
    parse(in);
}

// The text in front of the URI is collected until "<" (a display name follows, then the
// bracketed URI) or ":" (the text was the scheme of a bare URI). A quoted display name is
// copied whole: a backslash takes the next character into the string, so neither an escaped
// quote nor the character after an escaped backslash can end it early. The stream is then
// put back where the URI starts and the URI is read by the scheme dispatch.
void KtSipNameAddress::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipNameAddress::parse");
    char buffer[kNameBufferSize];
    unsigned w = 0;
    m_AngleBrackets = false;

    KtStreamTokenizer::sDiscardWhite(in);
    // Usually the text up to the "<" (or up to the scheme's ":") lies in the window with its
    // quotes closed and no LF outside them: it is taken where it stands, with the stream left
    // where the loop below leaves it (see there).
    {
        const char* const p = in.current();
        const char* const limit = in.end() - p > static_cast<std::ptrdiff_t>(kNameBufferSize) ? p + kNameBufferSize : in.end();
        const char* q = p;
        const char* lastQuote = nullptr;  // the closing quote of the last quoted string
        while (q < limit && *q != ':' && *q != '<' && *q != '\n') {
            if (*q++ != '"') continue;
            for (bool escaped = false; q < limit && (escaped || *q != '"'); ++q) escaped = !escaped && *q == '\\';
            if (q == limit) break;
            lastQuote = q++;
        }
        if (q < limit && *q != '\n') {
            in.mark(kNameBufferSize);
            if (*q == '<') {
                m_DisplayName = displayName(p, q);
                m_AngleBrackets = true;
                in.setCurrent(q);
            } else if (lastQuote != nullptr) {
                in.setCurrent(lastQuote);
            }
            m_URI = KtURI::sConstructFrom(in, m_URIInBracket);
            return;
        }
    }
    in.mark(kNameBufferSize);
    for (;;) {
        if (w > kNameBufferSize - 1) KtSipParseError::sThrow(kTooLong);
        const int c = in.read();
        if (c == ':' || c < 0) break;
        if (c == '"') {
            buffer[w++] = '"';
            bool escaped = false;
            for (;;) {
                in.mark(1);
                const int q = in.read();
                if (q < 0) KtSipParseError::sThrow("Invalid quote in KtSipNameAddress");
                if (w >= kNameBufferSize) KtSipParseError::sThrow(kTooLong);
                buffer[w++] = static_cast<char>(q);
                if (escaped) {
                    escaped = false;
                } else if (q == '\\') {
                    escaped = true;
                } else if (q == '"') {
                    break;
                }
            }
            continue;
        }
        if (c == '\n') {
            m_DisplayName = KtString(buffer, w);
            KtSipParseError::sThrow("URL not specified");
        }
        if (c == '<') {
            m_DisplayName = displayName(buffer, buffer + w);
            m_AngleBrackets = true;
            break;
        }
        buffer[w++] = static_cast<char>(c);
    }

    // Back to the last mark: where the text started or, after a quoted string, that string's
    // closing quote (each byte inside quotes is read after a mark of its own). A bare URI
    // after a quoted string is therefore read from that quote.
    in.reset();
    if (m_AngleBrackets) {
        // Forward to the "<" so that the URI parser sees it.
        for (;;) {
            in.mark(1);
            const int c = in.read();
            if (c == '<' || c < 0) break;
        }
        in.reset();
    }
    m_URI = KtURI::sConstructFrom(in, m_URIInBracket);
}

void KtSipNameAddress::serialize(KtOutputStream& out) const {
    if (!m_DisplayName.empty()) out << m_DisplayName << " ";
    out << "<";
    m_URI->serialize(out);
    out << ">";
}

KtString KtSipNameAddress::getString() const {
    KtByteArrayOutputStream out(128);
    serialize(out);
    return KtString(out.data(), out.size());
}

KtOutputStream& operator<<(KtOutputStream& out, const KtHandle<KtSipNameAddress>& nameAddress) {
    if (!nameAddress.isNil()) nameAddress->serialize(out);
    return out;
}

KtInputStream& operator>>(KtInputStream& in, KtHandle<KtSipNameAddress>& nameAddress) {
    if (nameAddress.isNil()) nameAddress = new KtSipNameAddress();
    nameAddress->parse(in);
    return in;
}
