// The Replaces header: the dialog (call-id, to-tag, from-tag) a new INVITE replaces.
#ifndef KTSIP_KT_SIP_REPLACES_HEADER_H
#define KTSIP_KT_SIP_REPLACES_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// Replaces (id 43): `callid;to-tag=a;from-tag=b[;early-only]`. The value is read to the
/// end of the line, so a Replaces header is never split at commas.
class KtSipReplacesHeader : public KtSipHeaderImpl<KtSipReplacesHeader, HeaderReplaces> {
public:
    static const KtString sToken;     ///< "Replaces"
    static const KtString sToTag;     ///< "to-tag"
    static const KtString sFromTag;   ///< "from-tag"

    /// Empty call-id and parameter list.
    KtSipReplacesHeader();
    /// Parses the header value `text`. Throws KtSipParseError when the call-id, the
    /// to-tag or the from-tag is missing.
    explicit KtSipReplacesHeader(const char* text);
    /// The call-id `callId` with the parameters "to-tag" and "from-tag" set.
    KtSipReplacesHeader(const char* callId, const char* toTag, const char* fromTag);
    /// Deep copy (next is nil).
    KtSipReplacesHeader(const KtSipReplacesHeader& other);

    /// Reads the call-id up to ";", then the rest of the line as parameters. Throws
    /// KtSipParseError "SIP Replaces header must contain a callid", "... a to-tag" or
    /// "... a from-tag".
    void doParse(KtInputStream& in) override;
    /// call-id, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

    /// The call-id.
    const KtConstString& getCallId() const { return m_callId; }
    /// Replaces the call-id.
    void setCallId(const char* callId) { m_callId.assign(callId); }
    /// The "to-tag" parameter; nil when absent.
    KtString getToTag() const { return m_parameters->getValue(sToTag.c_str()); }
    /// The "from-tag" parameter; nil when absent.
    KtString getFromTag() const { return m_parameters->getValue(sFromTag.c_str()); }
    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }

private:
    KtHandle<KtParameters> m_parameters;
    KtConstString m_callId;
};

#endif
