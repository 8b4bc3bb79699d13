// One end of a packet's path.
#include "ScanEndpoint.h"

#include <arpa/inet.h>

std::string ScanEndpoint::toString() const {
    char text[INET6_ADDRSTRLEN + 8];
    if (inet_ntop(family == 6 ? AF_INET6 : AF_INET, address, text, INET6_ADDRSTRLEN) == nullptr) text[0] = '\0';
    std::string out;
    out.reserve(48);
    if (family == 6) out += '[';
    out += text;
    if (family == 6) out += ']';
    out += ':';
    out += std::to_string(port);
    return out;
}
