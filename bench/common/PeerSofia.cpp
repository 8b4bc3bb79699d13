// Sofia-SIP (libsofia-sip-ua): msg_make with the default SIP message class; a message with
// msg_has_error set counts as refused. Serialize with msg_as_string, which encodes every
// header from its parsed structure; the string lives in the message's memory home and is
// freed with it.
#include "Peers.h"

#ifdef KTSIP_BENCH_HAVE_SOFIA
#include <sofia-sip/msg.h>
#include <sofia-sip/sip.h>
#include <sofia-sip/sip_header.h>

namespace ktbench {
namespace {

class SofiaPeer : public TextPeer {
public:
    const char* name() const override { return "sofia-sip"; }
    const char* version() const override { return KTSIP_BENCH_SOFIA_VERSION; }

    bool parse(const char* data, std::size_t length) override {
        msg_t* m = msg_make(sip_default_mclass(), 0, data, static_cast<ssize_t>(length));
        if (m == nullptr) return refuse("msg_make returned null");
        const bool bad = msg_has_error(m) != 0;
        msg_destroy(m);
        if (bad) return refuse("msg_has_error");
        return true;
    }

private:
    void run(const char* data, std::size_t length, std::string* text, std::size_t* n) override {
        msg_t* m = msg_make(sip_default_mclass(), 0, data, static_cast<ssize_t>(length));
        if (m == nullptr) {
            refuse("msg_make returned null");
            return;
        }
        if (msg_has_error(m)) {
            msg_destroy(m);
            refuse("msg_has_error");
            return;
        }
        std::size_t outLength = 0;
        char* out = msg_as_string(msg_home(m), m, nullptr, 0, &outLength);
        if (out != nullptr) {
            *n = outLength;
            if (text) text->assign(out, outLength);
        } else {
            refuse("msg_as_string returned null");
        }
        msg_destroy(m);
    }
};

}  // namespace

std::unique_ptr<Peer> makeSofiaPeer() { return std::unique_ptr<Peer>(new SofiaPeer()); }

}  // namespace ktbench

#else

namespace ktbench {
std::unique_ptr<Peer> makeSofiaPeer() { return nullptr; }
}  // namespace ktbench

#endif
