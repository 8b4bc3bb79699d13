// Generated From/To tag values.
#ifndef KTSIP_KT_SIP_TAG_H
#define KTSIP_KT_SIP_TAG_H

#include "KtSipGeneratedValue.h"

/// A From/To tag value: [prefix "-"] random "-" time, both numbers in lower-case
/// hexadecimal without leading zeros. The random part comes from a pseudo-random sequence
/// seeded with 1 and never reseeded (deterministic per process; shared by all threads
/// without a lock); the time part is the current time in seconds. Uniqueness therefore
/// rests on the pair (draw, second), and on the prefix across processes.
class KtSipTag : public KtSipGeneratedValue {
public:
    /// Longest prefix reGenerate accepts (the formatting buffer holds 152 bytes).
    static const unsigned MAX_PREFIX_LENGTH = 128;

    /// An empty tag; call reGenerate to fill it.
    KtSipTag() = default;
    /// A new tag with `prefix` (see reGenerate).
    explicit KtSipTag(const char* prefix);
    /// Shares the current text.
    KtSipTag(const KtSipTag& other) = default;

    /// A copy holding the same text.
    KtSipTag* clone() const override;

    /// Replaces the value: "%s-%x-%x" with `prefix`, the next random number and the time,
    /// or "%x-%x" without a prefix (null). Throws KtException "Tag prefix too long" for a
    /// prefix longer than MAX_PREFIX_LENGTH bytes (nothing is drawn then).
    void reGenerate(const char* prefix);
};

#endif
