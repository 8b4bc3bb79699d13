// Fuzz target: a Digest credentials list through KtSipDigestCredentialsInfo::sCreateFrom
// (the text after "Digest " of an Authorization or Proxy-Authorization value).
//
// Invariants: a clone writes the same text; validating the credentials against a
// password ends in true, false or a KtException. With KTSIP_FUZZ_ROUNDTRIP=1, also: the
// written list, read again, writes the same text.
#include "FuzzSupport.h"
#include "KtSipDigestCredentialsInfo.h"

namespace {

KtHandle<KtSipDigestCredentialsInfo> parse(const void* bytes, size_t size) {
    try {
        return KtSipDigestCredentialsInfo::sCreateFrom(KtByteArray::sCreate(static_cast<unsigned>(size), bytes));
    } catch (const KtException&) {
        return KtHandle<KtSipDigestCredentialsInfo>();
    }
}

/// The written list, or nothing when writing throws (an algorithm the library refuses
/// to compute with, for credentials that carry no response of their own).
bool text(const KtSipDigestCredentialsInfo& credentials, std::string& out) {
    try {
        out = fuzz::capture([&](KtOutputStream& stream) { credentials.serialize(stream); });
        return true;
    } catch (const KtException&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    KtHandle<KtSipDigestCredentialsInfo> credentials = parse(data, size);
    if (credentials.isNil()) return 0;

    std::string first;
    const bool written = text(*credentials, first);
    KtHandle<KtSipDigestCredentialsInfo> copy(credentials->clone());
    std::string copied;
    if (text(*copy, copied) != written) fuzz::mismatch("a clone writes when the original writes", first, copied);
    if (written) fuzz::expectSame("a cloned credentials list writes the same text", first, copied);

    try {
        (void)copy->validate("alice", "secret", "example.com");
    } catch (const KtException&) {
    }
    if (!written || !fuzz::strictRoundTrip()) return 0;

    KtHandle<KtSipDigestCredentialsInfo> again = parse(first.data(), first.size());
    if (again.isNil()) return 0;
    std::string reread;
    if (!text(*again, reread)) fuzz::mismatch("the written credentials write again", first, "(exception)");
    fuzz::expectSame("the written credentials read back to the same text", first, reread);
    return 0;
}
