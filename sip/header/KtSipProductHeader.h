// The shape shared by the Server and User-Agent headers: product, version and comment.
#ifndef KTSIP_KT_SIP_PRODUCT_HEADER_H
#define KTSIP_KT_SIP_PRODUCT_HEADER_H

#include "KtSipSyntaxHeader.h"

/// How one product header reads and writes besides the class's scopes: the bytes at which
/// the product ends, those at which the version after "/" ends, and the text logged when
/// there is nothing to write (null: nothing is logged).
struct KtSipProductSyntax : KtSipHeaderScopes {
    const KtDelimiterSet& productStops;
    const KtDelimiterSet& versionStops;
    const char* emptyError;
};

/// A header naming a piece of software: a product, an optional version after "/" and an
/// optional "(comment)". Each field is held trimmed; the version may carry further product
/// tokens and comments as they were received ("1.0 (Linux) libfoo/2").
class KtSipProductHeader : public KtSipSyntaxHeader<KtSipProductSyntax> {
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

    /// Reads the product up to the class's product stops, trimmed; then, after blanks, on "/"
    /// the version up to the class's version stops, trimmed, or on "(" a comment up to ")"
    /// (consumed) or the line end. Anything else is left in the stream.
    void doParse(KtInputStream& in) override;
    /// Writes product, then "/" and the version, then " (", the comment and ")"; the comment
    /// has no leading space when it is all there is. When nothing is written, the class's
    /// error text (if any) is logged.
    void doSerialize(KtOutputStream& out) const override;

protected:
    using KtSipSyntaxHeader::KtSipSyntaxHeader;
    /// Sets the three fields as the setters do.
    void setFields(const char* product, const char* version, const char* comment) {
        setProduct(product);
        setVersion(version);
        setComment(comment);
    }

    KtString m_Product;
    KtString m_Version;
    KtString m_Comment;

private:
    static KtString sText(const char* text) { return text && *text ? KtString(text) : KtString(); }
};

/// The members every product-header class declares the same way: the empty header, the one
/// built from its fields (null for none), the copy constructor (clone), the static name and
/// the syntax hook (defined in the class's source file).
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
                                                                            \
protected:                                                                  \
    const KtSipProductSyntax& getSyntax() const override;                   \
                                                                            \
public:

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER): the
/// product ends at PRODUCT_STOPS, the version at VERSION_STOPS (KtDelimiterSets), and
/// EMPTY_ERROR, unless null, is logged for a header with nothing to write.
#define KT_SIP_PRODUCT_HEADER_SYNTAX(CLASS, PRODUCT_STOPS, VERSION_STOPS, EMPTY_ERROR)              \
    const KtSipProductSyntax& CLASS::getSyntax() const {                                            \
        static const KtSipProductSyntax sSyntax{KT_SIP_HEADER_SCOPES(CLASS), (PRODUCT_STOPS), (VERSION_STOPS), \
                                                (EMPTY_ERROR)};                                     \
        return sSyntax;                                                                             \
    }

#endif
