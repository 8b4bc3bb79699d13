// The default reason phrases of SIP status codes.
#include "KtSipResponseCode.h"

#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipResponseCode")

namespace {

const char kUnknown[] = "Unknown Response";
const char kUnknown1xx[] = "Unknown 100 Class Response";
const char kUnknown2xx[] = "Unknown 200 Class Response";
const char kUnknown3xx[] = "Unknown 300 Class Response";
const char kUnknown4xx[] = "Unknown 400 Class Response";
const char kUnknown5xx[] = "Unknown 500 Class Response";
const char kUnknown6xx[] = "Unknown 600 Class Response";

// Phrases of 400 to 493, indexed by code - 400; null entries fall back to the class text.
// 412 has no phrase of its own on purpose.
const char* const k4xx[] = {
    "Bad Request",                      // 400
    "Unauthorized",                     // 401
    "Payment Required",                 // 402
    "Forbidden",                        // 403
    "Not Found",                        // 404
    "Method Not Allowed",               // 405
    "Not Acceptable",                   // 406
    "Proxy Authentication Required",    // 407
    "Request Timeout",                  // 408
    "Conflict",                         // 409
    "Gone",                             // 410
    "Length Required",                  // 411
    nullptr,                            // 412
    "Request Message Body Too Large",   // 413
    "Request-URI Too Large",            // 414
    "Unsupported Media Type",           // 415
    "Unsupported URI Scheme",           // 416
    nullptr, nullptr, nullptr,          // 417 to 419
    "Bad Extension",                    // 420
    "Extension Required",               // 421
    "Session Timer Too Small",          // 422
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 423 to 429
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 430 to 439
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 440 to 449
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 450 to 459
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 460 to 469
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 470 to 479
    "Temporarily not available",        // 480
    "Call/Transaction Does Not Exist",  // 481
    "Loop Detected",                    // 482
    "Too Many Hops",                    // 483
    "Address Incomplete",               // 484
    "Ambiguous",                        // 485
    "Busy Here",                        // 486
    "Transaction Cancelled",            // 487
    "Not Acceptable Here",              // 488
    nullptr,                            // 489
    nullptr,                            // 490
    "Request Pending",                  // 491
    nullptr,                            // 492
    "Undecipherable",                   // 493
};
static_assert(sizeof(k4xx) / sizeof(k4xx[0]) == 94, "400 to 493");

// Phrases of 500 to 513, indexed by code - 500.
const char* const k5xx[] = {
    "Internal Server Error",      // 500
    "Not Implemented",            // 501
    "Bad Gateway",                // 502
    "Service Unavailable",        // 503
    "Gateway Timeout",            // 504
    "SIP Version not supported",  // 505
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 506 to 512
    "Message Too Large",          // 513
};
static_assert(sizeof(k5xx) / sizeof(k5xx[0]) == 14, "500 to 513");

const char* fromTable(const char* const* table, int size, int index, const char* fallback) {
    if (index >= 0 && index < size && table[index] != nullptr) return table[index];
    return fallback;
}

}  // namespace

const char* KtSipResponseCode::getReasonPhrase(int code) {
    switch (code / 100) {  // truncates toward zero: -5 and 99 give class 0
    case 1:
        switch (code) {
        case 100: return "Trying";
        case 180: return "Ringing";
        case 181: return "Call Is Being Forwarded";
        case 182: return "Queued";
        case 183: return "Session Progress";
        default: return kUnknown1xx;
        }
    case 2:
        return code == 200 ? "Ok" : kUnknown2xx;
    case 3:
        switch (code) {
        case 300: return "Multiple Choices";
        case 301: return "Moved Permanently";
        case 302: return "Moved Temporarily";
        case 303: return "See Other";
        case 305: return "Use Proxy";
        case 380: return "Alternative Service";
        default: return kUnknown3xx;
        }
    case 4:
        return fromTable(k4xx, static_cast<int>(sizeof(k4xx) / sizeof(k4xx[0])), code - 400, kUnknown4xx);
    case 5:
        return fromTable(k5xx, static_cast<int>(sizeof(k5xx) / sizeof(k5xx[0])), code - 500, kUnknown5xx);
    case 6:
        switch (code) {
        case 600: return "Busy Everywhere";
        case 603: return "Decline";
        case 604: return "Does not exist anywhere";
        case 606: return "Not Acceptable";
        default: return kUnknown6xx;
        }
    default:
        return kUnknown;
    }
}
