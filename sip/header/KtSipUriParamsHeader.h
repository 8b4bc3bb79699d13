// The URI-with-parameters shape shared by Alert-Info, Error-Info and Call-Info.
#ifndef KTSIP_KT_SIP_URI_PARAMS_HEADER_H
#define KTSIP_KT_SIP_URI_PARAMS_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"
#include "KtURI.h"

/// A header whose value is a URI followed by ";" parameters. The URI is read either
/// between double quotes (`"http://host/a.wav";p=1`) or bare, and is always written
/// between double quotes. The parameter list is never nil; the URI is nil until set.
class KtSipUriParamsHeader : public KtSipHeader {
public:
    ~KtSipUriParamsHeader() override;

    /// The URI (nil when none was parsed or set).
    const KtHandle<KtURI>& getURI() const { return m_uri; }
    /// Replaces the URI (held, not copied).
    void setURI(const KtHandle<KtURI>& uri) { m_uri = uri; }
    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }
    /// Replaces the parameter list (held, not copied); nil gives an empty list.
    void setParameters(const KtHandle<KtParameters>& parameters);

    /// Reads the URI (quoted or bare), then the parameters. The URI parser's errors pass on.
    void doParse(KtInputStream& in) override;
    /// `"` uri `"`, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipUriParamsHeader(const KtString& token, HeaderID id);
    /// Deep copy: URI and parameter list cloned.
    KtSipUriParamsHeader(const KtSipUriParamsHeader& other);

    KtHandle<KtURI> m_uri;
    KtHandle<KtParameters> m_parameters;
};

#endif
