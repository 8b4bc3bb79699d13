// The Server header.
#include "KtSipServerHeader.h"

#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipServerHeader")

KT_SIP_HEADER_REGISTER(KtSipServerHeader, "Server")

namespace {
const KtDelimiterSet& productStops() {
    static const KtDelimiterSet sSet(" /(\r\n\t");
    return sSet;
}
const KtDelimiterSet& lineEnd() {
    static const KtDelimiterSet sSet("\r\n");
    return sSet;
}
}  // namespace

void KtSipServerHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipServerHeader::doParse");
    const KtString text = KtStringTable::sParseWord(in, productStops(), true);
    m_Product = text.empty() ? KtString() : text;
    m_Version.clear();
    m_Comment.clear();
    KtStreamTokenizer::sDiscardWhite(in);
    int c = in.peek();
    if (c == '/') {
        // The version is the rest of the line.
        in.read();
        const KtString version = KtStringTable::sParseWord(in, lineEnd(), true);
        if (!version.empty()) m_Version = version;
    } else if (c == '(') {
        in.read();
        readComment(in);
    }
    // Otherwise a bare product: the rest up to the next comma is left to the line reader.
}

void KtSipServerHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipServerHeader::doSerialize");
    if (!writeFields(out)) TORVANE_ERROR(fileLogger(), "Error serializing KtSipServerHeader");
}
