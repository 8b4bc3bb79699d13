// The user agent server behind `ktsip serve`: what it answers to each received message.
#ifndef KTSIP_TOOL_SERVE_UAS_H
#define KTSIP_TOOL_SERVE_UAS_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <unordered_map>

#include "KtHandle.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtSipTag.h"
#include "ServeCommon.h"

namespace serve {

/// Answers SIP requests without dialog state. The only state it keeps is bounded and
/// expires by itself:
/// - the INVITEs it is ringing or has answered recently, by transaction key (so that a
///   CANCEL finds its INVITE, and a retransmitted INVITE gets the same answer again);
/// - the Digest nonces it has issued.
///
/// receive() may be called from several threads at once. A timer thread, started by the
/// constructor and stopped by the destructor, sends the delayed 200 of each INVITE and
/// expires the tables.
class Uas {
public:
    /// Most INVITE transactions kept; a new INVITE beyond that is answered 503.
    static const std::size_t MAX_INVITES = 20000;
    /// Most Digest nonces kept; the oldest is forgotten first.
    static const std::size_t MAX_NONCES = 8192;
    /// How long an answered INVITE is remembered (64 times T1).
    static constexpr std::chrono::seconds INVITE_LINGER{32};
    /// How long an issued nonce stays valid.
    static constexpr std::chrono::seconds NONCE_LIFETIME{300};
    /// Registration time granted when the request asks for none, and the most granted.
    static const int MAX_EXPIRES = 3600;

    Uas(const Config& config, Counters& counters, Sender& sender);
    ~Uas();
    Uas(const Uas&) = delete;
    Uas& operator=(const Uas&) = delete;

    /// Handles one received message (a UDP datagram, or one framed TCP message): parses it
    /// with the library and sends the answers through the sender.
    void receive(const char* data, std::size_t length, const Peer& peer);

private:
    // One INVITE server transaction.
    struct Invite {
        KtHandle<KtSipRequest> request;  // held until the final response is made
        Peer peer;
        std::string tag;        // To tag of every response but the 100
        std::string ringing;    // the 180, sent again for a retransmitted INVITE
        std::string final;      // the final response once made
        int finalCode = 0;
        Clock::time_point due;  // ringing: when the 200 goes out; answered: when forgotten
        bool answered = false;
    };
    struct Nonce {
        Clock::time_point expires;
        unsigned long lastCount = 0;  // highest nonce count accepted so far
    };
    // The result of reading one message.
    struct Parsed;

    Parsed parse(const char* data, std::size_t length) const;
    void answerInvalid(const KtHandle<KtSipRequest>& request, int status, const Peer& peer);
    void answerRequest(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerInvite(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerCancel(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerRegister(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerOptions(const KtHandle<KtSipRequest>& request, const Peer& peer);

    /// A response to `request`, ready to add to. Unless `tagged` is false (the 100), a To
    /// without a tag gets `tag`, or a new tag when `tag` is empty.
    KtHandle<KtSipResponse> response(int code, const KtHandle<KtSipRequest>& request, const std::string& tag,
                                     const std::string& body = std::string(), const char* contentType = nullptr,
                                     bool tagged = true);
    /// Serializes and sends `response`, counting it.
    void send(const KtHandle<KtSipResponse>& response, const Peer& peer);
    void sendBytes(const std::string& bytes, int code, const Peer& peer);
    // Answers `invite` (under `key`) with its final response `code`, keeps the text for
    // retransmissions and schedules the entry's expiry. Called with m_Mutex held.
    void finishInvite(const std::string& key, Invite& invite, const KtSipResponse& final, int code);
    /// Adds the headers of `line` ("Name: value") to `message`.
    static void addHeaderLine(KtSipMessage& message, const std::string& line);
    /// The local address the peer reached (without brackets).
    static std::string localHost(const KtHandle<KtSipRequest>& request, const Peer& peer);
    /// The Contact of this server as the peer reached it.
    std::string contactLine(const KtHandle<KtSipRequest>& request, const Peer& peer) const;
    std::string sdpAnswer(const KtHandle<KtSipRequest>& request, const Peer& peer) const;
    std::string newTag();
    std::string newNonce();

    // Timer thread: sends due 200s, forgets old transactions and nonces.
    void runTimers();
    void ringOut(const std::string& key);
    void expireLocked(Clock::time_point now);

    const Config& m_Config;
    Counters& m_Counters;
    Sender& m_Sender;
    std::string m_TagPrefix;

    std::mutex m_TagMutex;  // KtSipTag's generator is shared without a lock of its own
    KtSipTag m_Tag;

    std::mutex m_Mutex;  // guards everything below
    std::condition_variable m_Wake;
    bool m_Stopping = false;
    std::unordered_map<std::string, Invite> m_Invites;
    std::multimap<Clock::time_point, std::string> m_Rings;          // pending 200s by due time
    std::deque<std::pair<Clock::time_point, std::string>> m_Lingering;  // answered INVITEs by expiry
    std::unordered_map<std::string, Nonce> m_Nonces;
    std::deque<std::pair<Clock::time_point, std::string>> m_NonceOrder;
    std::mt19937_64 m_Random;
    std::thread m_Timer;
};

}  // namespace serve

#endif
