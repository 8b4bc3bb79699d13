// Digest credentials and the MD5 Digest response.
#include "KtSipDigestCredentialsInfo.h"

#include <cstdio>
#include <cstring>

#include "KtException.h"
#include "KtHexEncoding.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipDigestCredentialsInfo")

const KtString KtSipDigestCredentialsInfo::sm_Type(KtString::sStatic("Digest"));

namespace {

/// Initial room of the buffers in which A1, A2 and the response text are assembled.
const unsigned TEXT_CAPACITY = 256;

KtHandle<KtByteArray> md5Of(const KtByteArrayOutputStream& text, unsigned length) {
    unsigned char digest[16];
    MD5::digest(text.data(), length, digest);
    return KtByteArray::sCreate(16, digest);
}

/// Copies the challenge pair `from` into the entry `to` when the challenge has it.
void copyIfPresent(const KtSipDigestChallengeInfo& challenge, const char* from, KtParameters& entries,
                   const char* to) {
    if (challenge.hasValue(from)) entries.setValue(to, challenge.getValue(from).c_str());
}

}  // namespace

KtSipDigestCredentialsInfo::KtSipDigestCredentialsInfo() : m_Params(new KtParameters(';')) {}

KtSipDigestCredentialsInfo::KtSipDigestCredentialsInfo(KtHandle<KtSipDigestChallengeInfo> challenge,
                                                       const char* username, const char* password)
    : m_Params(new KtParameters(';')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo ctor");
    if (challenge.isNil()) KtException::sThrow("Digest challenge missing !");
    if (challenge->hasValue("realm")) setEntry("realm", challenge->getRealm().c_str());
    copyIfPresent(*challenge, "nonce", *m_Params, "nonce");
    copyIfPresent(*challenge, "algorithm", *m_Params, "algorithm");
    copyIfPresent(*challenge, "opaque", *m_Params, "opaque");
    copyIfPresent(*challenge, "qop", *m_Params, "qopoptions");
    setEntry("username", username);
    setEntry("password", password);
    checkAlgorithm();
}

KT_SIP_DIGEST_INFO_DEFINE(KtSipDigestCredentialsInfo, KtSipCredentialsInfo)

void KtSipDigestCredentialsInfo::checkAlgorithm() const {
    if (!m_Params->hasName("algorithm")) return;
    const KtString algorithm = m_Params->getValue("algorithm");
    if (std::strncmp(algorithm.c_str(), "MD5", 3) != 0) {
        TORVANE_DEBUG(fileLogger(), "algorithm \"" << algorithm << "\" refused");
        KtException::sThrow("Unsupported Algorithm !!!");
    }
}

void KtSipDigestCredentialsInfo::setQop(const char* qop, const char* cnonce, int nc) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::setQop");
    // An empty qop would match any option list; it chooses nothing.
    if (!qop || !*qop) return;
    const KtString options = m_Params->getValue("qopoptions");
    if (std::strstr(options.c_str(), qop) == nullptr) {
        TORVANE_DEBUG(fileLogger(), "qop \"" << qop << "\" not among \"" << options << "\"");
        return;
    }
    char count[16];
    std::snprintf(count, sizeof count, "%08x", static_cast<unsigned>(nc));
    setEntry("qop", qop);
    setEntry("cnonce", cnonce);
    setEntry("nc", count);
}

void KtSipDigestCredentialsInfo::setEntityBody(const char* body) {
    if (!body || !*body) {
        checkAlgorithm();
        setEntry("entity-body", "");
        return;
    }
    setEntityBody(KtByteArray::sCreate(body));
}

void KtSipDigestCredentialsInfo::setEntityBody(const KtHandle<KtByteArray>& body) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::setEntityBody");
    checkAlgorithm();
    // An empty body leaves the hash empty rather than MD5(""), so that A2 for an empty
    // auth-int body is method:uri: with nothing after the last colon (kept for compatibility
    // with existing peers).
    if (body.isNil() || body->getLength() == 0) {
        setEntry("entity-body", "");
        return;
    }
    setEntry("entity-body", KtHexEncoding::toHex(MD5::digest(body)).c_str());
}

KtHandle<KtByteArray> KtSipDigestCredentialsInfo::generateA1() const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::generateA1");
    checkAlgorithm();
    KtByteArrayOutputStream text(TEXT_CAPACITY);
    text << m_Params->getValue("username") << ':' << m_Params->getValue("realm") << ':'
         << m_Params->getValue("password");
    KtHandle<KtByteArray> ha1 = md5Of(text, text.size());
    if (m_Params->getValue("algorithm") == "MD5-sess") {
        text.clear();
        text.write(ha1->getData(), ha1->getLength());
        text << ':' << m_Params->getValue("nonce") << ':' << m_Params->getValue("cnonce");
        // The session A1 is handed on as a NUL-terminated text: it ends at the first zero
        // byte of the binary HA1. Kept as it is, for compatibility with existing peers.
        const unsigned length = static_cast<unsigned>(strnlen(text.data(), text.size()));
        ha1 = md5Of(text, length);
    }
    return ha1;
}

KtHandle<KtByteArray> KtSipDigestCredentialsInfo::generateA2() const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::generateA2");
    checkAlgorithm();
    KtByteArrayOutputStream text(TEXT_CAPACITY);
    text << m_Params->getValue("method") << ':' << m_Params->getValue("uri");
    if (m_Params->getValue("qop") == "auth-int") text << ':' << m_Params->getValue("entity-body");
    return md5Of(text, text.size());
}

KtHandle<KtByteArray> KtSipDigestCredentialsInfo::getRequestDigest() const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::getRequestDigest");
    checkAlgorithm();
    KtByteArrayOutputStream text(TEXT_CAPACITY);
    text << KtHexEncoding::toHex(generateA1()) << ':' << m_Params->getValue("nonce") << ':';
    const KtString qop = m_Params->getValue("qop");
    if (qop == "auth" || qop == "auth-int") {
        text << m_Params->getValue("nc") << ':' << m_Params->getValue("cnonce") << ':' << qop << ':';
    }
    text << KtHexEncoding::toHex(generateA2());
    return md5Of(text, text.size());
}

bool KtSipDigestCredentialsInfo::validate(const char* username, const char* password, const char* realm) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::validate");
    setEntry("username", username);
    setEntry("password", password);
    setEntry("realm", realm);
    const KtString expected = KtHexEncoding::toHex(getRequestDigest());
    const KtString received = m_Params->getValue("response");
    const bool valid = !received.isNil() && received->compareWith(expected.c_str()) == 0;
    TORVANE_DEBUG(fileLogger(), "response of \"" << getUsername() << "\" " << (valid ? "valid" : "invalid"));
    return valid;
}

void KtSipDigestCredentialsInfo::serialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestCredentialsInfo::serialize");
    // The entries are read under one lock per stretch of output; the computed response in
    // between takes the list's lock itself.
    auto entry = [&out](const KtParameters::Reader& p, const char* before, const char* name, const char* after) {
        out << before;
        p.writeValue(out, name);
        out << after;
    };
    bool hasResponse;
    {
        const KtParameters::Reader p(*m_Params);
        entry(p, "username=\"", "username", "\",realm=\"");
        entry(p, "", "realm", "\",nonce=\"");
        entry(p, "", "nonce", "\",response=\"");
        hasResponse = p.has("response");
        if (hasResponse) p.writeValue(out, "response");
    }
    if (!hasResponse) out << KtHexEncoding::toHex(getRequestDigest());
    const KtParameters::Reader p(*m_Params);
    entry(p, "\",uri=\"", "uri", "\"");
    if (p.has("algorithm")) entry(p, ",algorithm=", "algorithm", "");
    if (p.has("opaque")) entry(p, ",opaque=\"", "opaque", "\"");
    if (p.has("qop")) {
        entry(p, ",qop=\"", "qop", "\",nc=");
        entry(p, "", "nc", ",cnonce=\"");
        entry(p, "", "cnonce", "\"");
    }
}

KtString KtSipDigestCredentialsInfo::getType() const {
    return sm_Type;
}
