// GNU oSIP2 (libosipparser2): osip_message_parse into an osip_message_t; serialize with
// osip_message_to_str after osip_message_force_update, so that the text is rebuilt from the
// parsed structure instead of copied from the buffer oSIP keeps of the received message.
#include "Peers.h"

#ifdef KTSIP_BENCH_HAVE_OSIP2
#include <osipparser2/osip_parser.h>

#include <mutex>

namespace ktbench {
namespace {

class Osip2Peer : public TextPeer {
public:
    Osip2Peer() {
        // parser_init builds oSIP's global tables; it must run once, before any parse.
        static std::once_flag once;
        std::call_once(once, [] { parser_init(); });
    }
    const char* name() const override { return "osip2"; }
    const char* version() const override { return KTSIP_BENCH_OSIP2_VERSION; }

    bool parse(const char* data, std::size_t length) override {
        osip_message_t* m = nullptr;
        if (osip_message_init(&m) != OSIP_SUCCESS) return refuse("osip_message_init failed");
        const int rc = osip_message_parse(m, data, length);
        osip_message_free(m);
        if (rc != OSIP_SUCCESS) return refuse("osip_message_parse returned " + std::to_string(rc));
        return true;
    }

private:
    void run(const char* data, std::size_t length, std::string* text, std::size_t* n) override {
        osip_message_t* m = nullptr;
        if (osip_message_init(&m) != OSIP_SUCCESS) {
            refuse("osip_message_init failed");
            return;
        }
        int rc = osip_message_parse(m, data, length);
        if (rc != OSIP_SUCCESS) {
            osip_message_free(m);
            refuse("osip_message_parse returned " + std::to_string(rc));
            return;
        }
        osip_message_force_update(m);
        char* out = nullptr;
        std::size_t outLength = 0;
        rc = osip_message_to_str(m, &out, &outLength);
        if (rc == OSIP_SUCCESS && out != nullptr) {
            *n = outLength;
            if (text) text->assign(out, outLength);
            osip_free(out);
        } else {
            refuse("osip_message_to_str returned " + std::to_string(rc));
        }
        osip_message_free(m);
    }
};

}  // namespace

std::unique_ptr<Peer> makeOsip2Peer() { return std::unique_ptr<Peer>(new Osip2Peer()); }

}  // namespace ktbench

#else

namespace ktbench {
std::unique_ptr<Peer> makeOsip2Peer() { return nullptr; }
}  // namespace ktbench

#endif
