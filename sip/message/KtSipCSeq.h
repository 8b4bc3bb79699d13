// Starting CSeq numbers.
#ifndef KTSIP_KT_SIP_CSEQ_H
#define KTSIP_KT_SIP_CSEQ_H

/// A CSeq sequence number. The default constructor draws a starting number from a
/// pseudo-random sequence that is seeded with 123 and never reseeded, so a process always
/// produces the same series of starting numbers (0 to 16777214). The seed is shared by all
/// threads without a lock: two threads drawing at once may get the same number.
class KtSipCSeq {
public:
    /// Upper bound (exclusive) of a drawn starting number: 0xFFFFFF.
    static const unsigned MODULUS = 16777215u;

    /// The next number of the seeded sequence: rand_r(seed) % 16777215.
    KtSipCSeq();
    /// The given number.
    explicit KtSipCSeq(unsigned int value) : m_Value(value) {}

    /// The number.
    unsigned int getValue() const { return m_Value; }
    /// Replaces the number.
    void setValue(unsigned int value) { m_Value = value; }

private:
    unsigned int m_Value;
};

#endif
