// The Response-Key header: a key scheme with comma-separated parameters.
#ifndef KTSIP_KT_SIP_RESPONSE_KEY_HEADER_H
#define KTSIP_KT_SIP_RESPONSE_KEY_HEADER_H

#include "KtSipWordParamsHeader.h"

/// Response-Key (id 45): `scheme name=value,name=value`. The parameters are read to the
/// end of the line, so the header is never split at its commas. A new header's list has
/// the separator ";" until a parse switches it to ",".
class KtSipResponseKeyHeader
    : public KtSipHeaderImpl<KtSipResponseKeyHeader, HeaderResponseKey, KtSipWordParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipResponseKeyHeader)

    /// Reads the scheme up to a space or the line end, then the rest of the line as a ","
    /// parameter list.
    void doParse(KtInputStream& in) override;
    /// scheme, then one space and the parameters (joined by ",") when there are any.
    void doSerialize(KtOutputStream& out) const override;

    /// The key scheme.
    const KtString& getScheme() const { return m_word; }
    /// Replaces the key scheme.
    void setScheme(const char* scheme) { m_word = KtString(scheme); }
};

#endif
