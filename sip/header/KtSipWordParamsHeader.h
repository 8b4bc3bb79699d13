// The word-with-parameters shape shared by Content-Disposition and Response-Key.
#ifndef KTSIP_KT_SIP_WORD_PARAMS_HEADER_H
#define KTSIP_KT_SIP_WORD_PARAMS_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// A header whose value is one word (a disposition type, a key scheme) and a parameter
/// list; each class reads and writes them in its own syntax. The list is never nil; a new
/// one is empty with the separator ";".
class KtSipWordParamsHeader : public KtSipHeader {
public:
    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }

protected:
    KtSipWordParamsHeader(const KtString& token, HeaderID id)
        : KtSipHeader(token, id), m_parameters(new KtParameters(';')) {}
    /// Deep copy: the word is shared, the list cloned (next is nil).
    KtSipWordParamsHeader(const KtSipWordParamsHeader& other)
        : KtSipHeader(other),
          m_word(other.m_word),
          m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()) {}

    KtString m_word;
    KtHandle<KtParameters> m_parameters;
};

#endif
