// The Content-Disposition header: how the body is to be interpreted.
#ifndef KTSIP_KT_SIP_CONTENT_DISPOSITION_HEADER_H
#define KTSIP_KT_SIP_CONTENT_DISPOSITION_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// Content-Disposition (id 19): a disposition type (session, render, icon, alert, ...)
/// with ";" parameters such as handling.
class KtSipContentDispositionHeader
    : public KtSipHeaderImpl<KtSipContentDispositionHeader, HeaderContentDisposition> {
public:
    static const KtString sToken;  ///< "Content-Disposition"

    /// Empty type and parameter list.
    KtSipContentDispositionHeader();
    /// Parses the header value `text`.
    explicit KtSipContentDispositionHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipContentDispositionHeader(const KtSipContentDispositionHeader& other);

    /// Reads the type up to a delimiter, then the parameters when a ";" follows. Throws
    /// KtSipParseError "Invalid Content-Disposition header" when there is no type.
    void doParse(KtInputStream& in) override;
    /// type, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

    /// The disposition type.
    const KtString& getType() const { return m_type; }
    /// Replaces the disposition type.
    void setType(const char* type) { m_type = KtString(type); }
    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }

private:
    KtString m_type;
    KtHandle<KtParameters> m_parameters;
};

#endif
