// The Warning header.
#ifndef KTSIP_KT_SIP_WARNING_HEADER_H
#define KTSIP_KT_SIP_WARNING_HEADER_H

#include "KtSipHeader.h"

/// Warning: warn-code, warn-agent and warn-text. One object holds the whole line: a line
/// with several comma-separated warnings is not split (the later ones stay in the text).
/// The text is held without its surrounding quotes and written back inside quotes.
class KtSipWarningHeader : public KtSipHeaderImpl<KtSipWarningHeader, HeaderWarning> {
public:
    static const KtString sToken;

    /// Empty code, agent and text.
    KtSipWarningHeader() = default;
    /// Warning `code` from `agent` with `text` (unquoted).
    KtSipWarningHeader(unsigned code, const char* agent, const char* text);
    KtSipWarningHeader(const KtSipWarningHeader& other) = default;

    /// The warn-code text ("399").
    const KtString& getCode() const { return m_Code; }
    /// The warn-agent ("gw1.example.com").
    const KtString& getAgent() const { return m_Agent; }
    /// The warn-text without its quotes.
    const KtString& getText() const { return m_Text; }
    /// Replaces the code.
    void setCode(unsigned code);
    /// Replaces the agent.
    void setAgent(const char* agent) { m_Agent = KtString(agent); }
    /// Replaces the text (unquoted).
    void setText(const char* text) { m_Text = KtString(text); }

    /// Reads the code up to a space, the agent up to a space and the text up to the line
    /// end; a text that begins with a double quote loses its first and last character.
    void doParse(KtInputStream& in) override;
    /// Writes code, space, agent, space, and the text inside double quotes.
    void doSerialize(KtOutputStream& out) const override;

private:
    KtString m_Code;
    KtString m_Agent;
    KtString m_Text;
};

#endif
