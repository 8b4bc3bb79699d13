// The Content-Disposition header: how the body is to be interpreted.
#ifndef KTSIP_KT_SIP_CONTENT_DISPOSITION_HEADER_H
#define KTSIP_KT_SIP_CONTENT_DISPOSITION_HEADER_H

#include "KtSipWordParamsHeader.h"

/// Content-Disposition (id 19): a disposition type (session, render, icon, alert, ...)
/// with ";" parameters such as handling. A value without a type throws KtSipParseError
/// "Invalid Content-Disposition header".
class KtSipContentDispositionHeader
    : public KtSipHeaderImpl<KtSipContentDispositionHeader, HeaderContentDisposition, KtSipWordParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipContentDispositionHeader)

    /// Reads the type up to a delimiter, then the parameters when a ";" follows.
    void doParse(KtInputStream& in) override;
    /// type, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

    /// The disposition type.
    const KtString& getType() const { return m_word; }
    /// Replaces the disposition type.
    void setType(const char* type) { m_word = KtString(type); }
};

#endif
