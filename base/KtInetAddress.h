// Internet host addresses (over ACE_INET_Addr).
#ifndef KTSIP_KT_INET_ADDRESS_H
#define KTSIP_KT_INET_ADDRESS_H

#include <string>

/// A host address value (IPv4 or IPv6). Cheap to construct and copy; name and text
/// conversions go through ACE_INET_Addr.
class KtInetAddress {
public:
    /// The unspecified IPv4 address 0.0.0.0.
    KtInetAddress() noexcept;
    /// Parses a numeric address (IPv4 dotted or IPv6) or resolves a host name; throws
    /// KtException "Unknown host: <text>" when it cannot.
    explicit KtInetAddress(const char* hostOrAddress);

    /// The address as numeric text ("10.0.0.5", "::1").
    std::string getHostAddress() const;
    /// The host name: the name this address was made from, else the numeric text
    /// (no reverse lookup is made).
    std::string getHostName() const;
    /// True for an IPv6 address.
    bool isIPv6() const noexcept { return m_Family == 6; }
    /// The raw address bytes (4 or 16).
    const unsigned char* getBytes() const noexcept { return m_Bytes; }
    bool operator==(const KtInetAddress& o) const noexcept;

    /// The address of the local host; `timeout` (milliseconds, for the name lookup) is
    /// accepted for compatibility. The result is computed once and cached.
    static KtInetAddress sGetLocalHost(int timeout);
    /// Builds an address from raw bytes (4 for IPv4, 16 for IPv6).
    static KtInetAddress sFromBytes(const unsigned char* bytes, unsigned length);

private:
    unsigned char m_Bytes[16];
    unsigned char m_Family;  // 4 or 6
    std::string m_Name;
};

#endif
