// Hexadecimal text and MD5 digests.
#include "KtHexEncoding.h"

#include <openssl/evp.h>

#include <cstring>

#include "KtException.h"

namespace {

const char sHexDigits[] = "0123456789abcdef";

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

KtString KtHexEncoding::toHex(const KtHandle<KtByteArray>& bytes) {
    const unsigned length = bytes.isNil() ? 0 : bytes->getLength();
    KtString text(KtStringBuffer::sCreate(nullptr, 0, 2 * length));
    char* out = text.get()->lockBuffer(2 * length);
    const unsigned char* in = length ? bytes->getData() : nullptr;
    for (unsigned i = 0; i < length; ++i) {
        out[2 * i] = sHexDigits[in[i] >> 4];
        out[2 * i + 1] = sHexDigits[in[i] & 0x0f];
    }
    text.get()->releaseBuffer(2 * length);
    return text;
}

int KtHexEncoding::fromHex(const char* text) {
    if (text == nullptr) return -1;
    const int high = hexValue(text[0]);
    if (high < 0) return -1;  // also stops at a NUL before reading past it
    const int low = hexValue(text[1]);
    if (low < 0) return -1;
    return high * 16 + low;
}

// A null text decodes to an empty array, like "".
KtHandle<KtByteArray> KtHexEncoding::fromHexString(const char* text) {
    const std::size_t length = text ? std::strlen(text) : 0;
    if (length % 2 != 0) KtException::sThrow("Invalid hexadecimal text");
    KtHandle<KtByteArray> bytes = new KtByteArray(static_cast<unsigned>(length / 2));
    for (std::size_t i = 0; i < length / 2; ++i) {
        const int value = fromHex(text + 2 * i);
        if (value < 0) KtException::sThrow("Invalid hexadecimal text");
        (*bytes)[static_cast<unsigned>(i)] = static_cast<unsigned char>(value);
    }
    return bytes;
}

// Throws KtException "MD5 digest failed" when OpenSSL refuses (for example a
// FIPS-only configuration without MD5).
void MD5::digest(const void* data, unsigned length, unsigned char out[16]) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    if (context == nullptr) KtException::sThrow("MD5 digest failed");
    unsigned int written = 0;
    const bool ok = EVP_DigestInit_ex(context, EVP_md5(), nullptr) == 1 &&
                    (length == 0 || EVP_DigestUpdate(context, data, length) == 1) &&
                    EVP_DigestFinal_ex(context, out, &written) == 1 && written == 16;
    EVP_MD_CTX_free(context);
    if (!ok) KtException::sThrow("MD5 digest failed");
}

KtHandle<KtByteArray> MD5::digest(const KtHandle<KtByteArray>& bytes) {
    KtHandle<KtByteArray> result = new KtByteArray(16);
    if (bytes.isNil())
        digest(nullptr, 0, result->getData());
    else
        digest(bytes->getData(), bytes->getLength(), result->getData());
    return result;
}
