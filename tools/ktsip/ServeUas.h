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
#include <string_view>
#include <thread>
#include <unordered_map>

#include "KtHandle.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtSipTag.h"
#include "ServeCommon.h"

namespace serve {

class LibraryLog;

/// Answers SIP requests without dialog state. The only state it keeps is bounded and
/// expires by itself:
/// - the INVITEs it is ringing or has answered recently, by transaction key (so that a
///   CANCEL finds its INVITE, and a retransmitted INVITE gets the same answer again);
/// - the Digest nonces it has issued;
/// - the 2xx responses to INVITEs that no ACK has confirmed yet, sent again at T1, 2*T1,
///   ... up to T2 apart until the ACK arrives or 64*T1 has passed (over TCP too: the
///   resends are the user agent's, not the transport's).
///
/// Digest policy (REGISTER with users): a challenge offers MD5 with qop "auth". Credentials
/// are refused with 400 when a parameter appears twice, when they do not answer with qop
/// "auth" (with an nc of eight hexadecimal digits and a cnonce), when they name another
/// algorithm, or when their uri differs from the Request-URI; with 403 when the digest does
/// not validate for a nonce this server issued and still honours. A digest that validates
/// is accepted once per nonce count, which must grow with each request; a nonce unknown,
/// expired or with a count not above the last one accepted gets a new challenge marked
/// stale=true (the client knows the password). A nonce the server does not know and a
/// digest that does not validate get a new challenge without stale.
///
/// Messages whose header section has more than MAX_HEADER_LINES lines are dropped unread
/// (counted as "too-many-header-lines"): reading a line the library refuses costs
/// microseconds, so a datagram of thousands of such lines would cost tens of milliseconds.
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
    /// Most lines in a header section handed to the library.
    static const std::size_t MAX_HEADER_LINES = 512;
    /// T1 and T2 of RFC 3261: the first and the longest interval between 2xx resends.
    static constexpr std::chrono::milliseconds T1{500};
    static constexpr std::chrono::milliseconds T2{4000};
    /// Registration time granted when the request asks for none, and the most granted.
    static const int MAX_EXPIRES = 3600;

    Uas(const Config& config, Counters& counters, Sender& sender, LibraryLog& libraryLog);
    ~Uas();
    Uas(const Uas&) = delete;
    Uas& operator=(const Uas&) = delete;

    /// Handles one received message (a UDP datagram, or one framed TCP message): parses it
    /// with the library and sends the answers through the sender.
    void receive(const char* data, std::size_t length, const Peer& peer);
    /// Handles a request the transport cannot accept (no Content-Length on a stream): a
    /// request that can be answered gets 400; nothing else is sent.
    void refuse(const char* data, std::size_t length, const Peer& peer);

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
        std::string ackKey;             // the dialog an ACK names: Call-ID, CSeq number, From tag
        bool acked = false;             // a 2xx was confirmed by its ACK
        Clock::time_point answeredAt;   // when the 2xx was first sent
        std::chrono::milliseconds interval{0};  // the current interval between 2xx resends
    };
    struct Nonce {
        Clock::time_point expires;
        unsigned long lastCount = 0;  // highest nonce count accepted so far
    };
    // The result of reading one message.
    struct Parsed;

    Parsed parse(const char* data, std::size_t length) const;
    // Reads the message, or drops it (false) when its header section is too long to read.
    bool admit(const char* data, std::size_t length, Parsed& parsed);
    void answerInvalid(const KtHandle<KtSipRequest>& request, int status, const Peer& peer);
    void answerRequest(const KtHandle<KtSipRequest>& request, const Peer& peer, std::string_view raw);
    void answerInvite(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerCancel(const KtHandle<KtSipRequest>& request, const Peer& peer);
    void answerRegister(const KtHandle<KtSipRequest>& request, const Peer& peer, std::string_view raw);
    // The Digest checks of a REGISTER: 0 when the credentials are accepted, else the code
    // of the answer (401 with `stale` set as the challenge is to say, 400 or 403).
    int checkCredentials(const KtHandle<KtSipRequest>& request, std::string_view raw, bool& stale);
    void noteAck(const KtHandle<KtSipRequest>& request);
    static std::string ackKey(const KtSipRequest& request);
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
    void resend(const std::string& key, Clock::time_point now);
    void expireLocked(Clock::time_point now);
    // Forgets the INVITE under `key` and its wait for an ACK. Called with m_Mutex held.
    void eraseInviteLocked(const std::string& key);

    const Config& m_Config;
    Counters& m_Counters;
    Sender& m_Sender;
    LibraryLog& m_LibraryLog;
    std::string m_TagPrefix;

    std::mutex m_TagMutex;  // KtSipTag's generator is shared without a lock of its own
    KtSipTag m_Tag;

    std::mutex m_Mutex;  // guards everything below
    std::condition_variable m_Wake;
    bool m_Stopping = false;
    std::unordered_map<std::string, Invite> m_Invites;
    std::multimap<Clock::time_point, std::string> m_Rings;          // pending 200s by due time
    std::deque<std::pair<Clock::time_point, std::string>> m_Lingering;  // answered INVITEs by expiry
    std::multimap<Clock::time_point, std::string> m_Resends;        // 2xx resends by due time
    std::unordered_map<std::string, std::string> m_AwaitingAck;     // ACK key to INVITE key
    std::unordered_map<std::string, Nonce> m_Nonces;
    std::deque<std::pair<Clock::time_point, std::string>> m_NonceOrder;
    std::mt19937_64 m_Random;
    std::thread m_Timer;
};

}  // namespace serve

#endif
