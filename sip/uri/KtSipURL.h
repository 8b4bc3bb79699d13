// The sip: URL: user, password, host, port, parameters and headers.
#ifndef KTSIP_KT_SIP_URL_H
#define KTSIP_KT_SIP_URL_H

#include "KtParameters.h"
#include "KtURI.h"

/// A sip: URL (`sip:user:password\@host:port;params?headers`).
///
/// Reading: with the in-bracket flag false and no "<" in front, the URL ends before its
/// first ";": the parameters after it belong to the enclosing header. Read in
/// brackets (flag true, as the request line does, or after a "<") the parameters belong
/// to the URL. A URL also ends, without consuming it, at "," outside brackets and at
/// white space, CR or LF; the ">" that closes a URL opened by "<" is consumed.
/// The user part is the text before the first "@" of the URL, so it may hold ";", "?", ","
/// and the like (RFC 3261 user-unreserved). An IPv6 reference is read as the host.
///
/// Percent escapes outside the header part are kept as written, so that the text form
/// reproduces the input byte for byte. The header part is a list of name=value pairs
/// separated by ";" whose escapes are decoded; on output its names and values are escaped
/// again (";" as %3B, "=" as %3D, every byte other than letters, digits and
/// -_.!~*'()[]/?:+$ as %xx in lower-case hexadecimal).
class KtSipURL : public KtURI {
public:
    /// Transport named by the "transport" parameter.
    enum Transport { UDP, TCP };

    /// The scheme token "sip".
    static const KtString sToken;
    /// The default port 5060 as text.
    static const char DEFAULT_PORT_STRING[];
    /// The default port.
    static const int DEFAULT_PORT = 5060;

    /// An empty URL: no user or host, port 5060 not given, empty lists, not in brackets.
    KtSipURL();
    /// Parses `text` as a URL in brackets (its parameters belong to it).
    explicit KtSipURL(const char* text);
    /// Deep copy (both lists copied).
    KtSipURL(const KtSipURL& other);
    ~KtSipURL() override {}

    /// A copy through the copy constructor.
    KtSipURL* clone() const override;
    /// True when the URL has parameters.
    bool hasParameters() const override;
    /// True when the URL has headers (after "?").
    bool hasHeaders() const override;
    /// "sip:" [user [":" password] "@"] host [":" port] {";" name ["=" value]} ["?" headers].
    /// The port is written only when it was given; header values are escaped.
    KtString getString() const override;
    /// Writes the text getString returns to `out`, without building a string.
    void write(KtOutputStream& out) const;
    /// Reads a sip: URL (see the class comment). Throws KtSipParseError on malformed text.
    void parse(KtInputStream& in) override;
    using KtURI::parse;
    /// Reads the header part (after "?") into the header list: pairs name=value separated
    /// by ";", %xx decoded. Stops at the end of the input, a ">" or a line end.
    void parseHeader(KtInputStream& in);
    /// Number of parameters.
    virtual int numParameters() const;
    /// Number of headers.
    virtual int numHeaders() const;

    /// The user part as written (escapes kept); empty when there is none.
    const KtString& getUser() const { return m_User; }
    /// The password (text after ":" in the user part).
    const KtString& getPassword() const { return m_Password; }
    /// The host as written; an IPv6 reference keeps its brackets ("[2001:db8::1]").
    const KtString& getHost() const { return m_Host; }
    /// The port: the one given, else 5060.
    int getPort() const { return m_Port; }
    /// True when the port was written or set.
    bool isPortGiven() const { return m_PortGiven; }
    /// True when the URL text itself was opened by "<".
    bool hasOpeningBracket() const { return m_OpeningBracket; }

    /// Replaces the user part.
    void setUser(const char* user) { m_User = KtString(user); }
    /// Replaces the password.
    void setPassword(const char* password) { m_Password = KtString(password); }
    /// Replaces the host.
    void setHost(const char* host) { m_Host = KtString(host); }
    /// Sets the port and marks it given.
    void setPort(int port) {
        m_Port = port;
        m_PortGiven = true;
    }
    /// Forgets the port (back to 5060, not given).
    void clearPort() {
        m_Port = DEFAULT_PORT;
        m_PortGiven = false;
    }

    /// The parameter list (never nil; made on first use).
    const KtHandle<KtParameters>& getParameters() const { return m_Parameters.get(); }
    /// The header list (never nil; made on first use).
    const KtHandle<KtParameters>& getHeaders() const { return m_Headers.get(); }
    /// The value of parameter `name` (empty when absent or without value).
    KtString getParameter(const char* name) const;
    /// The value of header `name` (empty when absent).
    KtString getHeader(const char* name) const;
    /// Sets (replaces or appends) parameter `name`; a null value gives a bare name.
    void setParameter(const char* name, const char* value);
    /// Sets (replaces or appends) header `name`.
    void setHeader(const char* name, const char* value);

    /// The "ttl" parameter as a number; -1 when absent or not a decimal number.
    int getTTL() const;
    /// The "user" parameter ("phone" marks a telephone user part).
    KtString getUserParam() const;
    /// The "method" parameter.
    KtString getMethodParam() const;
    /// The "maddr" parameter.
    KtString getMAddrParam() const;
    /// The transport of the "transport" parameter: TCP for "tcp", UDP for "udp", for none
    /// and (logged) for any other value. Compared without case.
    Transport getTransportParam() const;

    /// URL equality: user, host, port, transport, password, then parameters (see .cpp).
    bool operator==(const KtSipURL& other) const;
    bool operator!=(const KtSipURL& other) const { return !(*this == other); }

    /// Number of "transport" parameters met (by getTransportParam) that named neither udp nor
    /// tcp: the event ".UnknownTransportInContact".
    static unsigned long sUnknownTransportCount();

private:
    void parseParameter(KtInputStream& in);
    bool parseHeaderPart(KtInputStream& in);

    KtString m_User;
    KtString m_Password;
    KtString m_Host;
    int m_Port;
    bool m_PortGiven;
    // Both lists are made on first use: most URLs have neither.
    KtLazyParameters m_Parameters;
    KtLazyParameters m_Headers;
    bool m_OpeningBracket;
};

#endif
