// SIP requests: method, request URI and the request line.
#ifndef KTSIP_KT_SIP_REQUEST_H
#define KTSIP_KT_SIP_REQUEST_H

#include "KtSipAuthorizationHeader.h"
#include "KtSipMessage.h"
#include "KtSipURL.h"
#include "KtURI.h"

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

    // The request-building constructors (from addresses, headers, a target name-address
    // or a request URI, with Call-ID, CSeq and body) belong here.

    /// Copies the message part, shares the method string and clones the request URI.
    KtSipRequest(const KtSipRequest& other);
    ~KtSipRequest() override;

    /// A deep copy of the request.
    KtSipRequest* clone() const override;

    /// Always true.
    bool isRequest() const override { return true; }
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

    KtString m_Method;
    KtHandle<KtURI> m_URI;
};

#endif
