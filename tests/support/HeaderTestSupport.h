// Helpers shared by the header tests: reading a header line through the registry, the
// table row that checks a line's chain and text, and the check of refused lines.
#ifndef KTSIP_TEST_HEADER_TEST_SUPPORT_H
#define KTSIP_TEST_HEADER_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "KtSipHeader.h"
#include "TestSupport.h"

namespace kttest {


/// Reads `text` (a whole header line, line end included) with the header registry.
inline KtHandle<KtSipHeader> parseHeaderText(const std::string& text) {
    KtByteArrayInputStream in = kttest::streamOf(text);
    return KtSipHeader::sConstructFrom(in);
}

/// Reads `line` (without its line end) with the header registry.
inline KtHandle<KtSipHeader> parseHeaderLine(const std::string& line) { return parseHeaderText(line + "\r\n"); }

/// The first header that `line` (without its line end) reads as; the test stops when it
/// is not a T.
template <class T>
KtHandle<T> parseAs(const std::string& line) {
    KtHandle<T> typed = parseHeaderLine(line).dynamicCast<T>();
    if (typed.isNil()) throw std::logic_error(line + ": not read as " + typeid(T).name());
    return typed;
}

/// One header line in; the chain's classes, ids and values, and its text.
struct HeaderRow {
    const char* name;
    std::string line;  // without its line end
    const std::type_info* type;
    int id;
    std::vector<std::string> values;
    const char* text = nullptr;  // whole serialized chain ("": the line itself); null to skip
};

inline void checkHeaderRow(const HeaderRow& row) {
    SCOPED_TRACE(row.name);
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
        EXPECT_EQ(*row.text ? row.text : row.line + "\r\n", written(*chain));
    }
}

/// Each line (without its line end) must fail with exactly its message.
inline void checkRefused(const std::vector<std::pair<std::string, std::string>>& rows) {
    for (const auto& row : rows) EXPECT_EQ(row.second, thrown([&] { parseHeaderLine(row.first); })) << row.first;
}

}  // namespace kttest

#endif
