// The base of the header shapes whose classes differ only in a syntax record.
#ifndef KTSIP_KT_SIP_SYNTAX_HEADER_H
#define KTSIP_KT_SIP_SYNTAX_HEADER_H

#include "KtSipHeader.h"
#include "KtSipHeaderScopes.h"

/// Base of a shape (keyword, number) whose concrete classes differ only in a record of type
/// Syntax (their scopes and reading rules, see KtSipHeaderScopes): the shape's code reads the
/// record through getSyntax, which each class defines with its shape's syntax macro.
template <class Syntax>
class KtSipSyntaxHeader : public KtSipHeader {
protected:
    using KtSipHeader::KtSipHeader;

    /// The concrete class's record.
    virtual const Syntax& getSyntax() const = 0;
};

#endif
