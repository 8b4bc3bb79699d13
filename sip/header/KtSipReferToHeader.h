// The Refer-To header: the URI a REFER asks the recipient to contact.
#ifndef KTSIP_KT_SIP_REFER_TO_HEADER_H
#define KTSIP_KT_SIP_REFER_TO_HEADER_H

#include "KtSipHeader.h"
#include "KtURI.h"

/// Refer-To (id 41): one bare URI, no display name and no header parameters of its own.
class KtSipReferToHeader : public KtSipHeaderImpl<KtSipReferToHeader, HeaderReferTo> {
public:
    static const KtString sToken;  ///< "Refer-To"

    /// No URI (nil).
    KtSipReferToHeader();
    /// Parses the header value `text`.
    explicit KtSipReferToHeader(const char* text);
    /// Holds `uri` (not copied).
    explicit KtSipReferToHeader(const KtHandle<KtURI>& uri);
    /// Deep copy: the URI is cloned (next is nil).
    KtSipReferToHeader(const KtSipReferToHeader& other);

    /// Reads one URI (KtURI::sConstructFrom, not in brackets: a sip: URL ends before ";").
    /// Throws KtSipParseError "Invalid URI in Refer-To header" when no URI results, and
    /// passes the URI parser's errors on.
    void doParse(KtInputStream& in) override;
    /// Writes the URI's text (nothing when there is none).
    void doSerialize(KtOutputStream& out) const override;

    /// The URI (nil before parsing).
    const KtHandle<KtURI>& getURI() const { return m_uri; }
    /// Replaces the URI (held, not copied).
    void setURI(const KtHandle<KtURI>& uri) { m_uri = uri; }

private:
    KtHandle<KtURI> m_uri;
};

#endif
