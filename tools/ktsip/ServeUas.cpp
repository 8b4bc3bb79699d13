// The user agent server behind `ktsip serve`.
#include "ServeUas.h"

#include <strings.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "KtSipAuthorizationHeader.h"
#include "KtSipCSeqHeader.h"
#include "KtSipCallIdHeader.h"
#include "KtSipContactHeader.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipExpiresHeader.h"
#include "KtSipFromHeader.h"
#include "KtSipParseError.h"
#include "KtSipToHeader.h"
#include "KtSipURL.h"
#include "KtSipUnknownRequest.h"
#include "KtSipWWWAuthenticateHeader.h"
#include "KtStreamTokenizer.h"
#include "ServeLibraryLog.h"

namespace serve {

constexpr std::chrono::seconds Uas::INVITE_LINGER;
constexpr std::chrono::milliseconds Uas::T1;
constexpr std::chrono::milliseconds Uas::T2;

namespace {

const char kAllow[] = "Allow: INVITE, ACK, BYE, CANCEL, OPTIONS, REGISTER, INFO, MESSAGE, NOTIFY, PRACK, REFER, SUBSCRIBE";
const char kAccept[] = "Accept: application/sdp";
// No option tag is supported: the server sends no reliable provisional responses, keeps no
// session timers and honours no Replaces.
const char kSupported[] = "Supported:";

std::string serialized(const KtSipMessage& message) {
    KtByteArrayOutputStream out(1024);
    message.serialize(out);
    return std::string(out.data(), out.size());
}

bool hasEssentials(const KtSipRequest& request) {
    for (HeaderID id : {HeaderVia, HeaderFrom, HeaderTo, HeaderCallId, HeaderCSeq})
        if (request.mGetHeaderByID(id).isNil()) return false;
    return true;
}

// The text of the line starting at `at` in `text`, without its line end.
std::string lineAt(const std::string& text, std::size_t at) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    if (end > at && text[end - 1] == '\r') --end;
    return text.substr(at, end - at);
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// The lines of `message` up to the empty line that ends its header section (all of them
// when it has none), start line included.
std::size_t headerLines(std::string_view message) {
    std::size_t lines = 0;
    for (std::size_t at = 0; at < message.size(); ++lines) {
        const std::size_t lf = message.find('\n', at);
        if (lf == std::string_view::npos) return lines + 1;
        if (lf == at || (lf == at + 1 && message[at] == '\r')) return lines;
        at = lf + 1;
    }
    return lines;
}

// The next line of the header section at `at` with its folded continuation lines; false at
// the empty line or the end.
bool nextHeaderLine(std::string_view message, std::size_t& at, std::string& line) {
    line.clear();
    while (at < message.size()) {
        std::size_t lf = message.find('\n', at);
        if (lf == std::string_view::npos) lf = message.size();
        std::string_view text = message.substr(at, lf - at);
        if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
        if (!line.empty() && (text.empty() || !isBlank(text[0]))) return true;  // the next line starts
        at = lf + 1;
        if (text.empty()) return false;
        line.append(text.data(), text.size());
    }
    return !line.empty();
}

// True when one Authorization header of `message` names a Digest parameter twice. The
// library keeps the last of two, so the check reads the received text: pairs separated by
// commas outside double quotes, names before "=", case ignored.
bool repeatsDigestParameter(std::string_view message) {
    std::size_t at = message.find('\n');
    if (at == std::string_view::npos) return false;
    ++at;
    std::string line;
    while (nextHeaderLine(message, at, line)) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        std::size_t nameEnd = colon;
        while (nameEnd > 0 && isBlank(line[nameEnd - 1])) --nameEnd;
        if (strcasecmp(line.substr(0, nameEnd).c_str(), "Authorization") != 0) continue;
        std::size_t p = line.find_first_not_of(" \t", colon + 1);
        if (p == std::string::npos) continue;
        p = line.find_first_of(" \t", p);  // past the scheme
        std::set<std::string> names;
        while (p != std::string::npos && p < line.size()) {
            const std::size_t equals = line.find('=', p);
            if (equals == std::string::npos) break;
            std::string name;
            for (std::size_t i = p; i < equals; ++i)
                if (!isBlank(line[i]) && line[i] != ',')
                    name += static_cast<char>(std::tolower(static_cast<unsigned char>(line[i])));
            if (!name.empty() && !names.insert(name).second) return true;
            bool quoted = false;
            for (p = equals + 1; p < line.size() && (quoted || line[p] != ','); ++p)
                if (line[p] == '"') quoted = !quoted;
        }
    }
    return false;
}

// The Request-URI as the start line of `message` spells it.
std::string_view requestUri(std::string_view message) {
    const std::string_view start = message.substr(0, message.find('\n'));
    const std::size_t first = start.find(' ');
    if (first == std::string_view::npos) return {};
    const std::size_t second = start.find(' ', first + 1);
    if (second == std::string_view::npos) return {};
    return start.substr(first + 1, second - first - 1);
}

}  // namespace

// The result of reading one message.
struct Uas::Parsed {
    enum Kind { KeepAlive, Unreadable, Response, Request, Invalid };
    Kind kind = Unreadable;
    KtHandle<KtSipRequest> request;  // Request and Invalid
    int status = 0;                  // Invalid: the request's status
    int code = 0;                    // Response: its status code
};

Uas::Uas(const Config& config, Counters& counters, Sender& sender, LibraryLog& libraryLog)
    : m_Config(config),
      m_Counters(counters),
      m_Sender(sender),
      m_LibraryLog(libraryLog),
      m_Random(std::random_device{}()) {
    char prefix[32];
    std::snprintf(prefix, sizeof(prefix), "ks%x", static_cast<unsigned>(getpid()));
    m_TagPrefix = prefix;
    m_Timer = std::thread(&Uas::runTimers, this);
}

Uas::~Uas() {
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        m_Stopping = true;
    }
    m_Wake.notify_all();
    m_Timer.join();
}

// ---- reading -----------------------------------------------------------------------------

Uas::Parsed Uas::parse(const char* data, std::size_t length) const {
    Parsed parsed;
    const unsigned size = static_cast<unsigned>(length);
    KtHandle<KtSipMessage> message;
    try {
        KtByteArrayInputStream in(data, size);
        message = KtSipMessage::sConstructFrom(in);
    } catch (const KtSipParseKeepAliveException&) {
        parsed.kind = Parsed::KeepAlive;
        return parsed;
    } catch (const KtException&) {
        // sConstructFrom does not return what it read when the start line, the body or the
        // validity rules fail. Read the request again into an object of our own, which
        // keeps its status and whatever headers could be read, so that it can be answered.
        // The library has reported the failure once already.
        MuteLibraryLines mute;
        KtByteArrayInputStream in(data, size);
        char token[32] = {0};
        if (KtStreamTokenizer::sGetToken(in, " /\t\r\n", token, sizeof(token)) <= 0 ||
            std::strcmp(token, "SIP") == 0)
            return parsed;  // nothing, or a broken response: never answered
        KtHandle<KtSipRequest> request(new KtSipUnknownRequest());
        try {
            request->parse(token, in);
        } catch (const KtException&) {
        }
        if (request->getHeaderOrder().empty()) {
            // The start line failed before the headers were read: read them from the next line.
            const void* lf = std::memchr(data, '\n', length);
            if (lf != nullptr) {
                const char* rest = static_cast<const char*>(lf) + 1;
                KtByteArrayInputStream headers(rest, static_cast<unsigned>(data + length - rest));
                try {
                    request->parseHeaders(headers);
                } catch (const KtException&) {
                }
            }
        }
        parsed.kind = Parsed::Invalid;
        parsed.request = request;
        parsed.status = request->getStatus();
        return parsed;
    }
    if (!message->isRequest()) {
        parsed.kind = Parsed::Response;
        parsed.code = static_cast<const KtSipResponse&>(*message).getStatusCode();
        return parsed;
    }
    parsed.request = message.dynamicCast<KtSipRequest>();
    parsed.kind = parsed.request->isValid() ? Parsed::Request : Parsed::Invalid;
    parsed.status = parsed.request->getStatus();
    return parsed;
}

bool Uas::admit(const char* data, std::size_t length, Parsed& parsed) {
    if (headerLines(std::string_view(data, length)) > MAX_HEADER_LINES) {
        m_Counters.dropped("too-many-header-lines");
        return false;
    }
    parsed = parse(data, length);
    return true;
}

void Uas::refuse(const char* data, std::size_t length, const Peer& peer) {
    LibraryLog::Message scope;
    try {
        Parsed parsed;
        if (!admit(data, length, parsed)) return;
        if (parsed.kind == Parsed::Request || parsed.kind == Parsed::Invalid)
            answerInvalid(parsed.request, 400, peer);
        else
            m_Counters.dropped("unanswerable");
    } catch (const KtException& e) {
        log("no answer to a message from " + peer.describe() + ": " + e.getMessage());
        m_Counters.dropped("answer-failed");
    }
}

void Uas::receive(const char* data, std::size_t length, const Peer& peer) {
    LibraryLog::Message scope;
    try {
        Parsed parsed;
        if (!admit(data, length, parsed)) return;
        switch (parsed.kind) {
            case Parsed::KeepAlive:
                m_Counters.keepAlive();
                return;
            case Parsed::Unreadable:
                m_Counters.dropped("unreadable");
                return;
            case Parsed::Response:
                m_Counters.receivedResponse(parsed.code);
                return;
            case Parsed::Invalid:
                answerInvalid(parsed.request, parsed.status, peer);
                return;
            case Parsed::Request:
                m_Counters.request(parsed.request->getMethod().c_str());
                answerRequest(parsed.request, peer, std::string_view(data, length));
                return;
        }
    } catch (const KtException& e) {
        // Building an answer failed (a response the library refuses to make): nothing is
        // sent for this message, and the server goes on.
        log("no answer to a message from " + peer.describe() + ": " + e.getMessage());
        m_Counters.dropped("answer-failed");
    }
}

// ---- answers -----------------------------------------------------------------------------

void Uas::answerInvalid(const KtHandle<KtSipRequest>& request, int status, const Peer& peer) {
    // Counted as a request only when it is recognisably one: the rest is dropped input.
    if (!hasEssentials(*request)) {
        // Without Via, From, To, Call-ID and CSeq a response cannot be built that the peer
        // could match to its request.
        m_Counters.dropped("unanswerable");
        return;
    }
    m_Counters.request(request->getMethod().c_str());
    if (request->getMethod() == KtString("ACK")) {
        m_Counters.dropped("invalid-ack");  // an ACK is never answered
        return;
    }
    const int code = status == 414 || status == 416 || status == 505 ? status : 400;
    send(response(code, request, ""), peer);
}

void Uas::answerRequest(const KtHandle<KtSipRequest>& request, const Peer& peer, std::string_view raw) {
    const std::string method = request->getMethod().c_str();
    if (method == "ACK") return noteAck(request);
    if (method != "CANCEL" && !request->mGetHeaderByID(HeaderRequire).isNil()) {
        // No extension is supported: every option a request requires is refused (420).
        std::string unsupported = "Unsupported: ";
        bool first = true;
        for (const KtSipHeader* h = request->mGetHeaderByID(HeaderRequire).get(); h; h = h->getNext().get()) {
            unsupported += (first ? "" : ", ") + std::string(h->getValueString().c_str());
            first = false;
        }
        KtHandle<KtSipResponse> r = response(420, request, "");
        addHeaderLine(*r, unsupported);
        send(r, peer);
        return;
    }
    if (method == "INVITE") return answerInvite(request, peer);
    if (method == "CANCEL") return answerCancel(request, peer);
    if (method == "REGISTER") return answerRegister(request, peer, raw);
    if (method == "OPTIONS") return answerOptions(request, peer);
    if (method == "SUBSCRIBE") {
        // The server never sends a NOTIFY, so the subscription it accepts ends at once.
        KtHandle<KtSipResponse> r = response(200, request, "");
        r->addHeader(new KtSipExpiresHeader(0));
        send(r, peer);
        return;
    }
    for (const char* m : {"BYE", "INFO", "MESSAGE", "NOTIFY", "PRACK", "REFER"}) {
        if (method == m) {
            send(response(200, request, ""), peer);
            return;
        }
    }
    send(response(501, request, ""), peer);
}

void Uas::answerOptions(const KtHandle<KtSipRequest>& request, const Peer& peer) {
    KtHandle<KtSipResponse> r = response(200, request, "");
    addHeaderLine(*r, kAllow);
    addHeaderLine(*r, kAccept);
    addHeaderLine(*r, kSupported);
    addHeaderLine(*r, contactLine(request, peer));
    send(r, peer);
}

void Uas::answerInvite(const KtHandle<KtSipRequest>& request, const Peer& peer) {
    const std::string key = request->createKey().c_str();
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        auto it = m_Invites.find(key);
        if (it != m_Invites.end()) {
            // A retransmission: the latest answer again.
            Invite& invite = it->second;
            if (invite.answered)
                sendBytes(invite.final, invite.finalCode, peer);
            else
                sendBytes(invite.ringing, 180, peer);
            return;
        }
    }
    send(response(100, request, std::string(), std::string(), nullptr, false), peer);
    const std::string tag = newTag();
    KtHandle<KtSipResponse> ringing = response(180, request, tag);
    addHeaderLine(*ringing, contactLine(request, peer));
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        const Clock::time_point now = Clock::now();
        expireLocked(now);
        while (m_Invites.size() >= MAX_INVITES && !m_Lingering.empty()) {
            eraseInviteLocked(m_Lingering.front().second);
            m_Lingering.pop_front();
        }
        // The pending 200s are bounded too: under a flood of INVITEs the lingering ones are
        // evicted, but each new one would still wait for its ring time.
        if (m_Invites.size() < MAX_INVITES && m_Rings.size() < MAX_INVITES && m_Invites.count(key) == 0) {
            Invite& invite = m_Invites[key];
            invite.request = request;
            invite.ackKey = ackKey(*request);
            invite.peer = peer;
            invite.tag = tag;
            invite.ringing = serialized(*ringing);
            invite.due = now + std::chrono::milliseconds(m_Config.ringMs);
            m_Rings.emplace(invite.due, key);
            // Sent under the lock, so that the timer's 200 cannot overtake it.
            sendBytes(invite.ringing, 180, peer);
            m_Wake.notify_one();
            return;
        }
        if (m_Invites.count(key) != 0) return;  // the same INVITE, handled by another thread
    }
    // Every slot holds an INVITE that is still ringing.
    KtHandle<KtSipResponse> busy = response(503, request, tag);
    addHeaderLine(*busy, "Retry-After: 5");
    send(busy, peer);
}

void Uas::answerCancel(const KtHandle<KtSipRequest>& request, const Peer& peer) {
    // A CANCEL carries the key of the INVITE it cancels: the key leaves the method out.
    const std::string key = request->createKey().c_str();
    std::lock_guard<std::mutex> lock(m_Mutex);
    auto it = m_Invites.find(key);
    if (it == m_Invites.end()) {
        // Without a matching INVITE there is nothing to end; the CANCEL itself is accepted.
        send(response(200, request, ""), peer);
        return;
    }
    Invite& invite = it->second;
    send(response(200, request, invite.tag), peer);
    if (invite.answered) return;
    finishInvite(key, invite, *response(487, invite.request, invite.tag), 487);
}

void Uas::answerRegister(const KtHandle<KtSipRequest>& request, const Peer& peer, std::string_view raw) {
    if (!m_Config.users.empty()) {
        bool stale = false;
        const int refusal = checkCredentials(request, raw, stale);
        if (refusal == 400 || refusal == 403) {
            send(response(refusal, request, ""), peer);
            return;
        }
        if (refusal != 0) {
            KtHandle<KtSipDigestChallengeInfo> challenge(new KtSipDigestChallengeInfo(m_Config.realm.c_str()));
            challenge->setValue("nonce", newNonce().c_str());
            challenge->setValue("algorithm", "MD5");
            challenge->setValue("qop", "auth");
            if (stale) challenge->setValue("stale", "true");
            KtHandle<KtSipResponse> r = response(401, request, "");
            r->addHeader(new KtSipWWWAuthenticateHeader(challenge));
            send(r, peer);
            return;
        }
    }
    // The registration is accepted but not stored: the server keeps no bindings. The reply
    // names the Contacts of the request and the time granted.
    KtHandle<KtSipResponse> r = response(200, request, "");
    int expires = MAX_EXPIRES;
    KtHandle<KtSipExpiresHeader> asked = request->mGetHeaderByID(HeaderExpires).dynamicCast<KtSipExpiresHeader>();
    bool wildcard = false;
    for (const KtSipHeader* h = request->mGetHeaderByID(HeaderContact).get(); h; h = h->getNext().get()) {
        const auto* contact = dynamic_cast<const KtSipContactHeader*>(h);
        if (contact == nullptr) continue;
        if (contact->isWildcard()) {
            wildcard = true;
            continue;
        }
        if (asked.isNil() && h == request->mGetHeaderByID(HeaderContact).get() && !contact->getExpires().empty())
            expires = std::atoi(contact->getExpires().c_str());
        r->addHeader(contact->clone());
    }
    if (!asked.isNil() && !asked->isDate()) expires = asked->getDelta();
    if (wildcard) expires = 0;
    if (expires < 0 || expires > MAX_EXPIRES) expires = MAX_EXPIRES;
    r->addHeader(new KtSipExpiresHeader(expires));
    send(r, peer);
}

int Uas::checkCredentials(const KtHandle<KtSipRequest>& request, std::string_view raw, bool& stale) {
    KtHandle<KtSipAuthorizationHeader> authorization =
        request->mGetHeaderByID(HeaderAuthorization).dynamicCast<KtSipAuthorizationHeader>();
    KtHandle<KtSipDigestCredentialsInfo> credentials;
    if (!authorization.isNil()) credentials = authorization->getCredentials().dynamicCast<KtSipDigestCredentialsInfo>();
    if (credentials.isNil()) return 401;
    // Only the answer the challenge asked for: MD5 with qop "auth", for this very request.
    const std::string nc = credentials->getValue("nc").c_str();
    const std::string algorithm = credentials->getValue("algorithm").c_str();
    if (repeatsDigestParameter(raw) || !(credentials->getValue("qop") == KtString("auth")) || nc.size() != 8 ||
        nc.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos ||
        credentials->getValue("cnonce").empty() ||
        (credentials->hasValue("algorithm") && strcasecmp(algorithm.c_str(), "MD5") != 0) ||
        std::string_view(credentials->getValue("uri").c_str()) != requestUri(raw))
        return 400;
    auto user = m_Config.users.find(credentials->getUsername().c_str());
    bool valid = false;
    if (user != m_Config.users.end() && credentials->getRealm() == KtString(m_Config.realm.c_str())) {
        credentials->setMethod(request->getMethod().c_str());
        try {
            valid = credentials->validate(user->first.c_str(), user->second.c_str(), m_Config.realm.c_str());
        } catch (const KtException& e) {
            log("credentials of " + user->first + " not checked: " + e.getMessage());
        }
    }
    const std::string nonce = credentials->getValue("nonce").c_str();
    const unsigned long count = std::strtoul(nc.c_str(), nullptr, 16);
    // The count is checked and taken under one lock: of two requests with the same count,
    // only one passes.
    std::lock_guard<std::mutex> lock(m_Mutex);
    expireLocked(Clock::now());
    auto it = m_Nonces.find(nonce);
    if (!valid) return it == m_Nonces.end() ? 401 : 403;
    if (it == m_Nonces.end() || count <= it->second.lastCount) {
        // Unknown or expired, or a count that does not grow (a replay): the client knows the
        // password, so the new challenge says the nonce is stale.
        stale = true;
        return 401;
    }
    it->second.lastCount = count;
    return 0;
}

// ---- building and sending ----------------------------------------------------------------

KtHandle<KtSipResponse> Uas::response(int code, const KtHandle<KtSipRequest>& request, const std::string& tag,
                                      const std::string& body, const char* contentType, bool tagged) {
    KtHandle<KtSipResponse> r(new KtSipResponse(code, request, body.empty() ? nullptr : body.data(), contentType,
                                                static_cast<unsigned>(body.size())));
    if (tagged) {
        // A request that already carries a To tag (inside a dialog) keeps it.
        KtHandle<KtSipToHeader> to = r->mGetHeaderByID(HeaderTo).dynamicCast<KtSipToHeader>();
        if (!to.isNil() && to->getTag().empty()) to->setTag(tag.empty() ? newTag().c_str() : tag.c_str());
    }
    return r;
}

void Uas::send(const KtHandle<KtSipResponse>& response, const Peer& peer) {
    sendBytes(serialized(*response), response->getStatusCode(), peer);
}

void Uas::sendBytes(const std::string& bytes, int code, const Peer& peer) {
    m_Sender.send(peer, bytes);
    m_Counters.response(code);
}

void Uas::addHeaderLine(KtSipMessage& message, const std::string& line) {
    const std::string text = line + "\r\n";
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    message.addHeader(KtSipHeader::sConstructFrom(in));
}

std::string Uas::localHost(const KtHandle<KtSipRequest>& request, const Peer& peer) {
    if (!peer.localHost.empty()) return peer.localHost;
    // Bound to a wildcard address: the address the peer wrote in the request URI reached
    // this server.
    const auto* url = dynamic_cast<const KtSipURL*>(request->getURI().get());
    std::string host = url != nullptr && !url->getHost().empty() ? url->getHost().c_str() : "127.0.0.1";
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    return host;
}

std::string Uas::contactLine(const KtHandle<KtSipRequest>& request, const Peer& peer) const {
    std::string host = localHost(request, peer);
    if (host.find(':') != std::string::npos) host = "[" + host + "]";
    std::string line = "Contact: <sip:ktsip@" + host + ":" + std::to_string(peer.localPort);
    if (peer.kind == Peer::Tcp) line += ";transport=tcp";
    return line + ">";
}

std::string Uas::sdpAnswer(const KtHandle<KtSipRequest>& request, const Peer& peer) const {
    // Answers the first audio format of the offer (PCMU without an offer). The stream is
    // marked inactive on the discard port: the server carries no media.
    std::string offer;
    if (request->getBody() != nullptr) offer.assign(request->getBody(), request->getBodySize());
    std::string format = "0";
    std::string rtpmap;
    std::size_t m = offer.compare(0, 8, "m=audio ") == 0 ? 0 : offer.find("\nm=audio ");
    if (m != std::string::npos) {
        const std::string line = lineAt(offer, m == 0 ? 0 : m + 1);
        // m=audio PORT PROTO FMT ...
        std::size_t at = 0;
        for (int field = 0; field < 3 && at != std::string::npos; ++field) at = line.find(' ', at + 1);
        if (at != std::string::npos) {
            std::size_t end = line.find(' ', at + 1);
            std::string first = line.substr(at + 1, end == std::string::npos ? std::string::npos : end - at - 1);
            if (!first.empty() && first.find_first_not_of("0123456789") == std::string::npos) format = first;
        }
        const std::size_t map = offer.find("a=rtpmap:" + format + " ");
        if (map != std::string::npos) rtpmap = lineAt(offer, map);
    }
    const std::string host = localHost(request, peer);
    const char* family = host.find(':') != std::string::npos ? "IP6" : "IP4";
    std::string sdp = "v=0\r\n";
    sdp += "o=ktsip 1 1 IN " + std::string(family) + " " + host + "\r\n";
    sdp += "s=ktsip\r\n";
    sdp += "c=IN " + std::string(family) + " " + host + "\r\n";
    sdp += "t=0 0\r\n";
    sdp += "m=audio 9 RTP/AVP " + format + "\r\n";
    if (!rtpmap.empty()) sdp += rtpmap + "\r\n";
    sdp += "a=inactive\r\n";
    return sdp;
}

std::string Uas::newTag() {
    std::lock_guard<std::mutex> lock(m_TagMutex);
    m_Tag.reGenerate(m_TagPrefix.c_str());
    return m_Tag.c_str();
}

std::string Uas::newNonce() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const Clock::time_point now = Clock::now();
    expireLocked(now);
    while (m_Nonces.size() >= MAX_NONCES && !m_NonceOrder.empty()) {
        m_Nonces.erase(m_NonceOrder.front().second);
        m_NonceOrder.pop_front();
    }
    char text[33];
    std::snprintf(text, sizeof(text), "%016llx%016llx", static_cast<unsigned long long>(m_Random()),
                  static_cast<unsigned long long>(m_Random()));
    const Clock::time_point expires = now + std::chrono::seconds(m_Config.nonceLifetime);
    m_Nonces[text].expires = expires;
    m_NonceOrder.emplace_back(expires, text);
    return text;
}

// ---- timers ------------------------------------------------------------------------------

void Uas::runTimers() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    while (!m_Stopping) {
        const Clock::time_point now = Clock::now();
        while (!m_Rings.empty() && m_Rings.begin()->first <= now) {
            const std::string key = m_Rings.begin()->second;
            m_Rings.erase(m_Rings.begin());
            try {
                ringOut(key);
            } catch (const KtException& e) {
                log(std::string("no 200 for a ringing INVITE: ") + e.getMessage());
                m_Counters.dropped("answer-failed");
            }
        }
        while (!m_Resends.empty() && m_Resends.begin()->first <= now) {
            const std::string key = m_Resends.begin()->second;
            m_Resends.erase(m_Resends.begin());
            resend(key, now);
        }
        expireLocked(now);
        m_LibraryLog.flushIfDue();
        Clock::time_point next = now + std::chrono::seconds(1);
        if (!m_Rings.empty() && m_Rings.begin()->first < next) next = m_Rings.begin()->first;
        if (!m_Resends.empty() && m_Resends.begin()->first < next) next = m_Resends.begin()->first;
        m_Wake.wait_until(lock, next);
    }
}

void Uas::ringOut(const std::string& key) {
    auto it = m_Invites.find(key);
    // Gone, cancelled meanwhile, or a later INVITE under the same key that rings on.
    if (it == m_Invites.end() || it->second.answered || Clock::now() < it->second.due) return;
    Invite& invite = it->second;
    KtHandle<KtSipResponse> ok = response(200, invite.request, invite.tag, sdpAnswer(invite.request, invite.peer),
                                          "application/sdp");
    addHeaderLine(*ok, contactLine(invite.request, invite.peer));
    finishInvite(key, invite, *ok, 200);
}

void Uas::finishInvite(const std::string& key, Invite& invite, const KtSipResponse& final, int code) {
    // The final response is kept, to be sent again for a retransmitted INVITE, until the
    // entry expires.
    invite.final = serialized(final);
    invite.finalCode = code;
    invite.answered = true;
    invite.request.clear();
    const Clock::time_point now = Clock::now();
    invite.due = now + INVITE_LINGER;
    m_Lingering.emplace_back(invite.due, key);
    sendBytes(invite.final, code, invite.peer);
    if (code / 100 == 2) {
        // Sent again until the ACK arrives (RFC 3261 13.3.1.4).
        invite.answeredAt = now;
        invite.interval = T1;
        m_Resends.emplace(now + T1, key);
        auto waiting = m_AwaitingAck.emplace(invite.ackKey, key);
        if (!waiting.second) waiting.first->second = key;  // the newest INVITE of the dialog
    }
}

void Uas::resend(const std::string& key, Clock::time_point now) {
    auto it = m_Invites.find(key);
    if (it == m_Invites.end() || it->second.acked || it->second.finalCode / 100 != 2) return;
    Invite& invite = it->second;
    if (now - invite.answeredAt >= 64 * T1) return;  // no ACK came: give up
    sendBytes(invite.final, invite.finalCode, invite.peer);
    invite.interval = std::min(2 * invite.interval, std::chrono::duration_cast<std::chrono::milliseconds>(T2));
    m_Resends.emplace(now + invite.interval, key);
}

std::string Uas::ackKey(const KtSipRequest& request) {
    std::string key;
    if (const auto* callId = dynamic_cast<const KtSipCallIdHeader*>(request.mGetHeaderByID(HeaderCallId).get()))
        key = callId->getValue().c_str();
    if (const auto* cseq = dynamic_cast<const KtSipCSeqHeader*>(request.mGetHeaderByID(HeaderCSeq).get()))
        key += "\n" + std::to_string(cseq->getNumber());
    if (const auto* from = dynamic_cast<const KtSipFromHeader*>(request.mGetHeaderByID(HeaderFrom).get()))
        key += "\n" + std::string(from->getTag().c_str());
    return key;
}

void Uas::noteAck(const KtHandle<KtSipRequest>& request) {
    std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_AwaitingAck.empty()) return;
    auto waiting = m_AwaitingAck.find(ackKey(*request));
    if (waiting == m_AwaitingAck.end()) return;
    auto it = m_Invites.find(waiting->second);
    if (it != m_Invites.end()) it->second.acked = true;
    m_AwaitingAck.erase(waiting);
}

void Uas::expireLocked(Clock::time_point now) {
    while (!m_Lingering.empty() && m_Lingering.front().first <= now) {
        eraseInviteLocked(m_Lingering.front().second);
        m_Lingering.pop_front();
    }
    while (!m_NonceOrder.empty() && m_NonceOrder.front().first <= now) {
        m_Nonces.erase(m_NonceOrder.front().second);
        m_NonceOrder.pop_front();
    }
}

void Uas::eraseInviteLocked(const std::string& key) {
    auto it = m_Invites.find(key);
    if (it == m_Invites.end()) return;
    auto waiting = m_AwaitingAck.find(it->second.ackKey);
    if (waiting != m_AwaitingAck.end() && waiting->second == key) m_AwaitingAck.erase(waiting);
    m_Invites.erase(it);
}

}  // namespace serve
