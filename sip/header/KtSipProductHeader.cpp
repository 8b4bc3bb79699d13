// The product/version/comment header shape (Server, User-Agent).
#include "KtSipProductHeader.h"

#include "KtSipLexer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProductHeader")

void KtSipProductHeader::doParse(KtInputStream& in) {
    const KtSipProductSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    KtString product = KtStringTable::sParseWord(in, syntax.productStops, true);
    m_Product = product.empty() ? KtString() : std::move(product);
    m_Version.clear();
    m_Comment.clear();
    KtSipLexer::sSkipBlanks(in);
    const int c = in.peek();
    if (c == '/') {
        in.read();
        KtString version = KtStringTable::sParseWord(in, syntax.versionStops, true);
        if (!version.empty()) m_Version = std::move(version);
    } else if (c == '(') {
        in.read();
        KtString comment = KtStringTable::sParseWord(in, KtSipLexer::sCommentEnd(), true);
        if (in.peek() == ')') in.read();
        m_Comment = comment.empty() ? KtString() : std::move(comment);
    }
}

void KtSipProductHeader::doSerialize(KtOutputStream& out) const {
    const KtSipProductSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
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
    if (!wrote && syntax.emptyError) TORVANE_ERROR(syntax.logger, syntax.emptyError);
}
