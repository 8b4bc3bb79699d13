// The benchmark corpus: one SIP message per file under bench/corpus.
#ifndef KTSIP_BENCH_CORPUS_H
#define KTSIP_BENCH_CORPUS_H

#include <cstddef>
#include <string>
#include <vector>

namespace ktbench {

/// One message of the corpus.
struct CorpusMessage {
    std::string name;  ///< file name, e.g. "01-invite.sip"
    std::string text;  ///< the bytes of the file
};

/// The typical call-flow messages (files "NN-*.sip", in name order) and the large INVITE
/// ("invite-4k.sip").
struct Corpus {
    std::vector<CorpusMessage> typical;
    CorpusMessage large;
    /// Sum of the sizes of the typical messages.
    std::size_t typicalBytes() const;
};

/// The corpus directory of the source tree (compiled in), or $KTSIP_BENCH_CORPUS when set.
std::string defaultCorpusDir();

/// Loads and checks the corpus in `dir`. Every message must use CR LF line ends in its
/// header section and carry a Content-Length equal to the size of its body; a violation,
/// a missing large INVITE or an empty typical set throws std::runtime_error naming the file.
Corpus loadCorpus(const std::string& dir);

/// The value of the first header line named `name` (exact, case-insensitive name match) in
/// the header section of `text`, without the line end; empty when absent.
std::string headerValue(const std::string& text, const char* name);

}  // namespace ktbench

#endif
