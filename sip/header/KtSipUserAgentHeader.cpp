// The User-Agent header.
#include "KtSipUserAgentHeader.h"

#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUserAgentHeader")

KT_SIP_HEADER_REGISTER(KtSipUserAgentHeader, "User-Agent")

namespace {
const KtDelimiterSet& productStops() {
    static const KtDelimiterSet sSet("/(,\r\n");
    return sSet;
}
const KtDelimiterSet& versionStops() {
    static const KtDelimiterSet sSet(",\r\n");
    return sSet;
}
}  // namespace

void KtSipUserAgentHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUserAgentHeader::doParse");
    KtString product = KtStringTable::sParseWord(in, productStops(), true);
    m_Product = product.empty() ? KtString() : std::move(product);
    m_Version.clear();
    m_Comment.clear();
    int c = in.peek();
    if (c == '/') {
        // The version runs to the next comma or the line end, further products and comments
        // included ("3.6.1 (belle-sip/1.2.4)"), so nothing of them is lost.
        in.read();
        KtString version = KtStringTable::sParseWord(in, versionStops(), true);
        if (!version.empty()) m_Version = std::move(version);
    } else if (c == '(') {
        // A comment right after the product; text after its ")" is left to the line reader.
        in.read();
        readComment(in);
    }
}

void KtSipUserAgentHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipUserAgentHeader::doSerialize");
    writeFields(out);
}
