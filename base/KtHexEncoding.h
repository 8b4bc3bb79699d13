// Hexadecimal text and MD5 digests.
#ifndef KTSIP_KT_HEX_ENCODING_H
#define KTSIP_KT_HEX_ENCODING_H

#include "KtByteArray.h"
#include "KtString.h"

/// Hexadecimal encoding.
class KtHexEncoding {
public:
    /// Lower-case hexadecimal text of the bytes, two digits a byte ("" for nil).
    static KtString toHex(const KtHandle<KtByteArray>& bytes);
    /// Decodes the two hexadecimal digits at `text` (either case) into one byte; returns -1
    /// when either is not a hexadecimal digit.
    static int fromHex(const char* text);
    /// Decodes a whole hexadecimal text into bytes; throws KtException "Invalid hexadecimal
    /// text" for an odd length or a non-digit.
    static KtHandle<KtByteArray> fromHexString(const char* text);
};

/// MD5 message digest (RFC 1321) over OpenSSL's EVP interface.
class MD5 {
public:
    /// The 16-byte binary digest of the bytes (of nothing for a nil handle).
    static KtHandle<KtByteArray> digest(const KtHandle<KtByteArray>& bytes);
    /// The digest of `length` bytes at `data` into `out` (16 bytes).
    static void digest(const void* data, unsigned length, unsigned char out[16]);
};

#endif
