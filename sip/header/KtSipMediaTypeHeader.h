// The media-type shape shared by Accept and Content-Type: type "/" subtype and parameters.
#ifndef KTSIP_KT_SIP_MEDIA_TYPE_HEADER_H
#define KTSIP_KT_SIP_MEDIA_TYPE_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// A header whose value is `type/subtype` followed by ";" parameters. The parameter list
/// is never nil; a new one is empty with the separator ";".
class KtSipMediaTypeHeader : public KtSipHeader {
public:
    ~KtSipMediaTypeHeader() override {}

    /// The parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters.get(); }
    /// Replaces the parameter list (held, not copied); nil gives an empty list.
    void setParameters(const KtHandle<KtParameters>& parameters);

    /// Reads the type up to "/", the "/", the subtype up to a delimiter, then, when a ";"
    /// follows, the parameters. Throws KtSipParseError "Invalid Accept header" when the
    /// type or the subtype is empty.
    void doParse(KtInputStream& in) override;
    /// type "/" subtype, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipMediaTypeHeader(const KtString& token, HeaderID id);
    /// Shares the type strings, clones the parameter list.
    KtSipMediaTypeHeader(const KtSipMediaTypeHeader& other);

    /// A new string "type/subtype".
    KtString joinMedia() const;
    /// Splits `media` at its first "/" into type and subtype; without "/" the whole text
    /// is the type and the subtype is "*"; a null pointer gives "*" for both.
    void splitMedia(const char* media);

    KtConstString m_type;
    KtConstString m_subtype;
    KtLazyParameters m_parameters;  // made on first use: most headers have no parameters
};

#endif
