// The Session header.
#include "KtSipSessionHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSessionHeader")

KT_SIP_HEADER_REGISTER(KtSipSessionHeader, "Session")

const KtSipKeywordSyntax& KtSipSessionHeader::getSyntax() const {
    static const char* const sWords[] = {"Media", "QoS", "Security"};
    static const KtSipKeywordSyntax sSyntax{sWords, 3, "Invalid value in Session header", fileLogger(),
                                            "KtSipSessionHeader::doParse", "KtSipSessionHeader::doSerialize"};
    return sSyntax;
}
