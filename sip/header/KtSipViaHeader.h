// The Via header (compact form "v").
#ifndef KTSIP_KT_SIP_VIA_HEADER_H
#define KTSIP_KT_SIP_VIA_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// One Via element: sent protocol (name, version, transport), sent-by host and optional
/// port, the Via parameters (branch, received, maddr, ttl and any others) and an optional
/// "(...)" comment. Several elements on one line become a chain, topmost first.
///
/// The host is kept as text. An IPv6 reference is kept whole with its brackets
/// ("[2001:db8::1]"), so it is written back as received; a host given to the constructor
/// or setHost that contains ":" without brackets is written inside brackets.
///
/// Malformed text throws KtSipParseError "Invalid Via header": a missing "/" in the sent
/// protocol, a protocol word longer than 32 bytes, an empty field, a port that is not a
/// number below 2^32, an IPv6 reference without its "]", or a comment without its ")".
class KtSipViaHeader : public KtSipCompactHeaderImpl<KtSipViaHeader, HeaderVia> {
public:
    static const KtString sToken;
    static const KtString sCompactToken;

    static const char sBranch[];           ///< "branch"
    static const char sReceived[];         ///< "received"
    static const char sMAddr[];            ///< "maddr"
    static const char sTTL[];              ///< "ttl"
    static const char sHidden[];           ///< "hidden"
    static const char sSentBy[];           ///< "sent-by"
    static const char sProtocolVersion[];  ///< "2.0"
    static const char sMagicCookie[];      ///< "z9hG4bK", the RFC 3261 branch prefix

    /// SIP/2.0/UDP, no host, port 5060 not written, no parameters (the registry factory).
    KtSipViaHeader();
    /// SIP/2.0 over `transport` (upper-cased) from `host` and `port`; no branch is set.
    /// Throws KtSipParseError "Invalid Via header" when host or transport is empty.
    KtSipViaHeader(const char* host, unsigned port, const char* transport);
    /// Copies every field and the parameter list; next is nil.
    KtSipViaHeader(const KtSipViaHeader& other);

    /// Sent protocol name ("SIP").
    const KtConstString& getProtocol() const { return m_protocol; }
    /// Sent protocol version ("2.0").
    const KtConstString& getVersion() const { return m_version; }
    /// Transport, upper case ("UDP", "TCP", "TLS", ...).
    const KtConstString& getTransport() const { return m_transport; }
    /// Sent-by host (an IPv6 reference with its brackets).
    const KtConstString& getHost() const { return m_host; }
    /// Comment text without the parentheses; empty when absent.
    const KtConstString& getComment() const { return m_comment; }
    /// Sent-by port; 5060 when none was given.
    unsigned getPort() const { return m_port; }
    /// True when a port was given (only then is it written).
    bool hasPort() const { return m_hasPort; }
    /// The Via parameters in received order (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters; }

    /// Replaces the transport (upper-cased).
    void setTransport(const char* transport);
    /// Replaces the host.
    void setHost(const char* host) { m_host.assign(host); }
    /// Sets the port; it is written from now on.
    void setPort(unsigned port) {
        m_port = port;
        m_hasPort = true;
    }
    /// Removes the port: 5060 is reported and nothing is written.
    void clearPort() {
        m_port = 5060;
        m_hasPort = false;
    }
    /// Replaces the comment (null or empty removes it).
    void setComment(const char* comment) { m_comment.assign(comment); }

    /// Value of the "branch" parameter; nil when absent.
    KtString getBranch() const { return m_parameters->getValue(sBranch); }
    /// Value of the "received" parameter; nil when absent.
    KtString getReceived() const { return m_parameters->getValue(sReceived); }
    /// Value of the "maddr" parameter; nil when absent.
    KtString getMaddr() const { return m_parameters->getValue(sMAddr); }
    /// The "ttl" parameter as a decimal number (strtol); 1 when absent.
    unsigned getTTL() const;
    /// Sets "branch" to the magic cookie followed by a new UUID, replacing any branch.
    void setBranchRFC3261();

    /// True when `other` is not nil and protocol, version, host, port and transport are all
    /// equal (exact comparison). Parameters, comment and whether a port was written are not
    /// compared.
    bool compare(KtHandle<KtSipViaHeader> other) const;
    /// Throws KtSipParseError "Invalid Via header" when protocol, version, transport or host
    /// is empty, and "Invalid value for ttl parameter in Via header" when a ttl parameter is
    /// present but is not a decimal number from 0 to 255.
    void checkValidity() const;

    /// Reads one Via element: protocol "/" version "/" transport, host, then port, comment
    /// and parameters in any order; stops before a "," or the line end, then checks validity.
    void doParse(KtInputStream& in) override;
    /// Writes protocol/version/transport host[:port][;params][ (comment)].
    void doSerialize(KtOutputStream& out) const override;

private:
    // checkValidity; `fresh` when the parameter list was made by this header's constructor
    // or parser and no other thread can reach it yet (read without its mutex).
    void checkFields(bool fresh) const;
    /// Reads the parameters after a ";" up to the end of the element or a comment.
    void parseParameters(KtInputStream& in);

    KtHandle<KtParameters> m_parameters;
    KtConstString m_protocol;
    KtConstString m_version;
    KtConstString m_transport;
    KtConstString m_host;
    unsigned m_port;
    bool m_hasPort;
    KtConstString m_comment;
};

#endif
