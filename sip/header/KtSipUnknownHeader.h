// A header whose name has no registered class.
#ifndef KTSIP_KT_SIP_UNKNOWN_HEADER_H
#define KTSIP_KT_SIP_UNKNOWN_HEADER_H

#include "KtSipHeader.h"

/// Any header without a class of its own: the name and the raw value text. All unknown
/// headers share id 55. The value is never split at commas.
class KtSipUnknownHeader : public KtSipHeader {
public:
    /// An unknown header named `name` (a private copy) with an empty value.
    explicit KtSipUnknownHeader(const char* name);
    /// An unknown header named `name` with the value `value`.
    KtSipUnknownHeader(const char* name, const char* value);
    KtSipUnknownHeader(const KtSipUnknownHeader& other);
    ~KtSipUnknownHeader() override;
    KtSipHeader* clone() const override;

    /// The name it was constructed for.
    KtString getExpandedToken() const override { return m_Name; }
    /// Reads the value up to CR or LF.
    void doParse(KtInputStream& in) override;
    /// Writes the value as it is.
    void doSerialize(KtOutputStream& out) const override;

    /// The raw value text.
    const KtString& getValue() const { return m_Value; }
    /// Replaces the value text.
    void setValue(const char* value) { m_Value = KtString(value); }
    /// The name it was constructed for.
    const KtString& getName() const { return m_Name; }

private:
    KtString m_Value;
    KtString m_Name;
};

#endif
