// The tel: URL: a telephone number and its parameters.
#ifndef KTSIP_KT_TEL_URL_H
#define KTSIP_KT_TEL_URL_H

#include "KtParameters.h"
#include "KtURI.h"

/// A tel: URL. The number is kept as written (a leading "+" included, trimmed); the
/// parameters after it live in a ";" list. Without angle brackets a tel URL ends at its
/// first ";": the parameters that follow belong to the enclosing header.
class KtTelURL : public KtURI {
public:
    /// The scheme token "tel".
    static const KtString sToken;

    /// An empty tel URL (scheme "tel", empty number and parameter list).
    KtTelURL();
    /// Parses `text` (for example "tel:+1-212-555-0100" or "<tel:5550100;ext=1>"); the
    /// scheme field stays empty.
    explicit KtTelURL(const char* text);
    /// Copies the number and the parameter list; shares the scheme strings.
    KtTelURL(const KtTelURL& other);
    ~KtTelURL() override;

    /// A copy of this tel URL.
    KtTelURL* clone() const override;
    /// True when at least one parameter is present.
    bool hasParameters() const override;
    /// Always false: tel URLs carry no headers.
    bool hasHeaders() const override;
    /// "tel:" number, then ";" and the parameters when there are any.
    KtString getString() const override;
    /// Reads a tel URL (see the scanner in KtTelURL.cpp). Throws KtSipParseError
    /// "Invalid TelURL" when 1024 or more characters would be buffered.
    void parse(KtInputStream& in) override;
    using KtURI::parse;

    /// The number as written, "+" included.
    const KtString& getNumber() const { return m_Number; }
    /// Replaces the number; a leading "+" makes it global.
    void setNumber(const char* number);
    /// True when the number started with "+".
    bool isGlobal() const { return m_IsGlobal; }
    /// The parameter list (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_Parameters; }
    /// The value of parameter `name` (empty when absent or without value).
    KtString getParameter(const char* name) const;

private:
    KtString m_Number;
    KtHandle<KtParameters> m_Parameters;
    bool m_IsGlobal;
};

#endif
