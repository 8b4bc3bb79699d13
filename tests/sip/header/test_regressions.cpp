// Header lines found by fuzzing (fuzz/fuzz_message) that broke the header framework,
// kept as tests.
#include <gtest/gtest.h>

#include <string>

#include "KtSipHeader.h"
#include "KtSipParseError.h"

namespace {

KtHandle<KtSipHeader> headerFrom(const std::string& line) {
    KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
    return KtSipHeader::sConstructFrom(in);
}

// A CR inside a header name, or white space in front of it, hid a registered name from
// the class lookup: the line became an unknown header that still wrote the registered
// name ("Vi<CR>a: x" was written "Via: x"), so the next parser of the output read a Via
// header the first one never saw. Such names are refused; the line is consumed.
TEST(HeaderRegressions, NamesHidingARegisteredNameAreRefused) {
    const struct {
        const char* name;
        std::string line;
        bool refused;
    } rows[] = {
        {"CR inside", "Vi\ra: SIP/2.0/UDP h.example\r\n", true},
        {"CRs inside a compact name", "\rf\r: <sip:a@b>\r\n", true},
        {"space before", " Via: SIP/2.0/UDP h.example\r\n", true},
        {"tab before", "\tFrom: <sip:a@b>\r\n", true},
        {"CR inside an unregistered name", "X-Fo\ro: bar\r\n", false},
        {"spaces before the colon", "Via  : SIP/2.0/UDP h.example\r\n", false},
        {"plain", "Via: SIP/2.0/UDP h.example\r\n", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string text = row.line + "Next: line\r\n";
        KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
        if (row.refused) {
            EXPECT_THROW(KtSipHeader::sConstructFrom(in), KtSipParseError);
        } else {
            KtHandle<KtSipHeader> header = KtSipHeader::sConstructFrom(in);
            ASSERT_FALSE(header.isNil());
            // Whatever class was chosen, the name it writes leads back to that class.
            KtByteArrayOutputStream out(128);
            header->serialize(out);
            const std::string written(out.data(), out.size());
            EXPECT_EQ(header->getHeaderID(), headerFrom(written)->getHeaderID()) << written;
        }
        EXPECT_EQ(std::string("Next"), headerFrom(std::string(in.current(), in.end()))->getToken().c_str())
            << "the line is consumed and the next one read";
    }
}

}  // namespace
