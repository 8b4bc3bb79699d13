// The SIP character sets and the table of common words.
#include "KtSipLexer.h"

#include "KtStringTable.h"

namespace {
constexpr KtDelimiterSet kTokenSeparators(" \t\r\n\\\"()<>@,;:/[]?={}");
constexpr KtDelimiterSet kListSeparators(", \t\r\n");
constexpr KtDelimiterSet kMethodSeparators(" \t\r\n\"()<>@,;:/[]?={}");
constexpr KtDelimiterSet kWhiteSeparators(" \t\r\n");
constexpr KtDelimiterSet kLineEnd("\r\n");
constexpr KtDelimiterSet kCommentEnd(")\r\n");
}  // namespace

const KtDelimiterSet& KtSipLexer::sTokenSeparators() { return kTokenSeparators; }
const KtDelimiterSet& KtSipLexer::sListSeparators() { return kListSeparators; }
const KtDelimiterSet& KtSipLexer::sMethodSeparators() { return kMethodSeparators; }
const KtDelimiterSet& KtSipLexer::sWhiteSeparators() { return kWhiteSeparators; }
const KtDelimiterSet& KtSipLexer::sLineEnd() { return kLineEnd; }
const KtDelimiterSet& KtSipLexer::sCommentEnd() { return kCommentEnd; }

const KtStringTable& KtSipLexer::sCommonWordTable() {
    static const KtStringTable sTable{
        // methods
        "INVITE", "ACK", "BYE", "CANCEL", "OPTIONS", "REGISTER", "PRACK", "UPDATE", "REFER", "SUBSCRIBE",
        "NOTIFY", "INFO", "MESSAGE", "PUBLISH",
        // option tags
        "100rel", "timer", "replaces", "path", "gruu", "outbound", "norefersub", "precondition", "eventlist",
        "from-change", "histinfo", "join", "privacy", "sec-agree", "tdialog", "resource-priority", "answermode",
        // media types and subtypes
        "application", "text", "multipart", "message", "audio", "video", "image", "sdp", "plain", "html", "xml",
        "pidf+xml", "xpidf+xml", "cpim-pidf+xml", "dialog-info+xml", "reginfo+xml", "watcherinfo+xml",
        "rlmi+xml", "simple-message-summary", "im-iscomposing+xml", "sipfrag", "mixed", "related",
        "alternative", "json",
        // event packages
        "presence", "dialog", "message-summary", "refer", "reg", "conference", "presence.winfo",
        // encodings, dispositions and languages
        "gzip", "deflate", "identity", "session", "render", "icon", "alert", "en", "en-US", "de", "fr", "es"};
    return sTable;
}
