// The MIME-Version header.
#include "KtSipMIMEVersionHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMIMEVersionHeader")

KT_SIP_HEADER_REGISTER(KtSipMIMEVersionHeader, "MIME-Version")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipMIMEVersionHeader,
                           KtSipLexer::sTokenSeparators(), true, "Invalid MIMEVersion header", false)
