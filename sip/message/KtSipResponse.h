// SIP responses: status code, reason phrase and the status line.
#ifndef KTSIP_KT_SIP_RESPONSE_H
#define KTSIP_KT_SIP_RESPONSE_H

#include "KtSipAuthenticateHeader.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"

/// A SIP response: a message with a status code and a reason phrase. Registered with the
/// message factory under the first token "SIP".
class KtSipResponse : public KtSipMessage {
public:
    /// "SIP": the first token of every status line.
    static const KtString sMethodName;
    /// Size of the buffer the reason phrase is read into (longer phrases are cut).
    static const unsigned REASON_BUFFER_SIZE = 128;

    /// An empty response: code 0, empty reason phrase, no headers.
    KtSipResponse();

    /// A response with `code` to `request`: the reason phrase of the code, clones of the
    /// request's Via headers (in order), From, To (no tag is added: add the local tag
    /// yourself, for example with KtSipTag), Call-ID and CSeq (the request's method when the
    /// CSeq carries none). A request of method exactly "BYE" or "CANCEL" gets Content-Length
    /// 0 and the body arguments are ignored; otherwise a `length` of 0 gives Content-Length 0
    /// and any other length sets the body (setBody), and a 2xx response copies every
    /// Record-Route of the request in order. A request received over TCP (transport 1)
    /// passes its connection address, port and transport on. The validity rules are run
    /// and a failure is logged at warning level, not thrown: the response is made anyway,
    /// with status 2 (isValid() false, no transaction key), for example when the request
    /// had no Via.
    /// Throws KtSipParseError "Invalid Response code" for a code outside 100..699, "Handle
    /// to request is NIL" for a nil request, or setBody's errors for a bad body.
    KtSipResponse(int code, KtHandle<KtSipRequest> request, const void* body = nullptr,
                  const char* contentType = nullptr, unsigned int length = 0);

    /// Copies the message part and the code, shares the phrase.
    KtSipResponse(const KtSipResponse& other);
    ~KtSipResponse() override;

    /// A deep copy of the response.
    KtSipResponse* clone() const override;

    /// Always false.
    bool isRequest() const override { return false; }
    /// Reads the rest of the status line after "SIP": "/", version, code and phrase. Any
    /// version is accepted. Throws KtSipParseError "'.' expected in response start line" or
    /// "unexpected end of response start line".
    void parseStartLine(KtInputStream& in) override;
    /// Writes "SIP/" major "." minor, the code and the phrase with CR LF.
    void serializeStartLine(KtOutputStream& out) const override;

    /// The first WWW-Authenticate header, else the first Proxy-Authenticate header, else nil.
    KtHandle<KtSipAuthenticateHeader> getAuthenticateHeader() const;

    /// The status code.
    int getStatusCode() const { return m_StatusCode; }
    /// Sets the status code.
    void setStatusCode(int code) { m_StatusCode = code; }
    /// The reason phrase.
    const KtString& getReasonPhrase() const { return m_ReasonPhrase; }
    /// Sets the reason phrase.
    void setReasonPhrase(const char* phrase) { m_ReasonPhrase = KtString(phrase); }

private:
    int m_StatusCode;
    KtString m_ReasonPhrase;
};

#endif
