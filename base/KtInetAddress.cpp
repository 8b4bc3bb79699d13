// Host addresses over ACE_INET_Addr.
#include "KtInetAddress.h"

#include <ace/INET_Addr.h>
#include <ace/OS_NS_arpa_inet.h>
#include <ace/OS_NS_unistd.h>

#include <cstring>
#include <string>

#include "KtException.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtInetAddress")

namespace {

// Copies the address bytes of `addr` into `bytes`; returns the family (4 or 6), or 0.
unsigned char bytesOf(const ACE_INET_Addr& addr, unsigned char bytes[16]) {
    if (addr.get_type() == AF_INET) {
        const sockaddr_in* sin = static_cast<const sockaddr_in*>(addr.get_addr());
        std::memcpy(bytes, &sin->sin_addr, 4);
        return 4;
    }
    if (addr.get_type() == AF_INET6) {
        const sockaddr_in6* sin6 = static_cast<const sockaddr_in6*>(addr.get_addr());
        std::memcpy(bytes, &sin6->sin6_addr, 16);
        return 6;
    }
    return 0;
}

}  // namespace

KtInetAddress::KtInetAddress() noexcept : m_Bytes(), m_Family(4) {}

// Numeric text (dotted IPv4, IPv6, IPv6 in brackets) is converted directly;
// anything else is resolved as a host name, IPv4 first, then IPv6 (an IPv4
// address is never turned into an IPv4-mapped IPv6 address).
KtInetAddress::KtInetAddress(const char* hostOrAddress) : m_Bytes(), m_Family(4) {
    std::string text(hostOrAddress ? hostOrAddress : "");
    if (text.size() > 2 && text.front() == '[' && text.back() == ']') text = text.substr(1, text.size() - 2);
    if (text.empty() || text.size() > 1024) {
        std::string message("Unknown host: ");
        message.append(text, 0, 1024);
        KtException::sThrow(message.c_str());
    }
    if (ACE_OS::inet_pton(AF_INET, text.c_str(), m_Bytes) == 1) {
        m_Family = 4;
        return;
    }
    if (ACE_OS::inet_pton(AF_INET6, text.c_str(), m_Bytes) == 1) {
        m_Family = 6;
        return;
    }
    ACE_INET_Addr addr;
    unsigned char family = 0;
    if (addr.set(static_cast<u_short>(0), text.c_str(), 1, AF_INET) == 0) family = bytesOf(addr, m_Bytes);
    if (family == 0 && addr.set(static_cast<u_short>(0), text.c_str(), 1, AF_INET6) == 0) family = bytesOf(addr, m_Bytes);
    if (family == 0) {
        TORVANE_DEBUG(fileLogger(), "Host name lookup failed for " << text);
        KtException::sThrow(("Unknown host: " + text).c_str());
    }
    m_Family = family;
    m_Name = text;
}

std::string KtInetAddress::getHostAddress() const {
    char text[INET6_ADDRSTRLEN + 1];
    if (ACE_OS::inet_ntop(m_Family == 6 ? AF_INET6 : AF_INET, m_Bytes, text, sizeof text) == nullptr) return std::string();
    return text;
}

std::string KtInetAddress::getHostName() const { return m_Name.empty() ? getHostAddress() : m_Name; }

bool KtInetAddress::operator==(const KtInetAddress& o) const noexcept {
    return m_Family == o.m_Family && std::memcmp(m_Bytes, o.m_Bytes, m_Family == 6 ? 16 : 4) == 0;
}

KtInetAddress KtInetAddress::sFromBytes(const unsigned char* bytes, unsigned length) {
    if (bytes == nullptr || (length != 4 && length != 16)) KtException::sThrow("Invalid address length");
    KtInetAddress address;
    std::memcpy(address.m_Bytes, bytes, length);
    address.m_Family = length == 16 ? 6 : 4;
    return address;
}

// The local host is the machine's host name (gethostname through ACE) resolved
// like any other name; when there is no name or it does not resolve, the
// loopback address 127.0.0.1 stands in, still named after the host when a name
// was found ("localhost" otherwise). The lookup goes through the system
// resolver (normally /etc/hosts first), so without a network it fails fast
// rather than waiting; `timeout` does not bound it further, since the library
// starts no threads of its own. The first result is kept for the life of the
// process; concurrent first callers wait for it (thread-safe static).
KtInetAddress KtInetAddress::sGetLocalHost(int timeout) {
    (void)timeout;
    static const KtInetAddress sLocalHost = [] {
        char name[256] = {0};
        if (ACE_OS::hostname(name, sizeof name - 1) != 0) name[0] = '\0';
        if (name[0] != '\0') {
            try {
                KtInetAddress resolved(name);
                if (resolved.m_Name.empty()) resolved.m_Name = name;
                return resolved;
            } catch (const KtException& e) {
                TORVANE_DEBUG(fileLogger(), "Local host name " << name << " does not resolve: " << e.getMessage());
            }
        }
        KtInetAddress loopback("127.0.0.1");
        loopback.m_Name = name[0] != '\0' ? name : "localhost";
        return loopback;
    }();
    return sLocalHost;
}
