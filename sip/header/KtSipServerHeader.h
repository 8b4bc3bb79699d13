// The Server header.
#ifndef KTSIP_KT_SIP_SERVER_HEADER_H
#define KTSIP_KT_SIP_SERVER_HEADER_H

#include "KtSipProductHeader.h"

/// Server: "product/version" (the version is the rest of the line, commas included),
/// "(comment)" or a bare product. After a bare product word the rest of the value up to the
/// next comma is skipped ("Asterisk PBX" keeps "Asterisk"). A header with neither product
/// nor comment writes nothing and logs "Error serializing KtSipServerHeader".
class KtSipServerHeader : public KtSipHeaderImpl<KtSipServerHeader, HeaderServer, KtSipProductHeader> {
public:
    static const KtString sToken;

    /// Empty product, version and comment.
    KtSipServerHeader() = default;
    /// `product` with `version` and `comment` (null for none).
    explicit KtSipServerHeader(const char* product, const char* version = nullptr, const char* comment = nullptr);
    KtSipServerHeader(const KtSipServerHeader& other) = default;

    /// Reads product and version, a comment, or a bare product.
    void doParse(KtInputStream& in) override;
    /// Writes the fields; logs an error when there is nothing to write.
    void doSerialize(KtOutputStream& out) const override;
};

#endif
