// The Response-Key header: a key scheme with comma-separated parameters.
#ifndef KTSIP_KT_SIP_RESPONSE_KEY_HEADER_H
#define KTSIP_KT_SIP_RESPONSE_KEY_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// Response-Key (id 45): `scheme name=value,name=value`. The parameters are read to the
/// end of the line, so the header is never split at its commas.
class KtSipResponseKeyHeader : public KtSipHeaderImpl<KtSipResponseKeyHeader, HeaderResponseKey> {
public:
    static const KtString sToken;  ///< "Response-Key"

    /// Empty scheme and parameter list (separator ";" until a parse switches it to ",").
    KtSipResponseKeyHeader();
    /// Parses the header value `text`.
    explicit KtSipResponseKeyHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipResponseKeyHeader(const KtSipResponseKeyHeader& other);

    /// Reads the scheme up to a space or the line end, then the rest of the line as a ","
    /// parameter list.
    void doParse(KtInputStream& in) override;
    /// scheme, then one space and the parameters (joined by ",") when there are any.
    void doSerialize(KtOutputStream& out) const override;

    /// The key scheme.
    const KtString& getScheme() const { return m_scheme; }
    /// Replaces the key scheme.
    void setScheme(const char* scheme) { m_scheme = KtString(scheme); }
    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }

private:
    KtString m_scheme;
    KtHandle<KtParameters> m_parameters;
};

#endif
