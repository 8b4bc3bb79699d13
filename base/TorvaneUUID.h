// Textual UUIDs (libuuid).
#ifndef KTSIP_TORVANE_UUID_H
#define KTSIP_TORVANE_UUID_H

namespace Torvane {

/// UUID generation.
class UUID {
public:
    /// Length of the text written by uuid_create_string, without its terminating NUL.
    static constexpr unsigned TEXT_LENGTH = 36;
    /// Writes a new random UUID in the 8-4-4-4-12 lower-case hexadecimal form and a NUL
    /// into `buffer`, which must hold at least 37 bytes.
    static void uuid_create_string(char* buffer);
};

}  // namespace Torvane

#endif
