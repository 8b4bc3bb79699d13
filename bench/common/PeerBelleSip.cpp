// belle-sip (libbellesip): belle_sip_message_parse_raw reads the start line and headers; the
// body is attached by Content-Length with belle_sip_message_set_body, as belle-sip's own
// channel does for received messages. Serialize with belle_sip_object_marshal into a buffer
// owned by the instance (belle-sip's no-allocation output path).
#include "Peers.h"

#ifdef KTSIP_BENCH_HAVE_BELLESIP
#include <belle-sip/belle-sip.h>

#include <mutex>

namespace ktbench {
namespace {

class BelleSipPeer : public Peer {
public:
    BelleSipPeer() : m_Buffer(256 * 1024) {
        static std::once_flag once;
        std::call_once(once, [] { belle_sip_set_log_level(BELLE_SIP_LOG_FATAL); });
    }
    const char* name() const override { return "belle-sip"; }
    const char* version() const override { return KTSIP_BENCH_BELLESIP_VERSION; }

    bool parse(const char* data, std::size_t length) override {
        belle_sip_message_t* m = build(data, length);
        if (m == nullptr) return false;
        belle_sip_object_unref(m);
        return true;
    }

    std::size_t parseSerialize(const char* data, std::size_t length) override {
        belle_sip_message_t* m = build(data, length);
        if (m == nullptr) return 0;
        std::size_t offset = 0;
        const belle_sip_error_code rc =
            belle_sip_object_marshal(BELLE_SIP_OBJECT(m), m_Buffer.data(), m_Buffer.size(), &offset);
        belle_sip_object_unref(m);
        if (rc != BELLE_SIP_OK) {
            refuse("belle_sip_object_marshal failed");
            return 0;
        }
        return offset;
    }

    std::string serialized(const char* data, std::size_t length) override {
        const std::size_t n = parseSerialize(data, length);
        return std::string(m_Buffer.data(), n);
    }

private:
    // The parsed message with one reference held by the caller, or null (refused).
    belle_sip_message_t* build(const char* data, std::size_t length) {
        std::size_t consumed = 0;
        belle_sip_message_t* m = belle_sip_message_parse_raw(data, length, &consumed);
        if (m == nullptr) {
            refuse("belle_sip_message_parse_raw returned null");
            return nullptr;
        }
        belle_sip_object_ref(m);
        belle_sip_header_content_length_t* cl =
            belle_sip_message_get_header_by_type(m, belle_sip_header_content_length_t);
        const std::size_t bodyLength = cl ? belle_sip_header_content_length_get_content_length(cl) : 0;
        if (consumed > length || bodyLength > length - consumed) {
            belle_sip_object_unref(m);
            refuse("body shorter than Content-Length");
            return nullptr;
        }
        if (bodyLength > 0) belle_sip_message_set_body(m, data + consumed, bodyLength);
        return m;
    }
    std::vector<char> m_Buffer;
};

}  // namespace

std::unique_ptr<Peer> makeBelleSipPeer() { return std::unique_ptr<Peer>(new BelleSipPeer()); }

}  // namespace ktbench

#else

namespace ktbench {
std::unique_ptr<Peer> makeBelleSipPeer() { return nullptr; }
}  // namespace ktbench

#endif
