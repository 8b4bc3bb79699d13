// KtProbeTable: exact and case-blind lookups, colliding names, capacity and duplicates.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <strings.h>
#include <vector>

#include "KtProbeTable.h"

namespace {

unsigned len(const char* s) { return static_cast<unsigned>(std::strlen(s)); }

const int* findNoCase(const KtProbeTable<const int*>& t, const char* name) {
    const unsigned n = len(name);
    return t.findIf(name, n, [&](const char* e) { return strncasecmp(e, name, n) == 0; });
}

}  // namespace

TEST(KtProbeTable, FindsExactAndIgnoringCase) {
    static const int values[] = {1, 2, 3, 4, 5};
    KtProbeTable<const int*> t(8);
    // Pairs of the same length and the same first, middle and last bytes share a probe chain,
    // so each lookup must compare the whole name.
    const char* names[] = {"Vaxe", "Vbxe", "Contact", "Cxxtxxt", ""};
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(t.add(names[i], len(names[i]), &values[i])) << names[i];
    EXPECT_EQ(t.size(), 5u);

    struct Row { const char* name; const int* exact; const int* noCase; } rows[] = {
        {"Vaxe", &values[0], &values[0]},    {"VAXE", nullptr, &values[0]},
        {"vbxE", nullptr, &values[1]},       {"Contact", &values[2], &values[2]},
        {"contact", nullptr, &values[2]},    {"Cxxtxxt", &values[3], &values[3]},
        {"", &values[4], &values[4]},        {"Vax", nullptr, nullptr},
        {"Vaxes", nullptr, nullptr},         {"Contacts", nullptr, nullptr},
        {"To", nullptr, nullptr},            {"Vcxe", nullptr, nullptr},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(t.find(r.name, len(r.name)), r.exact) << r.name;
        EXPECT_EQ(findNoCase(t, r.name), r.noCase) << r.name;
        // The entry's own name pointer comes with an exact match, and only then.
        const char* entryName = "unset";
        EXPECT_EQ(t.find(r.name, len(r.name), entryName), r.exact) << r.name;
        EXPECT_EQ(entryName, r.exact ? names[r.exact - values] : nullptr) << r.name;
    }
    // A name is compared by its length, not up to a NUL: a longer text with the name as prefix
    // is found only when the length given is the name's.
    EXPECT_EQ(t.find("Vaxe;x", 4), &values[0]);
}

TEST(KtProbeTable, RefusesDuplicatesAndEntriesBeyondCapacity) {
    static const int values[40] = {};
    std::vector<std::string> names;
    for (int i = 0; i < 40; ++i) names.push_back("n" + std::to_string(i));
    for (unsigned capacity : {0u, 32u}) {
        KtProbeTable<const int*> t(capacity);
        for (unsigned i = 0; i < 40; ++i)
            EXPECT_EQ(t.add(names[i].c_str(), len(names[i].c_str()), &values[i]), i < capacity) << names[i];
        EXPECT_TRUE(t.full());
        EXPECT_EQ(t.size(), capacity);
        for (unsigned i = 0; i < 40; ++i)
            EXPECT_EQ(t.find(names[i].c_str(), len(names[i].c_str())), i < capacity ? &values[i] : nullptr) << names[i];
        EXPECT_EQ(t.find("", 0), nullptr);
    }

    KtProbeTable<const int*> d(4);
    EXPECT_TRUE(d.add("ACK", 3, &values[0]));
    EXPECT_FALSE(d.add("ACK", 3, &values[1]));  // the first value stays
    EXPECT_TRUE(d.add("ack", 3, &values[2]));   // other bytes: another entry
    EXPECT_EQ(d.find("ACK", 3), &values[0]);
    EXPECT_EQ(d.find("ack", 3), &values[2]);
    EXPECT_EQ(d.size(), 2u);
}
