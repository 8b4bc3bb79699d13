// The product/version/comment header shape (Server, User-Agent).
#include "KtSipProductHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProductHeader")

bool KtSipProductHeader::writeFields(KtOutputStream& out) const {
    bool wrote = false;
    if (!m_Product.empty()) {
        out << m_Product;
        wrote = true;
    }
    if (!m_Version.empty()) {
        out << '/' << m_Version;
        wrote = true;
    }
    if (!m_Comment.empty()) {
        if (wrote) out << ' ';
        out << '(' << m_Comment << ')';
        wrote = true;
    }
    return wrote;
}

void KtSipProductHeader::readComment(KtInputStream& in) {
    static const KtDelimiterSet sStops(")\r\n");
    KtString comment;
    comment.mutableBuffer()->parse(in, sStops);
    comment.trim();
    if (in.peek() == ')') in.read();
    m_Comment = comment.empty() ? KtString() : comment;
}
