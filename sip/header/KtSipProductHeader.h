// The shape shared by the Server and User-Agent headers: product, version and comment.
#ifndef KTSIP_KT_SIP_PRODUCT_HEADER_H
#define KTSIP_KT_SIP_PRODUCT_HEADER_H

#include "KtSipHeader.h"

/// A header naming a piece of software: a product, an optional version after "/" and an
/// optional "(comment)". Each field is held trimmed; the version may carry further product
/// tokens and comments as they were received ("1.0 (Linux) libfoo/2").
class KtSipProductHeader : public KtSipHeader {
public:
    ~KtSipProductHeader() override {}

    /// The product ("Asterisk").
    const KtString& getProduct() const { return m_Product; }
    /// The version, or everything after the "/" ("1.8", "3.6.1 (belle-sip/1.2.4)").
    const KtString& getVersion() const { return m_Version; }
    /// The comment without its parentheses.
    const KtString& getComment() const { return m_Comment; }
    /// Replaces the product.
    void setProduct(const char* product) { m_Product = sText(product); }
    /// Replaces the version (null or empty removes it).
    void setVersion(const char* version) { m_Version = sText(version); }
    /// Replaces the comment (null or empty removes it).
    void setComment(const char* comment) { m_Comment = sText(comment); }

protected:
    KtSipProductHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id) {}
    KtSipProductHeader(const KtSipProductHeader& other) = default;

    /// Writes product, then "/" and the version, then " (", the comment and ")"; the comment
    /// has no leading space when it is all there is. Returns false when nothing was written.
    bool writeFields(KtOutputStream& out) const;
    /// Sets the three fields as the setters do.
    void setFields(const char* product, const char* version, const char* comment) {
        setProduct(product);
        setVersion(version);
        setComment(comment);
    }
    /// Reads a comment whose "(" has been consumed, up to ")" (consumed) or the line end.
    void readComment(KtInputStream& in);

    KtString m_Product;
    KtString m_Version;
    KtString m_Comment;

private:
    static KtString sText(const char* text) { return text && *text ? KtString(text) : KtString(); }
};

/// The members every product-header class declares the same way: the empty header, the one
/// built from its fields (null for none), the copy constructor (clone), the static name,
/// and its own reading and writing.
#define KT_SIP_PRODUCT_HEADER_MEMBERS(CLASS)                                \
public:                                                                     \
    /** Empty product, version and comment. */                              \
    CLASS() = default;                                                      \
    /** `product` with `version` and `comment` (null for none). */          \
    explicit CLASS(const char* product, const char* version = nullptr, const char* comment = nullptr) { \
        setFields(product, version, comment);                               \
    }                                                                       \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;                                           \
    void doParse(KtInputStream& in) override;                               \
    void doSerialize(KtOutputStream& out) const override;

#endif
