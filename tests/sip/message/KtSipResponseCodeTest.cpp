// Default reason phrases, checked for every code from -5 to 800.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "KtSipResponseCode.h"

namespace {

TEST(ReasonPhrase, EveryCodeFromMinus5To800) {
    const std::map<int, std::string> own = {
        {100, "Trying"}, {180, "Ringing"}, {181, "Call Is Being Forwarded"}, {182, "Queued"},
        {183, "Session Progress"}, {200, "Ok"}, {300, "Multiple Choices"}, {301, "Moved Permanently"},
        {302, "Moved Temporarily"}, {303, "See Other"}, {305, "Use Proxy"}, {380, "Alternative Service"},
        {400, "Bad Request"}, {401, "Unauthorized"}, {402, "Payment Required"}, {403, "Forbidden"},
        {404, "Not Found"}, {405, "Method Not Allowed"}, {406, "Not Acceptable"},
        {407, "Proxy Authentication Required"}, {408, "Request Timeout"}, {409, "Conflict"}, {410, "Gone"},
        {411, "Length Required"}, {413, "Request Message Body Too Large"}, {414, "Request-URI Too Large"},
        {415, "Unsupported Media Type"}, {416, "Unsupported URI Scheme"}, {420, "Bad Extension"},
        {421, "Extension Required"}, {422, "Session Timer Too Small"}, {480, "Temporarily not available"},
        {481, "Call/Transaction Does Not Exist"}, {482, "Loop Detected"}, {483, "Too Many Hops"},
        {484, "Address Incomplete"}, {485, "Ambiguous"}, {486, "Busy Here"}, {487, "Transaction Cancelled"},
        {488, "Not Acceptable Here"}, {491, "Request Pending"}, {493, "Undecipherable"},
        {500, "Internal Server Error"}, {501, "Not Implemented"}, {502, "Bad Gateway"},
        {503, "Service Unavailable"}, {504, "Gateway Timeout"}, {505, "SIP Version not supported"},
        {513, "Message Too Large"}, {600, "Busy Everywhere"}, {603, "Decline"},
        {604, "Does not exist anywhere"}, {606, "Not Acceptable"},
    };
    for (int code = -5; code <= 800; ++code) {
        const auto found = own.find(code);
        const std::string expected = found != own.end() ? found->second
                                     : code >= 100 && code <= 699
                                         ? "Unknown " + std::to_string(code / 100 * 100) + " Class Response"
                                         : "Unknown Response";
        const char* phrase = KtSipResponseCode::getReasonPhrase(code);
        ASSERT_NE(nullptr, phrase) << code;
        EXPECT_EQ(expected, phrase) << "code " << code;
    }
    EXPECT_STREQ("Unknown Response", KtSipResponseCode::getReasonPhrase(-199));
    EXPECT_STREQ("Unknown Response", KtSipResponseCode::getReasonPhrase(2147483647));
}

}  // namespace
