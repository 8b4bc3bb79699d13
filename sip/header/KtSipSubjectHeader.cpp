// The Subject header.
#include "KtSipSubjectHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSubjectHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipSubjectHeader, "Subject", "s")

// Only the first word is kept: the value ends at the first token separator.
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipSubjectHeader, KtSipLexer::sTokenSeparators(), true, nullptr, false)
