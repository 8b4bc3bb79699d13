// What a header shape needs to trace on behalf of the class that follows it.
#ifndef KTSIP_KT_SIP_HEADER_SCOPES_H
#define KTSIP_KT_SIP_HEADER_SCOPES_H

#include "TorvaneLogger.h"

/// The logger of one concrete header class and the names of its parse and serialize trace
/// scopes, which the shape's doParse and doSerialize open for it. A shape's syntax record
/// (KtSipKeywordSyntax, KtSipUnsignedSyntax) starts with these.
struct KtSipHeaderScopes {
    const Torvane::Logger& logger;
    const char* parseScope;
    const char* serializeScope;
};

/// The scopes of CLASS, written in its source file after its TORVANE_FILE_LOGGER:
/// its logger, "CLASS::doParse" and "CLASS::doSerialize".
#define KT_SIP_HEADER_SCOPES(CLASS) \
    KtSipHeaderScopes { fileLogger(), #CLASS "::doParse", #CLASS "::doSerialize" }

/// The members every class of a one-value shape declares the same way: the default
/// constructor (the registry's factory), the constructor from one value of type ARG (handed
/// to SETTER), the copy constructor (clone), the static name and the shape's hook returning
/// its SYNTAX record (defined in the class's source file by the shape's syntax macro).
#define KT_SIP_SHAPE_MEMBERS(CLASS, ARG, SETTER, SYNTAX)                    \
public:                                                                     \
    /** An empty header (the shape's initial value). */                     \
    CLASS() = default;                                                      \
    /** A header holding `value` (set as SETTER sets it). */                \
    explicit CLASS(ARG value) { SETTER(value); }                            \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;                                           \
                                                                            \
protected:                                                                  \
    const SYNTAX& getSyntax() const override;                               \
                                                                            \
public:

#endif
