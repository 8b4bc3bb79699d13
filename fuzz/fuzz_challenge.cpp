// Fuzz target: a Digest challenge pair list through KtSipDigestChallengeInfo::sCreateFrom
// (the text after "Digest " of a WWW-Authenticate or Proxy-Authenticate value).
//
// Invariants: a clone writes the same text; answering the challenge (credentials built
// from it) ends in a value or a KtException. With KTSIP_FUZZ_ROUNDTRIP=1, also: the
// written pair list, read again, writes the same text.
#include "FuzzSupport.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"

namespace {

KtHandle<KtSipDigestChallengeInfo> parse(const void* bytes, size_t size) {
    try {
        return KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(static_cast<unsigned>(size), bytes));
    } catch (const KtException&) {
        return KtHandle<KtSipDigestChallengeInfo>();
    }
}

std::string text(const KtSipDigestChallengeInfo& challenge) {
    return fuzz::capture([&](KtOutputStream& out) { challenge.serialize(out); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    KtHandle<KtSipDigestChallengeInfo> challenge = parse(data, size);
    if (challenge.isNil()) return 0;

    const std::string first = text(*challenge);
    (void)challenge->getRealm();
    KtHandle<KtSipDigestChallengeInfo> copy(challenge->clone());
    fuzz::expectSame("a cloned challenge writes the same text", first, text(*copy));

    try {
        KtHandle<KtSipDigestCredentialsInfo> answer(new KtSipDigestCredentialsInfo(challenge, "alice", "secret"));
        answer->setMethod("INVITE");
        answer->setUri("sip:bob@b.example");
        answer->setQop("auth", "0a4f113b", 1);
        (void)fuzz::capture([&](KtOutputStream& out) { answer->serialize(out); });
    } catch (const KtException&) {
    }

    if (!fuzz::strictRoundTrip()) return 0;
    KtHandle<KtSipDigestChallengeInfo> again = parse(first.data(), first.size());
    if (again.isNil()) return 0;
    fuzz::expectSame("the written challenge reads back to the same text", first, text(*again));
    return 0;
}
