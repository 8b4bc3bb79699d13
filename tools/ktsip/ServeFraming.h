// Message framing on a SIP stream connection.
#ifndef KTSIP_TOOL_SERVE_FRAMING_H
#define KTSIP_TOOL_SERVE_FRAMING_H

#include <cstddef>
#include <string_view>

namespace serve {

/// What the front of a connection's input holds.
struct Frame {
    enum Kind {
        NeedMore,   ///< an incomplete message or keep-alive: wait for more bytes
        Message,    ///< a message of `length` bytes: header section plus Content-Length bytes
        Ping,       ///< a CR LF CR LF keep-alive of `length` (4) bytes, answered with CR LF
        Skip,       ///< `length` stray line-end bytes in front of a message, ignored
        BadLength,  ///< a header section of `length` bytes whose Content-Length cannot be read
        NoLength,   ///< a header section of `length` bytes without a Content-Length
        TooLarge    ///< a message that cannot fit in the connection's buffer
    };
    Kind kind;
    std::size_t length;
};

/// Finds the first frame in `input`, the unconsumed bytes of one connection, which never
/// holds more than `limit` bytes.
///
/// A message ends `Content-Length` bytes after the empty line that closes its header
/// section (CR LF CR LF, or bare LF LF). The Content-Length header is looked up by its
/// full and compact names ("Content-Length", "l", case ignored). On a stream it is
/// mandatory: a header section without one gives NoLength, as the end of the message is
/// unknown (RFC 3261 18.3). A Content-Length that is not a decimal number (or appears twice with two
/// values) gives BadLength, as the end of the message is then unknown. A message whose
/// header section or total length exceeds `limit` gives TooLarge.
Frame nextFrame(std::string_view input, std::size_t limit);

}  // namespace serve

#endif
