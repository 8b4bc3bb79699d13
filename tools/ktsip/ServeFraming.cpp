// Message framing on a SIP stream connection.
#include "ServeFraming.h"

#include <strings.h>

#include <string>

namespace serve {

namespace {

const char kPing[] = "\r\n\r\n";

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// The offset just past the empty line that closes the header section, or 0 when the input
// does not hold it yet.
std::size_t headerEnd(std::string_view input) {
    for (std::size_t i = input.find('\n'); i != std::string_view::npos; i = input.find('\n', i + 1)) {
        if (i + 1 < input.size() && input[i + 1] == '\n') return i + 2;
        if (i + 2 < input.size() && input[i + 1] == '\r' && input[i + 2] == '\n') return i + 3;
    }
    return 0;
}

enum class Length { Absent, Value, Bad };

// Reads the Content-Length of the header section [0, end): the value of every line named
// Content-Length or l (folded continuation lines are skipped). Two different values are as
// bad as an unreadable one.
Length contentLength(std::string_view input, std::size_t end, std::size_t& value) {
    Length result = Length::Absent;
    std::size_t line = input.find('\n');  // the start line is not a header
    while (line != std::string_view::npos && line + 1 < end) {
        const std::size_t start = line + 1;
        line = input.find('\n', start);
        if (line == std::string_view::npos || line >= end) break;
        if (isBlank(input[start])) continue;
        const std::size_t colon = input.find(':', start);
        if (colon == std::string_view::npos || colon > line) continue;
        std::size_t nameEnd = colon;
        while (nameEnd > start && isBlank(input[nameEnd - 1])) --nameEnd;
        const std::string name(input.substr(start, nameEnd - start));
        if (strcasecmp(name.c_str(), "Content-Length") != 0 && strcasecmp(name.c_str(), "l") != 0) continue;
        std::size_t p = colon + 1;
        while (p < line && isBlank(input[p])) ++p;
        std::size_t number = 0;
        std::size_t digits = 0;
        for (; p < line && input[p] >= '0' && input[p] <= '9'; ++p, ++digits) {
            if (digits >= 9) return Length::Bad;  // no message of a billion bytes fits anyway
            number = number * 10 + static_cast<std::size_t>(input[p] - '0');
        }
        while (p < line && (isBlank(input[p]) || input[p] == '\r')) ++p;
        if (digits == 0 || p != line) return Length::Bad;
        if (result == Length::Value && number != value) return Length::Bad;
        value = number;
        result = Length::Value;
    }
    return result;
}

}  // namespace

Frame nextFrame(std::string_view input, std::size_t limit) {
    if (input.empty()) return {Frame::NeedMore, 0};
    if (input[0] == '\r' || input[0] == '\n') {
        if (input.compare(0, 4, kPing) == 0) return {Frame::Ping, 4};
        // A ping whose segments have not all arrived yet.
        if (input.size() < 4 && input.compare(0, input.size(), kPing, input.size()) == 0) return {Frame::NeedMore, 0};
        if (input.compare(0, 2, "\r\n") == 0) return {Frame::Skip, 2};
        return {Frame::Skip, 1};
    }
    const std::size_t end = headerEnd(input);
    if (end == 0) return {input.size() >= limit ? Frame::TooLarge : Frame::NeedMore, 0};
    std::size_t body = 0;
    switch (contentLength(input, end, body)) {
        case Length::Bad:
            return {Frame::BadLength, end};
        case Length::Absent:
            return {Frame::NoLength, end};
        case Length::Value:
            break;
    }
    if (body > limit || end + body > limit) return {Frame::TooLarge, 0};
    if (end + body > input.size()) return {Frame::NeedMore, 0};
    return {Frame::Message, end + body};
}

}  // namespace serve
