// The Server header.
#ifndef KTSIP_KT_SIP_SERVER_HEADER_H
#define KTSIP_KT_SIP_SERVER_HEADER_H

#include "KtSipProductHeader.h"

/// Server: "product/version" (the version is the rest of the line, commas included),
/// "(comment)" or a bare product. After a bare product word the rest of the value up to the
/// next comma is skipped ("Asterisk PBX" keeps "Asterisk"). A header with neither product
/// nor comment writes nothing and logs "Error serializing KtSipServerHeader".
class KtSipServerHeader : public KtSipHeaderImpl<KtSipServerHeader, HeaderServer, KtSipProductHeader> {
    KT_SIP_PRODUCT_HEADER_MEMBERS(KtSipServerHeader)
};

#endif
