// The transport over which a message came or goes.
#ifndef KTSIP_KT_SOCKET_IMPL_H
#define KTSIP_KT_SOCKET_IMPL_H

/// Socket-level names shared with the transport layer. The library only needs the
/// transport kind of a connection; the numbers are part of the interface.
class KtSocketImpl {
public:
    /// Transport of a connection. The underlying type is fixed so that any value a caller
    /// stores is a valid one (messages report every value but TCP as UDP).
    enum Transport : int {
        UDP = 0,  ///< datagrams (the default of a new message)
        TCP = 1   ///< a stream connection
    };
};

#endif
