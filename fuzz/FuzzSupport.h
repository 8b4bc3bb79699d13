// Helpers shared by the fuzz targets (include in the target's one source file): a quiet
// error stream set up by the shared LLVMFuzzerInitialize, byte-exact output of the
// library's objects, and a check that stops the run with a readable report.
#ifndef KTSIP_FUZZ_SUPPORT_H
#define KTSIP_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "KtErrorStream.h"
#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipHeader.h"

namespace fuzz {

/// Parse failures inside the message parser are reported on the error stream; a fuzzer
/// produces millions of them, so they are dropped.
inline void quietSink(void*, const char*, unsigned) {}

inline void silenceErrorStream() { KtErrorStream::sSetSink(&quietSink, nullptr); }

/// True when KTSIP_FUZZ_ROUNDTRIP=1: the targets then also require that what the library
/// writes reads back to the same text for every input, not only for valid messages.
/// Off by default: the parsers accept many malformed forms leniently and write them in a
/// normalised way (for example an empty trailing parameter), which is not a fault; the
/// mode is for hunting lossy round trips by hand.
inline bool strictRoundTrip() {
    static const bool strict = [] {
        const char* value = std::getenv("KTSIP_FUZZ_ROUNDTRIP");
        return value != nullptr && value[0] == '1';
    }();
    return strict;
}

/// Writing may throw KtException by design: Digest credentials received without a response
/// write one computed on the spot, and an algorithm other than MD5 refuses the computation
/// ("Unsupported Algorithm !!!"). A target runs its first writing of an input through this:
/// `text` gets what `write()` returns, or the result is false when it threw, and the target
/// stops there; writings after a first one that succeeded see the same values and must succeed.
template <class Write>
bool firstWriting(Write write, std::string& text) {
    try {
        text = write();
    } catch (const KtException&) {
        return false;
    }
    return true;
}

/// True when the name that `header` writes selects another class than the header's own:
/// the reader chooses the class by the name as it stands before the colon (leading white
/// space and CRs included) and keeps the name trimmed and without CRs, so " From: x" is an
/// unknown header written "From: x". Its output legitimately reads back as another header.
inline bool renamed(const KtSipHeader& header) {
    KtHandle<KtSipHeader> probe(KtSipHeader::sConstruct(header.getToken().c_str()));
    return probe->getHeaderID() != header.getHeaderID();
}

/// What `write(out)` puts into a byte-array output stream.
template <class Writer>
std::string capture(Writer write) {
    KtByteArrayOutputStream out(256);
    write(out);
    return std::string(out.data(), out.size());
}

/// Prints both texts and aborts, so that libFuzzer records the input as a crash.
[[noreturn]] inline void mismatch(const char* what, const std::string& expected, const std::string& got) {
    std::fprintf(stderr, "\n*** ktsip fuzz invariant broken: %s\n--- expected (%zu bytes):\n%s\n--- got (%zu bytes):\n%s\n",
                 what, expected.size(), expected.c_str(), got.size(), got.c_str());
    std::abort();
}

inline void expectSame(const char* what, const std::string& expected, const std::string& got) {
    if (expected != got) mismatch(what, expected, got);
}

}  // namespace fuzz

// Every target silences the error stream before its first input. Each target is one source
// file that includes this header once, so the definition stands here for all of them.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::silenceErrorStream();
    return 0;
}

#endif
