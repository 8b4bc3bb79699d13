// Generated From/To tag values.
#ifndef KTSIP_KT_SIP_TAG_H
#define KTSIP_KT_SIP_TAG_H

#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// A From/To tag value: [prefix "-"] random "-" time, both numbers in lower-case
/// hexadecimal without leading zeros. The random part comes from a pseudo-random sequence
/// seeded with 1 and never reseeded (deterministic per process; shared by all threads
/// without a lock); the time part is the current time in seconds. Uniqueness therefore
/// rests on the pair (draw, second), and on the prefix across processes.
class KtSipTag : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipMessage")
public:
    /// Longest prefix reGenerate accepts (the formatting buffer holds 152 bytes).
    static const unsigned MAX_PREFIX_LENGTH = 128;

    /// An empty tag; call reGenerate to fill it.
    KtSipTag();
    /// A new tag with `prefix` (see reGenerate).
    explicit KtSipTag(const char* prefix);
    /// Shares the current text (reGenerate replaces it, so the source is not affected).
    KtSipTag(const KtSipTag& other);
    ~KtSipTag() override;
    KtSipTag& operator=(const KtSipTag&) = delete;

    /// A copy holding the same text.
    KtSipTag* clone() const override;

    /// Replaces the value: "%s-%x-%x" with `prefix`, the next random number and the time,
    /// or "%x-%x" without a prefix (null). Throws KtException "Tag prefix too long" for a
    /// prefix longer than MAX_PREFIX_LENGTH bytes (nothing is drawn then).
    void reGenerate(const char* prefix);

    /// The current value (empty before the first reGenerate).
    const KtString& getValue() const { return m_Value; }
    /// The current value as text.
    const char* c_str() const { return m_Value.c_str(); }

private:
    KtString m_Value;
};

#endif
