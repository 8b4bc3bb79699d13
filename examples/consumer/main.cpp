// A program built against the installed ktsip package.
//
//   consumer "Header: value"   reads one header line and writes back what the library
//                              serializes for it;
//   consumer                   parses an INVITE, prints its transaction key, and answers it
//                              with a 200 carrying a To tag.
//
// Build it with CMake (CMakeLists.txt here) or with pkg-config:
//   c++ -std=c++17 main.cpp -o consumer $(pkg-config --cflags --libs ktsip)
#include <cstdio>
#include <cstring>
#include <string>

#include <ktsip/KtException.h>
#include <ktsip/KtInputStream.h>
#include <ktsip/KtOutputStream.h>
#include <ktsip/KtSipHeader.h>
#include <ktsip/KtSipMessage.h>
#include <ktsip/KtSipRequest.h>
#include <ktsip/KtSipResponse.h>
#include <ktsip/KtSipTag.h>
#include <ktsip/KtSipToHeader.h>

namespace {

int header(std::string line) {
    line += "\r\n";
    KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
    KtHandle<KtSipHeader> h = KtSipHeader::sConstructFrom(in);
    KtByteArrayOutputStream out(256);
    h->serialize(out);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}

int answerInvite() {
    const char* text =
        "INVITE sip:bob@b.example SIP/2.0\r\n"
        "Via: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\r\n"
        "From: <sip:alice@a.example>;tag=88\r\n"
        "To: <sip:bob@b.example>\r\n"
        "Call-ID: c1@a.example\r\n"
        "CSeq: 1 INVITE\r\n"
        "Content-Length: 0\r\n\r\n";
    KtByteArrayInputStream in(text, static_cast<unsigned>(std::strlen(text)));
    KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
    std::printf("key: %s\n", message->createKey().c_str());

    KtHandle<KtSipRequest> request = message.dynamicCast<KtSipRequest>();
    KtHandle<KtSipResponse> ok(new KtSipResponse(200, request, nullptr, nullptr, 0));
    KtHandle<KtSipTag> tag(new KtSipTag());
    tag->reGenerate(nullptr);
    ok->mGetHeaderByID(HeaderTo).dynamicCast<KtSipToHeader>()->setTag(tag->c_str());
    KtByteArrayOutputStream out(512);
    ok->serialize(out);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return argc > 1 ? header(argv[1]) : answerInvite();
    } catch (const KtException& e) {
        std::fprintf(stderr, "consumer: %s\n", e.getMessage());
        return 1;
    }
}
