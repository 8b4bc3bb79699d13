// The Accept-Language header.
#ifndef KTSIP_KT_SIP_ACCEPT_LANGUAGE_HEADER_H
#define KTSIP_KT_SIP_ACCEPT_LANGUAGE_HEADER_H

#include "KtSipTokenHeader.h"

/// Accept-Language: one language range per header object ("en", "da", "*") and an optional
/// weight, read from the parameter after ";" ("en;q=0.7") and written back as "en; q=0.7".
/// An empty value is accepted. A ";" not followed by name=value, or a weight without a
/// language, throws KtSipParseError "Invalid AcceptLanguage header".
class KtSipAcceptLanguageHeader
    : public KtSipHeaderImpl<KtSipAcceptLanguageHeader, HeaderAcceptLanguage, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipAcceptLanguageHeader)

    /// The weight text ("0.7"); empty when none was given.
    const KtString& getWeight() const { return m_Weight; }
    /// Replaces the weight (null or empty removes it).
    void setWeight(const char* weight) { m_Weight = weight && *weight ? KtString(weight) : KtString(); }

    /// Reads the language, then the weight after ";".
    void doParse(KtInputStream& in) override;
    /// Writes the language, then "; q=" and the weight when there is one.
    void doSerialize(KtOutputStream& out) const override;

private:
    KtString m_Weight;
};

#endif
