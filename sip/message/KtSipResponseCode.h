// The default reason phrases of SIP status codes.
#ifndef KTSIP_KT_SIP_RESPONSE_CODE_H
#define KTSIP_KT_SIP_RESPONSE_CODE_H

/// Static table of the default reason phrase of each status code.
class KtSipResponseCode {
public:
    /// The default reason phrase of `code`: the phrase of the code itself, else the fallback
    /// of its class ("Unknown 400 Class Response", ...), else "Unknown Response" for codes
    /// outside 100 to 699. Never null; the text is static and must not be freed.
    static const char* getReasonPhrase(int code);
};

#endif
