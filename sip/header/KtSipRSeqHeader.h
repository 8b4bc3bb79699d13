// The RSeq header (reliable provisional responses).
#ifndef KTSIP_KT_SIP_RSEQ_HEADER_H
#define KTSIP_KT_SIP_RSEQ_HEADER_H

#include "KtSipUnsignedHeader.h"

/// RSeq: the response number of a reliable provisional response. A value that is not a
/// number throws KtSipParseError "Invalid RSeq header".
class KtSipRSeqHeader : public KtSipHeaderImpl<KtSipRSeqHeader, HeaderRSeq, KtSipUnsignedHeader> {
    KT_SIP_UNSIGNED_HEADER_MEMBERS(KtSipRSeqHeader)
};

#endif
