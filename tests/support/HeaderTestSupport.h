// Helpers shared by the header tests: reading a header line through the registry,
// writing a chain back, and the table row that checks a line's chain, text or error.
#ifndef KTSIP_TEST_HEADER_TEST_SUPPORT_H
#define KTSIP_TEST_HEADER_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipHeader.h"

namespace ktsiptest {

/// Reads `text` (a whole header line, line end included) with the header registry.
inline KtHandle<KtSipHeader> parseHeaderText(const std::string& text) {
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    return KtSipHeader::sConstructFrom(in);
}

/// Reads `line` (without its line end) with the header registry.
inline KtHandle<KtSipHeader> parseHeaderLine(const std::string& line) { return parseHeaderText(line + "\r\n"); }

/// What serializing `header` and the rest of its chain writes.
inline std::string written(const KtSipHeader& header) {
    KtByteArrayOutputStream out;
    header.serialize(out);
    return std::string(out.data(), out.size());
}

/// One header line in; the chain's classes, ids and values, its text, or the exact error.
struct HeaderRow {
    const char* name;
    std::string line;  // without its line end
    const std::type_info* type;
    int id;
    std::vector<std::string> values;
    const char* text;   // whole serialized chain; null to skip
    const char* error;  // exact message of a line that must fail; null for success
};

inline void checkHeaderRow(const HeaderRow& row) {
    SCOPED_TRACE(row.name);
    if (row.error) {
        try {
            parseHeaderLine(row.line);
            ADD_FAILURE() << "no exception";
        } catch (const KtException& e) {
            EXPECT_STREQ(row.error, e.getMessage());
        }
        return;
    }
    KtHandle<KtSipHeader> chain = parseHeaderLine(row.line);
    size_t n = 0;
    for (KtHandle<KtSipHeader> h = chain; !h.isNil(); h = h->getNext(), ++n) {
        ASSERT_LT(n, row.values.size());
        EXPECT_EQ(*row.type, typeid(*h.get()));
        EXPECT_EQ(row.id, h->getHeaderID());
        EXPECT_EQ(row.values[n], h->getValueString().c_str());
    }
    EXPECT_EQ(row.values.size(), n);
    if (row.text) {
        EXPECT_EQ(row.text, written(*chain));
    }
}

}  // namespace ktsiptest

#endif
