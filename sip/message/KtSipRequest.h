// SIP requests: method, request URI and the request line.
#ifndef KTSIP_KT_SIP_REQUEST_H
#define KTSIP_KT_SIP_REQUEST_H

#include "KtSipAuthorizationHeader.h"
#include "KtSipCSeqHeader.h"
#include "KtSipContactHeader.h"
#include "KtSipFromHeader.h"
#include "KtSipMessage.h"
#include "KtSipNameAddress.h"
#include "KtSipToHeader.h"
#include "KtSipURL.h"
#include "KtURI.h"

class KtSipResponse;

/// A SIP request: a message with a method and a request URI. Requests of the registered
/// methods have a class each (KtSipInviteMessage, ...); any other method is parsed as a
/// KtSipUnknownRequest.
class KtSipRequest : public KtSipMessage {
public:
    /// Size of the work buffer of the request line (the text after the method, line end
    /// included, must be shorter).
    static const unsigned START_LINE_BUFFER_SIZE = 1024;

    /// A request of `method` with an empty generic request URI and no headers. Throws
    /// KtException "KtSipRequest constructor expects a Method Name" for an empty method.
    explicit KtSipRequest(const KtString& method);

    // The request-building constructors below share their tail arguments:
    //  - callId: the Call-ID value, used unchanged; null or "" generates one
    //    (KtSipCallid: UUID "@" local host name);
    //  - cseq: the CSeq number, written with the method; 0 draws a starting number
    //    (KtSipCSeq), so a CSeq of 0 cannot be asked for;
    //  - contentType, body, length: the body (setBody); a length of 0 adds Content-Length 0
    //    and ignores body and content type.
    // Headers are added in the order From, To, Contact, Call-ID, CSeq, then Content-Length
    // (and Content-Type). No Via and no Max-Forwards are added: the transport adds Via
    // (insertViaHeader), Max-Forwards is the caller's. Each throws KtException "The SIP
    // Method cannot be NULL or EMPTY" for an empty method, before anything else.

    /// A request whose From, To and Contact are parsed from header values such as
    /// `"Alice" <sip:alice@a.example>;tag=1` (Contact only when `contact` is neither null
    /// nor empty). The request URI is a copy of the To address's URI, without angle
    /// brackets; headers carried in that URI stay in it. Throws the header parsers'
    /// KtSipParseError for malformed text (a null or empty From or To is malformed).
    KtSipRequest(const KtString& method, const char* from, const char* to, const char* contact,
                 const char* callId = nullptr, unsigned int cseq = 0, const char* contentType = nullptr,
                 const void* body = nullptr, unsigned int length = 0);
    /// A request carrying the given From, To and Contact objects themselves (not copies;
    /// each with the chain it carries). A nil From or Contact is left out. The request URI
    /// is a copy of the To address's URI, without angle brackets. Throws KtException
    /// "KtSipRequest constructor expects a To header" for a nil To.
    KtSipRequest(const KtString& method, KtHandle<KtSipFromHeader> from, KtHandle<KtSipToHeader> to,
                 KtHandle<KtSipContactHeader> contact, const char* callId = nullptr, unsigned int cseq = 0,
                 const char* contentType = nullptr, const void* body = nullptr, unsigned int length = 0);
    /// A request to the URI of `target` (shared, not copied: the headers carried in it,
    /// after "?", are moved into the request, which leaves the target's URI without them;
    /// each replaces the headers of its name, and a "body" entry replaces the body), with
    /// the given From, To and Contact objects (nil ones are left out). Throws
    /// KtException "KtSipRequest constructor expects a request URI" for a nil target.
    KtSipRequest(const KtString& method, KtHandle<KtSipNameAddress> target, KtHandle<KtSipFromHeader> from,
                 KtHandle<KtSipToHeader> to, KtHandle<KtSipContactHeader> contact, const char* callId = nullptr,
                 unsigned int cseq = 0, const char* contentType = nullptr, const void* body = nullptr,
                 unsigned int length = 0);
    /// A request to `uri` (shared, not copied: the headers carried in a sip: URI are moved
    /// into the request as with a target), with the given From, To and Contact objects (nil
    /// ones are left out). Throws KtException "KtSipRequest constructor expects a request URI" for a nil
    /// URI.
    KtSipRequest(const KtString& method, KtHandle<KtURI> uri, KtHandle<KtSipFromHeader> from,
                 KtHandle<KtSipToHeader> to, KtHandle<KtSipContactHeader> contact, const char* callId = nullptr,
                 unsigned int cseq = 0, const char* contentType = nullptr, const void* body = nullptr,
                 unsigned int length = 0);

    /// Copies the message part, shares the method string and clones the request URI.
    KtSipRequest(const KtSipRequest& other);
    ~KtSipRequest() override;

    /// A deep copy of the request.
    KtSipRequest* clone() const override;

    /// Always true.
    bool isRequest() const override { return true; }
    /// This request.
    const KtSipRequest* asRequest() const noexcept override { return this; }
    /// False when the status is not 0; otherwise true when the method equals the CSeq
    /// method exactly (false without a CSeq header).
    bool isValid() const override;
    /// Keeps `method` as the request's method, then parses the rest of the message.
    void parse(const char* method, KtInputStream& in) override;
    /// Reads the rest of the request line: the request URI and the version, which must be
    /// SIP/2.0. Sets the status to 414 (line too long), 416 (scheme neither sip nor tel),
    /// 505 (version other than 2.0) or 2 (end of input) before throwing KtSipParseError.
    void parseStartLine(KtInputStream& in) override;
    /// Writes method, URI and version with CR LF; writes nothing (and reports an
    /// assertion) when the method is empty or the URI nil.
    void serializeStartLine(KtOutputStream& out) const override;
    /// True when requests of this class go through the local outbound proxy.
    virtual bool useLocalOutboundProxy() const;

    /// The method as received or given (case kept).
    const KtString& getMethod() const { return m_Method; }
    /// The request URI.
    const KtHandle<KtURI>& getURI() const { return m_URI; }
    /// Stores a deep copy of `uri` (nil stays nil) without angle brackets. Locks.
    void setURI(KtHandle<KtURI> uri);
    /// The request URI as a sip: URL; nil (and an assertion report) when it is not one.
    KtHandle<KtSipURL> getURL() const;

    /// The first Authorization header, else the first Proxy-Authorization header, else nil.
    KtHandle<KtSipAuthorizationHeader> getAuthorizationHeader() const;

    /// Adds a Via header made of `host`, `port` and `transport` ahead of any Via present.
    void insertViaHeader(const char* host, unsigned int port, const char* transport);
    /// Moves the headers carried in a sip: request URI (after "?") into the message: "body"
    /// becomes the body, every other name replaces the headers of that name. The URI keeps
    /// no header part afterwards.
    void stripSipURLHeaders();
    /// Removes '<' and '>' from the scheme and scheme data of the request URI.
    void stripBrackets();
    /// A new copy of `text` without '<' and '>' (null for null); free it with delete[].
    static char* clearBrackets(const char* text);

protected:
    /// A request with an empty method, for classes that learn their method from the input.
    KtSipRequest();

    // Pieces of the derived-message constructors (ACK, PRACK, CANCEL, BYE).

    /// Adds a clone of the first header of kind `id` of `source`; nothing when it has none.
    void addCopyOf(const KtSipMessage& source, HeaderID id);
    /// Adds a CSeq header with `number` and this request's method.
    void addCSeq(unsigned int number);
    /// Adds a CSeq header with the number of `source`'s CSeq plus `increment`; nothing when
    /// `source` has no CSeq (the request is then as invalid as its source).
    void addNextCSeq(const KtSipMessage& source, unsigned int increment);
    /// A `length` of 0 adds Content-Length 0 (body and type ignored); otherwise setBody.
    void addBody(const void* body, const char* contentType, unsigned int length);
    /// The URI of the address of the first header of kind `id` of `source` (From, To or
    /// Contact); nil when it has none or when it is a wildcard Contact.
    static KtHandle<KtURI> sAddressURI(const KtSipMessage& source, HeaderID id);
    /// A copy of the CSeq header of `message`; nil when it has none.
    static KtHandle<KtSipCSeqHeader> sCSeqOf(const KtSipMessage& message);
    /// The request of an ACK (increment 0) or a PRACK (increment 1) for `response`: the
    /// response's CSeq method must be exactly "INVITE" (else KtSipParseError `refusal`);
    /// From, To, the request URI (Contact of a 2xx, else To), Call-ID, CSeq with the
    /// response's number plus `increment` and this request's method, then the body.
    void initAcknowledgement(const KtSipResponse& response, const char* refusal, unsigned int increment,
                             const void* body, const char* contentType, unsigned int length);

private:
    /// Steps 1-2 of the building constructors: refuses an empty method, then stores it.
    void initMethod(const KtString& method);
    /// The headers every building constructor adds, in order: From, To, Contact (nil ones
    /// left out), Call-ID (generated when `callId` is null or empty), CSeq (drawn when
    /// `cseq` is 0), then Content-Length 0 or the body.
    void addDialogHeaders(const KtHandle<KtSipHeader>& from, const KtHandle<KtSipHeader>& to,
                          const KtHandle<KtSipHeader>& contact, const char* callId, unsigned int cseq,
                          const char* contentType, const void* body, unsigned int length);
    /// stripSipURLHeaders for a request built around a caller's URI: a "body" entry of the
    /// URI replaces the body (and Content-Length) the constructor set.
    void liftTargetHeaders();

    KtString m_Method;
    KtHandle<KtURI> m_URI;
};

#endif
