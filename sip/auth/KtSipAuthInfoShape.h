// The members that challenges and credentials declare alike, written once.
#ifndef KTSIP_KT_SIP_AUTH_INFO_SHAPE_H
#define KTSIP_KT_SIP_AUTH_INFO_SHAPE_H

#include "KtByteArray.h"
#include "KtHandle.h"
#include "KtInputStream.h"

/// The factory by scheme of an abstract class (KtSipChallengeInfo, KtSipCredentialsInfo)
/// and its protected constructors. constructFrom builds the value of scheme `type` (matched
/// ignoring case) from its parameter list `text`, or from the `length` bytes at `text` read
/// where they stand (a null `text` is no list at all); sConstructFromValue splits a whole
/// header value "scheme SP pair-list" first, sReadLine the rest of a header line. An unknown
/// scheme throws the class's KtException.
#define KT_SIP_AUTH_INFO_FACTORY(CLASS)                                                             \
public:                                                                                             \
    /** The value of scheme `type` with the parameter list `text`. */                               \
    static KtHandle<CLASS> constructFrom(const char* type, KtHandle<KtByteArray> text);             \
    /** As above for `typeLength` bytes of scheme and `length` bytes of list. */                    \
    static KtHandle<CLASS> constructFrom(const char* type, unsigned typeLength, const char* text,   \
                                         unsigned length);                                          \
    /** The value of a whole header value (what follows the colon). */                              \
    static KtHandle<CLASS> sConstructFromValue(const char* value);                                  \
    /** The value of the rest of the line in `in`, "scheme SP pair-list" (line end consumed). */     \
    static KtHandle<CLASS> sReadLine(KtInputStream& in);                                            \
                                                                                                    \
protected:                                                                                          \
    CLASS() = default;                                                                              \
    CLASS(const CLASS&) = default;                                                                  \
    CLASS& operator=(const CLASS&) = delete;

/// Defines that factory in the class's source file (which includes KtSipDigestPairReader.h,
/// after its TORVANE_FILE_LOGGER): Digest, named DIGEST::TYPE_NAME, is the one scheme built
/// (by DIGEST::sCreateFrom); any other is logged as a NOUN scheme and throws KtException
/// REFUSAL.
#define KT_SIP_AUTH_INFO_FACTORY_DEFINE(CLASS, DIGEST, TYPE_NAME, NOUN, REFUSAL)                    \
    KtHandle<CLASS> CLASS::constructFrom(const char* type, KtHandle<KtByteArray> text) {            \
        const unsigned typeLength = type ? static_cast<unsigned>(std::strlen(type)) : 0;            \
        return text.isNil() ? constructFrom(type, typeLength, nullptr, 0)                           \
                            : constructFrom(type, typeLength, text->chars(), text->getLength());    \
    }                                                                                               \
    KtHandle<CLASS> CLASS::constructFrom(const char* type, unsigned typeLength, const char* text,   \
                                         unsigned length) {                                         \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::constructFrom");                                \
        if (KtSipDigestPairReader::sIsScheme(type, typeLength, DIGEST::TYPE_NAME))                  \
            return DIGEST::sCreateFrom(text, length);                                               \
        TORVANE_DEBUG(fileLogger(), NOUN " scheme \"" << KtString(type ? type : "", type ? typeLength : 0) \
                                                      << "\" refused");                             \
        KtException::sThrow(REFUSAL);                                                               \
    }                                                                                               \
    KtHandle<CLASS> CLASS::sConstructFromValue(const char* value) {                                 \
        const KtSipDigestPairReader::SchemeSplit split =                                            \
            KtSipDigestPairReader::sSplitScheme(value, value ? static_cast<unsigned>(std::strlen(value)) : 0); \
        return constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);       \
    }                                                                                               \
    KtHandle<CLASS> CLASS::sReadLine(KtInputStream& in) {                                           \
        KtString line; /* holds the line when its end is not in the stream's window */              \
        const KtSipDigestPairReader::SchemeSplit split = KtSipDigestPairReader::sReadSchemeLine(in, line); \
        return constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);       \
    }

/// The members both Digest classes declare alike: the deep copy (the pair list is copied),
/// clone, sCreateFrom (a new value parsed from the pair list `text`, the text after
/// "Digest "; a list longer than 1024 buffered bytes throws KtException "Buffer overflew
/// !!!") and parse (reads a pair list from `in`, to its end or to a line end, adding its
/// pairs).
#define KT_SIP_DIGEST_INFO_MEMBERS(CLASS)                                                           \
    /** A deep copy (the pair list is copied). */                                                   \
    CLASS(const CLASS& other);                                                                      \
    ~CLASS() override;                                                                              \
    CLASS* clone() const override;                                                                  \
    /** A new value parsed from the pair list `text`. */                                            \
    static KtHandle<CLASS> sCreateFrom(KtHandle<KtByteArray> text);                                 \
    /** As above for the `length` bytes at `text` (a null `text`: nothing is read). */              \
    static KtHandle<CLASS> sCreateFrom(const char* text, unsigned length);                          \
    /** Reads a pair list from `in`, adding its pairs. */                                           \
    void parse(KtInputStream& in);

/// Defines those members in the class's source file (after its TORVANE_FILE_LOGGER); BASE
/// is the abstract class, the pairs are held in m_Params.
#define KT_SIP_DIGEST_INFO_DEFINE(CLASS, BASE)                                                      \
    CLASS::CLASS(const CLASS& other) : BASE(other), m_Params(other.m_Params->clone()) {}            \
    CLASS::~CLASS() = default;                                                                      \
    CLASS* CLASS::clone() const { return new CLASS(*this); }                                        \
    KtHandle<CLASS> CLASS::sCreateFrom(KtHandle<KtByteArray> text) {                                \
        return text.isNil() ? sCreateFrom(nullptr, 0) : sCreateFrom(text->chars(), text->getLength()); \
    }                                                                                               \
    KtHandle<CLASS> CLASS::sCreateFrom(const char* text, unsigned length) {                         \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::sCreateFrom");                                  \
        KtHandle<CLASS> value = new CLASS();                                                        \
        if (text != nullptr) {                                                                      \
            KtByteArrayInputStream in(text, length);                                                \
            value->parse(in);                                                                       \
        }                                                                                           \
        return value;                                                                               \
    }                                                                                               \
    void CLASS::parse(KtInputStream& in) {                                                          \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::parse");                                        \
        KtSipDigestPairReader::sRead(in, *m_Params, KtSipDigestPairReader::LowerCaseLastName);      \
    }

#endif
