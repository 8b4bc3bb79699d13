// The shape shared by the headers whose value is one name-address (Route, Record-Route)
// and, through KtSipNameAddrParamsHeader, by those that add header parameters.
#ifndef KTSIP_KT_SIP_NAME_ADDR_HEADER_H
#define KTSIP_KT_SIP_NAME_ADDR_HEADER_H

#include "KtSipHeader.h"
#include "KtSipNameAddress.h"

/// A header holding one name-address (display name and URI). The name-address is never
/// nil: a new header holds an empty one, and setNameAddress(nil) puts an empty one back.
class KtSipNameAddrHeader : public KtSipHeader {
public:
    ~KtSipNameAddrHeader() override {}

    /// The address (never nil).
    const KtHandle<KtSipNameAddress>& getNameAddress() const { return m_nameAddress; }
    /// Replaces the address (held, not copied); nil gives an empty name-address.
    void setNameAddress(const KtHandle<KtSipNameAddress>& nameAddress);

    /// Writes the name-address: [display name " "] "<" uri ">".
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipNameAddrHeader(const KtString& token, HeaderID id);
    /// Deep copy: the other header's name-address is cloned (an empty one when it is nil).
    KtSipNameAddrHeader(const KtSipNameAddrHeader& other);

    /// Reads the name-address from `in`, stopping right after it.
    void parseNameAddress(KtInputStream& in);
    /// As parseNameAddress, but any KtException raised while reading is replaced by a
    /// KtSipParseError carrying `failureMessage`.
    void parseNameAddress(KtInputStream& in, const char* failureMessage);

    KtHandle<KtSipNameAddress> m_nameAddress;
};

/// The members of a class that holds one name-address and nothing else (Route,
/// Record-Route): KT_SIP_HEADER_TEXT_MEMBERS and the reader of the name-address.
#define KT_SIP_NAME_ADDR_HEADER_MEMBERS(CLASS)                              \
    KT_SIP_HEADER_TEXT_MEMBERS(CLASS)                                       \
    /** Reads one name-address; any failure becomes KtSipParseError        \
        "Invalid Name-Address in " followed by the class name. */           \
    void doParse(KtInputStream& in) override;

/// Defines, in the class's source file, what KT_SIP_NAME_ADDR_HEADER_MEMBERS declares: the
/// text constructor and doParse (trace scope "CLASS::doParse").
#define KT_SIP_NAME_ADDR_HEADER_DEFINE(CLASS)                               \
    KT_SIP_HEADER_TEXT_CONSTRUCTOR(CLASS)                                   \
    void CLASS::doParse(KtInputStream& in) {                                \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::doParse");              \
        parseNameAddress(in, "Invalid Name-Address in " #CLASS);            \
    }

#endif
