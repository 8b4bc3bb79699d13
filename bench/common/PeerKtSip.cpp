// ktsip: KtSipMessage::sConstructFrom over the caller's buffer, serialize into a reused
// KtByteArrayOutputStream.
#include <string>

#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipMessage.h"
#include "Peers.h"

namespace ktbench {
namespace {

class KtSipPeer : public Peer {
public:
    KtSipPeer() : m_Out(8192) {}
    const char* name() const override { return "ktsip"; }
    const char* version() const override { return KTSIP_BENCH_KTSIP_VERSION; }

    bool parse(const char* data, std::size_t length) override {
        try {
            KtByteArrayInputStream in(data, static_cast<unsigned>(length));
            KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
            if (!message->isValid()) return refuse("status " + std::to_string(message->getStatus()));
            return true;
        } catch (const KtException& e) {
            return refuse(e.getMessage());
        }
    }

    std::size_t parseSerialize(const char* data, std::size_t length) override {
        try {
            KtByteArrayInputStream in(data, static_cast<unsigned>(length));
            KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
            if (!message->isValid()) {
                refuse("status " + std::to_string(message->getStatus()));
                return 0;
            }
            m_Out.clear();
            message->serialize(m_Out);
            return m_Out.size();
        } catch (const KtException& e) {
            refuse(e.getMessage());
            return 0;
        }
    }

    std::string serialized(const char* data, std::size_t length) override {
        const std::size_t n = parseSerialize(data, length);
        return n == 0 ? std::string() : std::string(m_Out.data(), n);
    }

private:
    KtByteArrayOutputStream m_Out;
};

}  // namespace

std::unique_ptr<Peer> makeKtSipPeer() { return std::unique_ptr<Peer>(new KtSipPeer()); }

}  // namespace ktbench
