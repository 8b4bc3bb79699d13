// The abstract SIP header, the header registry, and the reading and writing of
// header lines (folding, comma-separated values, chains).
#ifndef KTSIP_KT_SIP_HEADER_H
#define KTSIP_KT_SIP_HEADER_H

#include <vector>

#include "KtHandle.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipParseError.h"
#include "KtString.h"
#include "TorvaneLogger.h"
#include "TorvaneMemAllocator.h"

/// The kind of a header. The numbers are part of the interface: a message keeps one
/// slot per kind, and callers compare them. 0, 13, 23, 27 and 52 belong to no class.
enum HeaderID {
    HeaderNone = 0,
    HeaderVia = 1,
    HeaderFrom = 2,
    HeaderTo = 3,
    HeaderCSeq = 4,
    HeaderCallId = 5,
    HeaderContentLength = 6,
    HeaderAcceptEncoding = 7,
    HeaderAccept = 8,
    HeaderAcceptLanguage = 9,
    HeaderAlertInfo = 10,
    HeaderAllow = 11,
    HeaderAllowEvents = 12,
    HeaderAuthenticationInfo = 14,
    HeaderAuthorization = 15,
    HeaderCallInfo = 16,
    HeaderCCDiversion = 17,
    HeaderContact = 18,
    HeaderContentDisposition = 19,
    HeaderContentEncoding = 20,
    HeaderContentType = 21,
    HeaderDate = 22,
    HeaderErrorInfo = 24,
    HeaderEvent = 25,
    HeaderExpires = 26,
    HeaderInReplyTo = 28,
    HeaderMaxForwards = 29,
    HeaderMIMEVersion = 30,
    HeaderMinExpires = 31,
    HeaderMinSE = 32,
    HeaderOrganization = 33,
    HeaderPriority = 34,
    HeaderProxyAuthenticate = 35,
    HeaderProxyAuthorization = 36,
    HeaderProxyRequire = 37,
    HeaderRAck = 38,
    HeaderRSeq = 39,
    HeaderRecordRoute = 40,
    HeaderReferTo = 41,
    HeaderReferredBy = 42,
    HeaderReplaces = 43,
    HeaderRequire = 44,
    HeaderResponseKey = 45,
    HeaderRetryAfter = 46,
    HeaderRoute = 47,
    HeaderServer = 48,
    HeaderSessionExpires = 49,
    HeaderSession = 50,
    HeaderSubject = 51,
    HeaderSupported = 53,
    HeaderTimestamp = 54,
    HeaderUnknown = 55,
    HeaderUnsupported = 56,
    HeaderUserAgent = 57,
    HeaderWWWAuthenticate = 58,
    HeaderWarning = 59,
    HeaderSlotCount = 60  ///< number of slots a message keeps (ids 0 to 59)
};

class KtSipHeader;
typedef KtHandle<KtSipHeader> KtSipHeaderHandle;

/// Abstract SIP header. A header object holds one value; the values of one comma-separated
/// line (or the headers of one kind in a message) are linked through `next` into a chain.
/// Every header object comes from the "KtSipHeader" pool.
class KtSipHeader : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipHeader")
public:
    /// Length of the work buffer for one logical header line; a longer line is refused with
    /// KtSipParseError "Header line too long" (the whole logical line is consumed first).
    static constexpr unsigned LINE_BUFFER_SIZE = 1024;
    /// Size of the buffer the header name is peeked into (names of up to 47 bytes).
    static constexpr unsigned NAME_BUFFER_SIZE = 48;

    /// The 21 token delimiters: space, tab, CR, LF, \ " ( ) < > @ , ; : / [ ] ? = { }.
    static const char sDelimeters[];
    /// Space, tab, CR, LF.
    static const char sWhiteSpace[];
    static const char sSIP[];     ///< "SIP"
    static const char sUDP[];     ///< "UDP"
    static const char sTCP[];     ///< "TCP"
    static const char sTagToken[];  ///< "tag"
    static const char sQToken[];  ///< "q"
    /// sDelimeters as a lookup table.
    static const KtDelimiterSet& sDelimeterSet();

    ~KtSipHeader() override;
    /// A copy of this header alone (next is nil in the copy).
    KtSipHeader* clone() const override = 0;

    /// The class's full header name (its sToken).
    virtual KtString getExpandedToken() const = 0;
    /// The compact name; the full name for classes without one.
    virtual KtString getCompactToken() const { return getExpandedToken(); }
    /// Parses one value, stopping before a "," that separates it from the next value or at
    /// the end of the line.
    virtual void doParse(KtInputStream& in) = 0;
    /// Writes one value (no name, colon or line end).
    virtual void doSerialize(KtOutputStream& out) const = 0;

    /// Registers `constructor` under `token` (case-insensitive; the first registration of a
    /// name wins). `token` must stay valid for the life of the process. There is no limit:
    /// the first 128 names are looked up through a probe table, any further ones through the
    /// registry's map (the message factory's method registry follows the same rule).
    static void sAddConstructor(const char* token, KtSipHeader* (*constructor)());
    /// A new, empty header of the class registered for `token`, or a KtSipUnknownHeader
    /// named `token`.
    static KtSipHeader* sConstruct(const char* token);
    /// True when a class is registered for `token`.
    static bool sIsRegistered(const char* token);
    /// Every registered name (full and compact), in the registry's case-insensitive order.
    static std::vector<const char*> sRegisteredNames();
    /// Reads one header line (with its continuation lines and line end) and returns the first
    /// header of its chain. Throws KtSipParseError for a malformed line; the line has then
    /// been consumed.
    static KtHandle<KtSipHeader> sConstructFrom(KtInputStream& in);

    /// Reads the rest of a header line, name included, and parses it into this header and
    /// the chain that follows it.
    void parse(KtInputStream& in);
    /// Parses what follows the colon: this header's value and any further values.
    void parseRest(KtInputStream& in);
    /// Writes this header and every header after it in its chain, one line each.
    void serialize(KtOutputStream& out) const;
    /// Appends `header` at the end of this chain.
    void addNext(KtSipHeader* header);

    /// The name this header writes.
    const KtString& getToken() const { return m_Token; }
    /// Sets the name this header writes.
    void setToken(const KtString& token) { m_Token = token; }
    /// The next header of the chain, or nil.
    const KtHandle<KtSipHeader>& getNext() const { return m_Next; }
    /// Replaces the rest of the chain.
    void setNext(const KtHandle<KtSipHeader>& next) { m_Next = next; }
    /// Replaces the rest of the chain with the header `next` held (no reference counted).
    void setNext(KtHandle<KtSipHeader>&& next) { m_Next = std::move(next); }
    /// The header's kind.
    HeaderID getHeaderID() const { return m_HeaderID; }
    /// The text doSerialize writes, as a string.
    KtString getValueString() const;

protected:
    KtSipHeader(const KtString& token, HeaderID id) : m_Token(token), m_HeaderID(id) {}
    /// Shares the token, copies the id; next is nil.
    KtSipHeader(const KtSipHeader& other) : KtObject(), m_Token(other.m_Token), m_HeaderID(other.m_HeaderID) {}
    KtSipHeader& operator=(const KtSipHeader&) = delete;

    /// Runs doParse over the NUL-terminated `text` (null reads as empty), in place: the
    /// constructors that take a header value use it.
    void parseText(const char* text);

    KtString m_Token;
    KtHandle<KtSipHeader> m_Next;
    HeaderID m_HeaderID;

private:
    // Releases the rest of the chain, one header at a time (out of line: a header without a
    // chain is released with no more than a test).
    __attribute__((noinline)) void releaseChain();
    // Parses a gathered line of `n` bytes (no line end) that is followed by CR LF in memory;
    // `overflow` when it was cut at the line buffer. `colon`, when not null, is the line's
    // first colon and the name the `nameLength` bytes at `line` (trimmed). `ownConstructor`,
    // when not null, tells that the token already holds exactly that name and is the
    // constructor registered for it.
    void parseLine(const char* line, unsigned n, bool overflow, const char* colon, unsigned nameLength,
                   KtSipHeader* (*ownConstructor)());
    // The body of parseRest; `elementConstructor`, when not null, the constructor registered
    // for the expanded token.
    void readValues(KtInputStream& in, KtSipHeader* (*elementConstructor)());
};

/// The factory registered for a header class.
template <class T>
struct KtSipHeaderConstructor {
    static KtSipHeader* Constructor() { return new T(); }
};

/// The boilerplate of a concrete header class, written once: the full name, the header id
/// and clone. `Derived` declares `static const KtString sToken;` (and, with a compact form,
/// `static const KtString sCompactToken;` plus a getCompactToken override through
/// KtSipCompactHeaderImpl) and a copy constructor.
template <class Derived, HeaderID ID, class Base = KtSipHeader>
class KtSipHeaderImpl : public Base {
public:
    static constexpr HeaderID sID = ID;
    KtString getExpandedToken() const override { return Derived::sToken; }
    KtSipHeader* clone() const override { return new Derived(static_cast<const Derived&>(*this)); }

protected:
    KtSipHeaderImpl() : Base(Derived::sToken, ID) {}
    KtSipHeaderImpl(const KtSipHeaderImpl& other) = default;
    /// For a class whose subclasses share its shape under another name (Authorization).
    KtSipHeaderImpl(const KtString& token, HeaderID id) : Base(token, id) {}
};

/// As KtSipHeaderImpl, for classes that also have a compact name.
template <class Derived, HeaderID ID, class Base = KtSipHeader>
class KtSipCompactHeaderImpl : public KtSipHeaderImpl<Derived, ID, Base> {
public:
    KtString getCompactToken() const override { return Derived::sCompactToken; }

protected:
    KtSipCompactHeaderImpl() = default;
    KtSipCompactHeaderImpl(const KtSipCompactHeaderImpl& other) = default;
};

/// Defines the static token of CLASS and registers the class under NAME at load time.
#define KT_SIP_HEADER_REGISTER(CLASS, NAME)                                                     \
    const KtString CLASS::sToken(KtString::sStatic(NAME));                                                         \
    namespace {                                                                                 \
    const bool ktRegistered##CLASS =                                                            \
        (KtSipHeader::sAddConstructor(CLASS::sToken.c_str(), &KtSipHeaderConstructor<CLASS>::Constructor), true); \
    }

/// As KT_SIP_HEADER_REGISTER, also defining and registering the compact name COMPACT.
#define KT_SIP_HEADER_REGISTER_COMPACT(CLASS, NAME, COMPACT)                                    \
    const KtString CLASS::sToken(KtString::sStatic(NAME));                                                         \
    const KtString CLASS::sCompactToken(KtString::sStatic(COMPACT));                                               \
    namespace {                                                                                 \
    const bool ktRegistered##CLASS =                                                            \
        (KtSipHeader::sAddConstructor(CLASS::sToken.c_str(), &KtSipHeaderConstructor<CLASS>::Constructor), \
         KtSipHeader::sAddConstructor(CLASS::sCompactToken.c_str(), &KtSipHeaderConstructor<CLASS>::Constructor), \
         true);                                                                                 \
    }

/// Defines the static token of a class that exists but is not registered (Call-Info).
#define KT_SIP_HEADER_UNREGISTERED(CLASS, NAME) const KtString CLASS::sToken(KtString::sStatic(NAME));

/// The members of a header class whose only constructors are the usual three: the default
/// one (registry factory), the one that parses a header value, and the copy constructor
/// (clone); plus the static name. KT_SIP_HEADER_TEXT_CONSTRUCTOR defines the second one.
#define KT_SIP_HEADER_TEXT_MEMBERS(CLASS)                                   \
public:                                                                     \
    /** An empty header. */                                                 \
    CLASS() = default;                                                      \
    /** Parses the header value `text` (null reads as empty). */            \
    explicit CLASS(const char* text);                                       \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;

/// Defines CLASS(const char* text) in the class's source file (after its TORVANE_FILE_LOGGER):
/// the trace scope "CLASS ctor" around parseText.
#define KT_SIP_HEADER_TEXT_CONSTRUCTOR(CLASS)                               \
    CLASS::CLASS(const char* text) {                                        \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS " ctor");                  \
        parseText(text);                                                    \
    }

/// The members of a header class that holds one reference counted value of type VALUE: the
/// default constructor, the constructor that holds `value` (not copied), and the static name.
/// KT_SIP_HEADER_VALUE_CONSTRUCTORS defines the two constructors; the copy constructor is
/// the shape's (a deep copy).
#define KT_SIP_HEADER_VALUE_MEMBERS(CLASS, VALUE)                           \
public:                                                                     \
    /** An empty header. */                                                 \
    CLASS();                                                                \
    /** A header holding `value`. */                                        \
    explicit CLASS(const KtHandle<VALUE>& value);                           \
    static const KtString sToken;

/// Defines, in the class's source file, the two constructors KT_SIP_HEADER_VALUE_MEMBERS
/// declares; each opens the trace scope "CLASS ctor", and the second stores its value in MEMBER.
#define KT_SIP_HEADER_VALUE_CONSTRUCTORS(CLASS, VALUE, MEMBER)              \
    CLASS::CLASS() { TORVANE_TRACE_SCOPE(fileLogger(), #CLASS " ctor"); }   \
    CLASS::CLASS(const KtHandle<VALUE>& value) {                            \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS " ctor");                  \
        MEMBER = value;                                                     \
    }

#endif
