// KtStringTable: common words read as shared constants (copied on write like every immortal
// string: test_object_lifetime.cpp), with the reading of KtStringBuffer::parse.
#include <gtest/gtest.h>

#include <memory>

#include "KtInputStream.h"
#include "KtStringTable.h"
#include "TestSupport.h"

namespace {

const KtStringTable& words() {
    static const KtStringTable table{"INVITE", "ACK", "sdp", "application", "en-US", "INVITE"};
    return table;
}

}  // namespace

TEST(KtStringTable, FindsExactBytesOnly) {
    EXPECT_EQ(words().size(), 5u);  // the repeated INVITE is kept once
    struct Row { const char* text; bool found; } rows[] = {
        {"INVITE", true}, {"ACK", true}, {"sdp", true}, {"en-US", true},
        {"invite", false}, {"INVIT", false}, {"INVITES", false}, {"SDP", false}, {"", false}, {"BYE", false},
    };
    for (const Row& r : rows) {
        const KtString* w = words().find(r.text, static_cast<unsigned>(std::strlen(r.text)));
        EXPECT_EQ(w != nullptr, r.found) << r.text;
        if (w) {
            EXPECT_EQ(*w, KtString(r.text));
        }
        const KtString made = words().make(r.text, static_cast<unsigned>(std::strlen(r.text)));
        EXPECT_STREQ(made.c_str(), r.text);
        EXPECT_EQ(w != nullptr && made.get() == w->get(), r.found) << r.text;
    }
}

// parse reads what KtStringBuffer::parse (and trim) reads and leaves the stream at the same
// place, whether the text lies whole in the window or arrives a byte at a time.
TEST(KtStringTable, ParseReadsAsStringBufferParse) {
    const KtDelimiterSet comma(",;\r\n");
    struct Row { const char* input; bool trim; const char* expected; const char* after; bool shared; } rows[] = {
        {"INVITE, ACK", false, "INVITE", ", ACK", true},
        {"  \tACK;x", false, "ACK", ";x", true},
        {"sdp ,x", false, "sdp ", ",x", false},
        {"sdp ,x", true, "sdp", ",x", true},
        {"BYE\r\n", true, "BYE", "\r\n", false},
        {"application", false, "application", "", true},
        {"applications", false, "applications", "", false},
        {"  ", false, "", "", false},
        {"", false, "", "", false},
        {",rest", false, "", ",rest", false},
    };
    for (const Row& r : rows) {
        for (int trickle = 0; trickle < 2; ++trickle) {
            std::unique_ptr<KtInputStream> in;
            if (trickle)
                in.reset(new kttest::TricklingStream(r.input));
            else
                in.reset(new KtByteArrayInputStream(r.input, static_cast<unsigned>(std::strlen(r.input))));
            const KtString got = words().parse(*in, comma, r.trim);
            EXPECT_STREQ(got.c_str(), r.expected) << r.input << " trickle " << trickle;
            EXPECT_EQ(kttest::drain(*in), r.after) << r.input << " trickle " << trickle;
            const KtString* w = words().find(got.c_str(), got.length());
            EXPECT_EQ(w != nullptr && w->get() == got.get(), r.shared) << r.input;

            KtByteArrayInputStream reference(r.input, static_cast<unsigned>(std::strlen(r.input)));
            KtStringBuffer* buffer = KtStringBuffer::sCreate("");
            KtString hold(buffer);
            buffer->parse(reference, comma);
            if (r.trim) buffer->trim();
            EXPECT_STREQ(buffer->c_str(), r.expected) << r.input;
            EXPECT_EQ(kttest::drain(reference), r.after) << r.input;
        }
    }
}
