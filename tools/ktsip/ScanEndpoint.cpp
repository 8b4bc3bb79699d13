// One end of a packet's path.
#include "ScanEndpoint.h"

#include <arpa/inet.h>

namespace {

// Decimal digits of `value` at `out`; returns the end.
char* digits(char* out, unsigned value) {
    char reversed[10];
    int n = 0;
    do {
        reversed[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (n > 0) *out++ = reversed[--n];
    return out;
}

}  // namespace

std::string ScanEndpoint::toString() const {
    if (family == 4) {  // written by hand: inet_ntop formats through printf
        char text[24];
        char* at = text;
        for (int i = 0; i < 4; ++i) {
            at = digits(at, address[i]);
            *at++ = i < 3 ? '.' : ':';
        }
        at = digits(at, port);
        return std::string(text, at);
    }
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
