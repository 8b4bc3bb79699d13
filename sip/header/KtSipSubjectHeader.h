// The Subject header (compact form "s").
#ifndef KTSIP_KT_SIP_SUBJECT_HEADER_H
#define KTSIP_KT_SIP_SUBJECT_HEADER_H

#include "KtSipTokenHeader.h"

/// Subject (compact form "s"): only the first word of the subject is kept (the value ends at
/// the first token separator); the text after it up to the next comma is skipped, and each
/// further comma-separated piece becomes another Subject object.
class KtSipSubjectHeader
    : public KtSipCompactHeaderImpl<KtSipSubjectHeader, HeaderSubject, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipSubjectHeader)
    static const KtString sCompactToken;
};

#endif
