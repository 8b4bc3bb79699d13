// The Priority header.
#include "KtSipPriorityHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipPriorityHeader")

KT_SIP_HEADER_REGISTER(KtSipPriorityHeader, "Priority")

const KtSipKeywordSyntax& KtSipPriorityHeader::getSyntax() const {
    static const char* const sWords[] = {"normal", "emergency", "urgent", "non-urgent"};
    static const KtSipKeywordSyntax sSyntax{sWords, 4, "Invalid Priority header", fileLogger(),
                                            "KtSipPriorityHeader::doParse", "KtSipPriorityHeader::doSerialize"};
    return sSyntax;
}
