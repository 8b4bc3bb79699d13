// The text value that the Call-ID and tag generators hold.
#ifndef KTSIP_KT_SIP_GENERATED_VALUE_H
#define KTSIP_KT_SIP_GENERATED_VALUE_H

#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// Base of a generated value (KtSipCallid, KtSipTag): the current text, empty until the
/// derived class's reGenerate fills it. A copy shares the text; reGenerate replaces it, so
/// the source is not affected. Values come from the "KtSipMessage" pool.
class KtSipGeneratedValue : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipMessage")
public:
    KtSipGeneratedValue& operator=(const KtSipGeneratedValue&) = delete;

    /// The current value (empty before the first reGenerate).
    const KtString& getValue() const { return m_Value; }
    /// The current value as text.
    const char* c_str() const { return m_Value.c_str(); }

protected:
    KtSipGeneratedValue() : m_Value("") {}
    KtSipGeneratedValue(const KtSipGeneratedValue& other) : KtObject(), m_Value(other.m_Value) {}

    KtString m_Value;
};

#endif
