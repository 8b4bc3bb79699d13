// The shape of the authentication headers: a challenge or credentials on one line.
#ifndef KTSIP_KT_SIP_AUTH_VALUE_HEADER_H
#define KTSIP_KT_SIP_AUTH_VALUE_HEADER_H

#include "KtSipHeader.h"
#include "KtSipHeaderScopes.h"

/// A header carrying one authentication value of type Info, "scheme SP pair-list":
/// KtSipChallengeInfo for WWW-Authenticate and Proxy-Authenticate (KtSipAuthenticateHeader),
/// KtSipCredentialsInfo for Authorization and Proxy-Authorization. The value is read to the
/// end of the line, so commas inside it never split the header.
template <class Info>
class KtSipAuthValueHeader : public KtSipHeader {
public:
    /// Reads "scheme SP pair-list" from the rest of the line. Throws what Info::constructFrom
    /// throws for a scheme other than Digest, and KtException "Buffer overflew !!!" for an
    /// over-long pair list.
    void doParse(KtInputStream& in) override {
        const KtSipHeaderScopes& scopes = getScopes();
        TORVANE_TRACE_SCOPE(scopes.logger, scopes.parseScope);
        m_value = Info::sReadLine(in);
    }
    /// Writes the scheme, one space and the pair list; nothing when no value is set.
    void doSerialize(KtOutputStream& out) const override {
        const KtSipHeaderScopes& scopes = getScopes();
        TORVANE_TRACE_SCOPE(scopes.logger, scopes.serializeScope);
        if (m_value.isNil()) return;
        out << m_value->getType() << ' ';
        m_value->serialize(out);
    }

protected:
    KtSipAuthValueHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id) {}
    /// Copies the value deeply; next is nil.
    KtSipAuthValueHeader(const KtSipAuthValueHeader& other)
        : KtSipHeader(other), m_value(other.m_value.isNil() ? nullptr : other.m_value->clone()) {}

    /// The value's scheme ("Digest"); "" when no value is set.
    KtString valueType() const { return m_value.isNil() ? KtString("") : m_value->getType(); }
    /// The logger and scope names under which the shape's class reads and writes.
    virtual const KtSipHeaderScopes& getScopes() const = 0;

    KtHandle<Info> m_value;
};

/// Defines CLASS::getScopes in the class's source file (after its TORVANE_FILE_LOGGER): the
/// scopes "CLASS::doParse" and "CLASS::doSerialize" of its logger.
#define KT_SIP_AUTH_VALUE_SCOPES(CLASS)                                                     \
    const KtSipHeaderScopes& CLASS::getScopes() const {                                     \
        static const KtSipHeaderScopes sScopes = KT_SIP_HEADER_SCOPES(CLASS);               \
        return sScopes;                                                                     \
    }

#endif
