// The User-Agent header.
#ifndef KTSIP_KT_SIP_USER_AGENT_HEADER_H
#define KTSIP_KT_SIP_USER_AGENT_HEADER_H

#include "KtSipProductHeader.h"

/// User-Agent: the product (up to "/", "(" or a comma; it may contain spaces, as in
/// "X-Lite release 1104o"), the version after "/" up to a comma or the line end, or a
/// "(comment)" right after the product. An empty value is accepted.
class KtSipUserAgentHeader
    : public KtSipHeaderImpl<KtSipUserAgentHeader, HeaderUserAgent, KtSipProductHeader> {
public:
    static const KtString sToken;

    /// Empty product, version and comment.
    KtSipUserAgentHeader() = default;
    /// `product` with `version` and `comment` (null for none).
    explicit KtSipUserAgentHeader(const char* product, const char* version = nullptr, const char* comment = nullptr);
    KtSipUserAgentHeader(const KtSipUserAgentHeader& other) = default;

    /// Reads the product, then a version after "/" or a comment after "(".
    void doParse(KtInputStream& in) override;
    /// Writes product, "/version" and " (comment)" as far as they are set.
    void doSerialize(KtOutputStream& out) const override;
};

#endif
