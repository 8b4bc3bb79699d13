// The SIP message: header storage, parsing, validity, transaction key and output.
#ifndef KTSIP_KT_SIP_MESSAGE_H
#define KTSIP_KT_SIP_MESSAGE_H

#include <iosfwd>
#include <vector>

#include "KtHandle.h"
#include "KtInetAddress.h"
#include "KtInputStream.h"
#include "KtMutex.h"
#include "KtOutputStream.h"
#include "KtSipHeader.h"
#include "KtSipHeaderOrder.h"
#include "KtSipParseError.h"
#include "KtSipParseKeepAliveException.h"
#include "KtSocketImpl.h"
#include "KtString.h"
#include "TorvaneLogger.h"
#include "TorvaneMemAllocator.h"

class KtSipRequest;

/// The common part of SIP requests and responses: version, headers, body, the addresses
/// and transport of the connection, and the status that records why a message is unfit.
///
/// Headers are kept in 60 slots indexed by HeaderID; all headers of one kind form a chain
/// through their `next` handle. Serialization writes the chains in the order in which their
/// kinds first entered the message.
///
/// Locking: addHeader, addSingleHeader (on its path with an existing chain), mGetHeader,
/// removeHeader, the address and transport setters, serialize, setBody (per update),
/// createKey (while it picks up headers), getHeaderOrder and the copy constructor (on its
/// source) take the message's mutex. The parser, asynchAddHeader, addHeaderByID,
/// mGetHeaderByID, mTokenToID, getBodyLength and getBodyType do not. The mutex is not
/// recursive: code that holds it calls only the unlocked operations.
///
/// Every message, and every body, comes from the "KtSipMessage" pool.
class KtSipMessage : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipMessage")
public:
    /// Factory of an empty message of one class (the method registry holds these).
    typedef KtSipMessage* (*Creator)();

    /// Status values other than SIP status codes.
    enum {
        STATUS_VALID = 0,           ///< the message is valid
        STATUS_BAD_HEADER = 1,      ///< a header line or the body could not be read
        STATUS_PARSE_FAILED = 2     ///< start line, header section or validity rules failed
    };

    /// 60 empty slots, no body, version 2.0, ports, transport and status 0, a new mutex.
    KtSipMessage();
    /// Copies version, addresses, ports and transport, clones every header (in chain order,
    /// keeping the source's header order) and copies the body. The status starts at 0.
    /// Holds the source's mutex while it reads it.
    KtSipMessage(const KtSipMessage& other);
    ~KtSipMessage() override;
    KtSipMessage& operator=(const KtSipMessage&) = delete;

    /// A deep copy of the message, of the same class.
    KtSipMessage* clone() const override = 0;

    /// True for requests.
    virtual bool isRequest() const = 0;
    /// This message as a request; null for a response. A virtual call, cheaper than a
    /// dynamic_cast on the parse path.
    virtual const KtSipRequest* asRequest() const noexcept { return nullptr; }
    /// True when the status is 0.
    virtual bool isValid() const;
    /// Reads the rest of the message after its first token: start line, headers, body,
    /// then the validity rules. Failures in the header section leave the message marked
    /// invalid; failures of the start line, the body and the validity rules are thrown.
    virtual void parse(const char* firstToken, KtInputStream& in);
    /// Reads the rest of the start line, line end included.
    virtual void parseStartLine(KtInputStream& in) = 0;
    /// Writes the start line with its CR LF.
    virtual void serializeStartLine(KtOutputStream& out) const = 0;
    /// Checks the mandatory headers; throws KtException (after setting the status to 2)
    /// naming the first rule broken.
    virtual void checkValidity();

    // ---- parsing -------------------------------------------------------------------

    /// Parses one received message. Throws KtSipParseError ("SIP Method Token Expected" for
    /// empty input, or a start-line or body failure), KtSipParseKeepAliveException for input
    /// that starts with white space, a slash, CR or LF, or a KtException of the validity
    /// rules; otherwise returns the message, which may be invalid (isValid() false).
    static KtHandle<KtSipMessage> sConstructFrom(KtInputStream& in);
    /// Registers `create` for the first token `method` (exact match). The first
    /// registration of a name wins. There is no limit: the first 64 names are looked up
    /// through a probe table, any further ones through the registry's map.
    static void sAddConstructor(const char* method, Creator create);
    /// True when a class is registered for the first token `method`.
    static bool sIsRegistered(const char* method);

    /// Reads header lines up to the empty line that ends the header section. A line that
    /// yields no header sets the status to 1 and parsing goes on.
    void parseHeaders(KtInputStream& in);
    /// Reads the body: Content-Length bytes, or everything up to the end of the input when
    /// the message has no Content-Length (one is then added). Throws KtSipParseError
    /// "message body is shorter than Content-Length" when the input ends early.
    void parseBody(KtInputStream& in);

    // ---- header operations ---------------------------------------------------------

    /// Adds `header` (and the chain it carries) at the end of the chain of its kind, or at
    /// its start when `prepend` is true. Adding the object that already heads the chain is
    /// ignored (debug log). A nil handle is ignored. Locks.
    void addHeader(KtHandle<KtSipHeader> header, bool prepend = false);
    /// Adds a copy of `header` alone (without its chain). The chain it joins is looked up
    /// by the header's name; with none found the copy takes the slot of its kind outright.
    void addSingleHeader(KtHandle<KtSipHeader> header, bool prepend = false);
    /// As addHeader, without taking the mutex (for callers that own the message or hold
    /// its mutex).
    void asynchAddHeader(const KtHandle<KtSipHeader>& header, bool prepend);
    /// Stores `header` in the slot of its kind, replacing what stood there, and appends the
    /// kind to the header order. No lock; meant for an empty slot.
    void addHeaderByID(const KtHandle<KtSipHeader>& header);
    /// The first header of kind `id`, or nil. No lock.
    KtHandle<KtSipHeader> mGetHeaderByID(HeaderID id) const;
    /// The kind of the header named `name` among the kinds present in the message (case
    /// ignored; the name the first header of a kind writes, the class's full name and its
    /// compact name all match); 55 when no kind present matches. No lock.
    HeaderID mTokenToID(const char* name) const;
    /// The first header named `name`: for a known kind the first of its chain; among
    /// unknown headers the first whose name equals `name` exactly (case-sensitive). Locks.
    KtHandle<KtSipHeader> mGetHeader(const char* name) const;
    /// Removes a header named `name`: for a known kind the first header of its chain (the
    /// kind leaves the header order with its last header); for unknown headers only a
    /// matching first element that has a successor is unlinked. True when a header of that
    /// name was found, even when nothing was unlinked. Locks.
    bool removeHeader(const char* name);
    /// Clones of every header of kind `id`, in chain order, linked into a new chain; nil
    /// when the message has none. Holds the mutex while it reads. (Used by the
    /// constructors of derived messages: the copies share nothing with this message.)
    KtHandle<KtSipHeader> cloneHeaderChain(HeaderID id) const;
    /// A clone of the first header of kind `id` alone (its next is nil); nil when the
    /// message has none. Holds the mutex while it reads.
    KtHandle<KtSipHeader> cloneFirstHeader(HeaderID id) const;
    /// The header kinds in output order (a copy taken under the mutex).
    std::vector<HeaderID> getHeaderOrder() const;

    /// The value of the Content-Length header, 0 without one.
    unsigned getBodyLength() const;
    /// The media type of the Content-Type header, empty without one.
    KtString getBodyType() const;
    /// The body bytes, null when there is none. At most getBodySize() bytes are valid;
    /// getBodyLength() (the Content-Length value) can differ when the header was changed
    /// on its own.
    const char* getBody() const { return reinterpret_cast<const char*>(m_pBody); }
    /// Number of body bytes held.
    unsigned getBodySize() const { return m_BodySize; }
    /// True when a Require header carries `option` exactly.
    bool isRequired(const char* option) const;
    /// True when a Supported header carries `option` exactly.
    bool isSupported(const char* option) const;

    // ---- validity and key ----------------------------------------------------------

    /// The transaction key: To address, From address, From tag, Via host, port and branch,
    /// Call-ID and CSeq number, joined without separators. Throws KtException "Unable to
    /// create transaction key for INVALID SIP Message" when the status is 2 or when To,
    /// From, Call-ID or CSeq is missing.
    KtString createKey() const;

    // ---- output --------------------------------------------------------------------

    /// Writes the message: start line, headers in header order, empty line, body.
    void serialize(KtOutputStream& out) const;
    /// Replaces the body and keeps Content-Length and Content-Type in step. With a non-zero
    /// `length`, a null `body` or a null `contentType` throws KtSipParseError (after the
    /// Content-Length value was already set).
    void setBody(const void* body, const char* contentType, unsigned length);
    /// Writes the log form: a banner line ("RECEIVED SIP MESSAGE (REQUEST) via UDP from
    /// 10.0.0.5:5060 :") and the message text with bare line feeds. `port` and `address`
    /// replace the connection's when given; `level` is not used.
    void formatMessage(std::ostream& os, bool received, const unsigned* port, const KtInetAddress* address,
                       Torvane::LogLevel level) const;
    /// Logs the form of formatMessage as one record at `level` when `logger` is enabled.
    void logMessage(const Torvane::Logger& logger, bool received, const unsigned* port,
                    const KtInetAddress* address, Torvane::LogLevel level) const;

    // ---- connection and status -----------------------------------------------------

    /// Sets the peer address. Locks.
    void setConnectionAddress(const KtInetAddress& address);
    /// Sets the peer port. Locks.
    void setConnectionPort(unsigned port);
    /// Sets the local address. Locks.
    void setLocalAddress(const KtInetAddress& address);
    /// Sets the local port. Locks.
    void setLocalPort(unsigned port);
    /// Sets the transport of the connection. Locks.
    void setConnectionTransport(KtSocketImpl::Transport transport);

    /// The peer address.
    const KtInetAddress& getConnectionAddress() const { return m_ConnectionAddress; }
    /// The peer port.
    unsigned getConnectionPort() const { return m_ConnectionPort; }
    /// The local address.
    const KtInetAddress& getLocalAddress() const { return m_LocalAddress; }
    /// The local port.
    unsigned getLocalPort() const { return m_LocalPort; }
    /// The transport of the connection.
    KtSocketImpl::Transport getConnectionTransport() const { return m_ConnectionTransport; }
    /// 0 when valid; 1, 2, or the SIP status code (414, 416, 505) a malformed request
    /// line is to be answered with.
    int getStatus() const { return m_Status; }
    /// SIP major version.
    unsigned getMajorVersion() const { return m_MajorVersion; }
    /// SIP minor version.
    unsigned getMinorVersion() const { return m_MinorVersion; }

protected:
    /// Sets the status when it is still 0 (the first failure is the one kept).
    void setStatusIfValid(int status) {
        if (m_Status == STATUS_VALID) m_Status = status;
    }
    /// The last header of each chain the parser has appended to: `last[id]` holds only where
    /// bit `id` of `known` is set, so that nothing needs clearing per message.
    struct ParsedTails {
        KtSipHeader* last[HeaderSlotCount];
        unsigned long long known = 0;
    };
    static_assert(HeaderSlotCount <= 64, "one bit of ParsedTails::known per slot");
    /// Appends `header` to the chain of its kind using `tails` so that long header sections
    /// are added in linear time. The handle is moved into the message (no reference taken
    /// and dropped per header).
    void appendParsedHeader(KtHandle<KtSipHeader>&& header, ParsedTails& tails);
    /// Puts `header` into the empty slot `id` (a valid slot) and records the kind in the
    /// header order.
    void placeFirst(HeaderID id, KtHandle<KtSipHeader>&& header);
    /// The steps of addHeader without the lock; `who` names the operation in the log line.
    void addUnlocked(const KtHandle<KtSipHeader>& header, bool prepend, const char* who);
    /// Replaces the body by a copy of `length` bytes (null body gives zero bytes).
    void replaceBody(const void* body, unsigned length);
    /// Frees the body.
    void freeBody() noexcept;
    /// Destroys the header slots (see m_Headers).
    void releaseSlots() noexcept;
    /// Sets `field` to `value` under the message's lock.
    template <class T>
    void setLocked(T& field, const T& value) {
        KtMutexGuard guard(m_Mutex.get());
        field = value;
    }

    KtLazyMutex m_Mutex;  ///< made on first locked use: a parsed message often needs none
    KtSipHeaderOrder m_HeaderOrder;
    // The header slots, in a union so that the destructor (releaseSlots), not an element-by-
    // element loop of the compiler's, lets them go: most of them are empty, and it skips
    // those four at a time. Every constructor makes them (all nil).
    union {
        KtHandle<KtSipHeader> m_Headers[HeaderSlotCount];
    };
    unsigned char* m_pBody = nullptr;
    unsigned m_BodySize = 0;      ///< valid body bytes
    unsigned m_BodyCapacity = 0;  ///< bytes allocated for the body (for the sized pool)
    unsigned char m_MajorVersion = 2;
    unsigned char m_MinorVersion = 0;
    KtInetAddress m_ConnectionAddress;
    unsigned m_ConnectionPort = 0;
    KtInetAddress m_LocalAddress;
    unsigned m_LocalPort = 0;
    KtSocketImpl::Transport m_ConnectionTransport = KtSocketImpl::UDP;
    int m_Status = STATUS_VALID;

private:
    /// The method registry: first token to factory, ordered by the bytes of the token.
    struct ConstructorMap;
    static ConstructorMap* sm_pConstructorMap;
};

/// Writes the message text with every CR LF turned into LF (for logs).
std::ostream& operator<<(std::ostream& os, const KtSipMessage& message);
/// As above; writes nothing for a nil handle.
std::ostream& operator<<(std::ostream& os, const KtHandle<KtSipMessage>& message);

#endif
