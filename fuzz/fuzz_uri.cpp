// Fuzz target: a URI through KtURI::sConstructFrom. The first input byte picks the
// in-bracket flag (its low bit), the rest is the URI text.
//
// Invariants: serialize writes getString; a clone writes the same text. With
// KTSIP_FUZZ_ROUNDTRIP=1, also: the written text, read again with the same flag, gives
// a URI of the same class that writes the same text.
#include <typeinfo>

#include "FuzzSupport.h"
#include "KtURI.h"

namespace {

KtHandle<KtURI> parse(const char* text, size_t size, bool inBracket) {
    KtByteArrayInputStream in(text, static_cast<unsigned>(size));
    try {
        return KtURI::sConstructFrom(in, inBracket);
    } catch (const KtException&) {
        return KtHandle<KtURI>();
    }
}

std::string text(const KtURI& uri) {
    const KtString s = uri.getString();
    return s.isNil() ? std::string() : std::string(s.c_str(), s.length());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const bool inBracket = (data[0] & 1) != 0;
    KtHandle<KtURI> uri = parse(reinterpret_cast<const char*>(data) + 1, size - 1, inBracket);
    if (uri.isNil()) return 0;

    const std::string first = text(*uri);
    (void)uri->hasParameters();
    (void)uri->hasHeaders();
    fuzz::expectSame("serialize writes getString", first,
                     fuzz::capture([&](KtOutputStream& out) { uri->serialize(out); }));
    KtHandle<KtURI> copy(uri->clone());
    fuzz::expectSame("a cloned URI writes the same text", first, text(*copy));

    if (!fuzz::strictRoundTrip()) return 0;
    KtHandle<KtURI> again = parse(first.data(), first.size(), inBracket);
    if (again.isNil()) return 0;
    const KtURI& original = *uri;
    const KtURI& reread = *again;
    if (typeid(original) != typeid(reread))
        fuzz::mismatch("the written URI reads back as the same class", typeid(original).name(), typeid(reread).name());
    fuzz::expectSame("the written URI reads back to the same text", first, text(*again));
    return 0;
}
