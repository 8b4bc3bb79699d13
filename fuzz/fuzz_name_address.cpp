// Fuzz target: a name-address through KtSipNameAddress::parse.
//
// Invariants: getString equals the serialized text; a clone writes the same text. With
// KTSIP_FUZZ_ROUNDTRIP=1, also: the written form ([display name] <uri>), when it parses
// again, writes the same text.
#include "FuzzSupport.h"
#include "KtSipNameAddress.h"

namespace {

KtHandle<KtSipNameAddress> parse(const char* text, size_t size) {
    KtHandle<KtSipNameAddress> address(new KtSipNameAddress());
    KtByteArrayInputStream in(text, static_cast<unsigned>(size));
    try {
        address->parse(in);
    } catch (const KtException&) {
        return KtHandle<KtSipNameAddress>();
    }
    return address;
}

std::string text(const KtSipNameAddress& address) {
    return fuzz::capture([&](KtOutputStream& out) { address.serialize(out); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    KtHandle<KtSipNameAddress> address = parse(reinterpret_cast<const char*>(data), size);
    if (address.isNil()) return 0;

    const std::string first = text(*address);
    const KtString asString = address->getString();
    fuzz::expectSame("getString equals serialize", first, std::string(asString.c_str(), asString.length()));
    (void)address->getURL();
    KtHandle<KtSipNameAddress> copy(address->clone());
    fuzz::expectSame("a cloned name-address writes the same text", first, text(*copy));

    if (!fuzz::strictRoundTrip()) return 0;
    KtHandle<KtSipNameAddress> again = parse(first.data(), first.size());
    if (again.isNil()) return 0;
    fuzz::expectSame("the written name-address reads back to the same text", first, text(*again));
    return 0;
}
