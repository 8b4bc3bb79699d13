// The SIP message: header storage, parsing, validity, transaction key and output.
#include "KtSipMessage.h"

#include <strings.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <ostream>
#include <sstream>

#include "KtErrorStream.h"
#include "KtProbeTable.h"
#include "KtSipAcceptHeader.h"
#include "KtSipCSeqHeader.h"
#include "KtSipCallIdHeader.h"
#include "KtSipContentLengthHeader.h"
#include "KtSipContentTypeHeader.h"
#include "KtSipFromHeader.h"
#include "KtSipNameAddress.h"
#include "KtSipRequest.h"
#include "KtSipRequireHeader.h"
#include "KtSipSupportedHeader.h"
#include "KtSipToHeader.h"
#include "KtSipURL.h"
#include "KtSipUnknownRequest.h"
#include "KtSipViaHeader.h"
#include "KtStreamTokenizer.h"
#include "KtTelURL.h"
#include "TorvaneAceCleanup.h"
#include "TorvaneAssert.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMessage")

namespace {

constexpr char kPoolTag[] = "KtSipMessage";

// The pool of message bodies and text buffers (the sized pool under the message tag),
// reached by its fixed index.
TORVANE_POOL(kPoolTag) bodyPool() { return {}; }

/// Size of the buffer the first token of a message is read into.
const unsigned FIRST_TOKEN_SIZE = 32;

/// The first token ends at a space, slash, tab, CR or LF.
const KtDelimiterSet& firstTokenDelimiters() {
    static const KtDelimiterSet sSet(" /\t\r\n");
    return sSet;
}

bool isSlot(int id) { return id >= 0 && id < HeaderSlotCount; }

/// The last header of the chain that starts at `header`.
KtSipHeader* lastOf(KtSipHeader* header) {
    while (!header->getNext().isNil()) header = header->getNext().get();
    return header;
}

/// True when `header` is one of the headers of the chain that starts at `chain`.
bool chainContains(const KtSipHeader* chain, const KtSipHeader* header) {
    for (; chain != nullptr; chain = chain->getNext().get())
        if (chain == header) return true;
    return false;
}

void appendText(KtStringBuffer* buffer, const KtString& text) {
    if (!text.isNil()) buffer->append(text.get());
}

void appendNumber(KtStringBuffer* buffer, const char* format, long long value) {
    char digits[24];
    const int length = std::snprintf(digits, sizeof digits, format, value);
    if (length > 0) buffer->append(digits, static_cast<unsigned>(length));
}

/// Appends the address part of a key: user, host and port of a sip: URL (5060 when no port
/// was given), the number of a tel: URL, else the URI's text.
void appendAddress(KtStringBuffer* key, const KtHandle<KtSipNameAddress>& address) {
    // A header without an address contributes nothing rather than failing the key.
    if (address.isNil() || address->getURI().isNil()) return;
    const KtURI* uri = address->getURI().get();
    if (const KtSipURL* url = ktCast<const KtSipURL>(uri)) {
        appendText(key, url->getUser());
        appendText(key, url->getHost());
        appendNumber(key, "%lld", url->isPortGiven() ? url->getPort() : KtSipURL::DEFAULT_PORT);
    } else if (const KtTelURL* tel = ktCast<const KtTelURL>(uri)) {
        appendText(key, tel->getNumber());
    } else {
        appendText(key, uri->getString());
    }
}

}  // namespace

// ---- method registry ---------------------------------------------------------------------

namespace {
/// Byte order of first tokens; transparent so that a lookup by `const char*` copies nothing.
struct TokenLess {
    using is_transparent = void;
    bool operator()(const KtString& a, const KtString& b) const { return std::strcmp(a.c_str(), b.c_str()) < 0; }
    bool operator()(const char* a, const KtString& b) const { return std::strcmp(a, b.c_str()) < 0; }
    bool operator()(const KtString& a, const char* b) const { return std::strcmp(a.c_str(), b) < 0; }
};
}  // namespace

// The registry: the ordered map (the reference structure) and, filled at the same time, a
// probe table through which parsing looks first tokens up (a few loads and one comparison
// instead of a walk with a strcmp per level). Names point into the map's keys, which never
// move. Registrations beyond the table's capacity stay in the map only, and lookups that the
// table cannot answer then go to the map (the header registry's rule too: no registration is
// ever dropped).
struct KtSipMessage::ConstructorMap : std::map<KtString, KtSipMessage::Creator, TokenLess> {
    KtProbeTable<Creator> table{64};
    bool complete = true;  // every registered name is in the table

    void index(const KtString& name, Creator create) {
        if (name.empty()) return;  // an empty token is looked up in the map
        if (!table.add(name.c_str(), name.length(), create)) complete = false;
    }
    // The creator registered for `token` (NUL-terminated), or null.
    Creator lookup(const char* token) const {
        const unsigned length = static_cast<unsigned>(std::strlen(token));
        if (length != 0) {
            const Creator create = table.find(token, length);
            if (create != nullptr || complete) return create;
        }
        const_iterator it = find(token);
        return it == end() ? nullptr : it->second;
    }
};

KtSipMessage::ConstructorMap* KtSipMessage::sm_pConstructorMap = nullptr;

void KtSipMessage::sAddConstructor(const char* method, Creator create) {
    if (method == nullptr || create == nullptr) return;
    if (sm_pConstructorMap == nullptr) {
        sm_pConstructorMap = new ConstructorMap();
        Torvane::AceCleanupLogger("KtSipMessage").registerDelete(sm_pConstructorMap);
    }
    if (sm_pConstructorMap->find(method) == sm_pConstructorMap->end()) {
        const auto placed = sm_pConstructorMap->emplace(KtString(method), create);
        sm_pConstructorMap->index(placed.first->first, create);
    }
}

bool KtSipMessage::sIsRegistered(const char* method) {
    return method != nullptr && sm_pConstructorMap != nullptr &&
           sm_pConstructorMap->find(method) != sm_pConstructorMap->end();
}

// ---- life cycle --------------------------------------------------------------------------

KtSipMessage::KtSipMessage() : m_Headers() {}

KtSipMessage::KtSipMessage(const KtSipMessage& other)
    : KtObject(), m_Headers() {
    try {
        KtMutexGuard guard(other.m_Mutex.get());
        m_MajorVersion = other.m_MajorVersion;
        m_MinorVersion = other.m_MinorVersion;
        m_ConnectionAddress = other.m_ConnectionAddress;
        m_ConnectionPort = other.m_ConnectionPort;
        m_LocalAddress = other.m_LocalAddress;
        m_LocalPort = other.m_LocalPort;
        m_ConnectionTransport = other.m_ConnectionTransport;
        // Clone every chain in id order, element by element; a loop keeps long chains
        // linear and free of recursion.
        for (int id = 0; id < HeaderSlotCount; ++id) {
            KtSipHeader* tail = nullptr;
            for (const KtSipHeader* h = other.m_Headers[id].get(); h != nullptr; h = h->getNext().get()) {
                KtHandle<KtSipHeader> copy(h->clone());
                copy->setNext(nullptr);
                if (tail == nullptr)
                    m_Headers[id] = copy;
                else
                    tail->setNext(copy);
                tail = copy.get();
            }
        }
        m_HeaderOrder.assign(other.m_HeaderOrder);
        // The body: as many bytes as the Content-Length says, but never more than the source
        // holds (its Content-Length can exceed its body after a refused setBody, and must not
        // make a copy allocate that much). The copy writes exactly what the source writes.
        const KtSipContentLengthHeader* length =
            ktCast<const KtSipContentLengthHeader>(m_Headers[HeaderContentLength].get());
        if (length != nullptr && other.m_pBody != nullptr) {
            const unsigned size = length->getValue() < other.m_BodySize ? length->getValue() : other.m_BodySize;
            replaceBody(other.m_pBody, size);
        }
    } catch (...) {
        freeBody();
        releaseSlots();
        throw;
    }
}

KtSipMessage::~KtSipMessage() {
    freeBody();
    releaseSlots();
}

void KtSipMessage::releaseSlots() noexcept {
    // Releasing a slot releases its chain; the header base unlinks a chain iteratively.
    static_assert(HeaderSlotCount % 4 == 0, "slots are looked at four at a time");
    for (unsigned i = HeaderSlotCount; i > 0; i -= 4) {
        KtHandle<KtSipHeader>* const group = m_Headers + i - 4;
        const std::uintptr_t any = reinterpret_cast<std::uintptr_t>(group[0].get()) |
                                   reinterpret_cast<std::uintptr_t>(group[1].get()) |
                                   reinterpret_cast<std::uintptr_t>(group[2].get()) |
                                   reinterpret_cast<std::uintptr_t>(group[3].get());
        if (any == 0) continue;  // the destructors of nil handles do nothing
        for (unsigned j = 4; j > 0; --j) group[j - 1].~KtHandle<KtSipHeader>();
    }
}

void KtSipMessage::freeBody() noexcept {
    if (m_pBody) bodyPool().deallocateSized(m_pBody, m_BodyCapacity);
    m_pBody = nullptr;
    m_BodySize = 0;
    m_BodyCapacity = 0;
}

void KtSipMessage::replaceBody(const void* body, unsigned length) {
    freeBody();
    if (length == 0) return;
    m_pBody = static_cast<unsigned char*>(bodyPool().allocateSized(length));
    m_BodyCapacity = length;
    m_BodySize = length;
    if (body)
        std::memcpy(m_pBody, body, length);
    else
        std::memset(m_pBody, 0, length);
}

bool KtSipMessage::isValid() const { return m_Status == STATUS_VALID; }

// ---- parsing -----------------------------------------------------------------------------

KtHandle<KtSipMessage> KtSipMessage::sConstructFrom(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::sConstructFrom");
    char token[FIRST_TOKEN_SIZE] = {0};
    const int length = KtStreamTokenizer::sGetToken(in, firstTokenDelimiters(), token, FIRST_TOKEN_SIZE);
    if (length < 0) KtSipParseError::sThrow("SIP Method Token Expected");
    if (length == 0) {
        TORVANE_DEBUG(fileLogger(), "KtSipMessage::sConstructFrom"
                                        << " : datagram starting with whitespace: treating "
                                        << "as keep-alive ");
        KtSipParseKeepAliveException::sThrow();
    }
    KtSipMessage* created = nullptr;
    if (sm_pConstructorMap != nullptr) {
        if (const Creator create = sm_pConstructorMap->lookup(token)) created = create();
    }
    if (created == nullptr) created = new KtSipUnknownRequest();
    KtHandle<KtSipMessage> message(created);
    message->parse(token, in);
    return message;
}

void KtSipMessage::parse(const char* /*firstToken*/, KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::parse");
    // A failing part is reported on the error stream and recorded in the status; a bad
    // start line or body is passed on, a bad header section only ends the reading.
    const auto readPart = [this](auto read, const char* report, int status, bool passOn) {
        try {
            read();
            return true;
        } catch (const KtException& e) {
            KtErrorStream::sGetDefault().writeLine(report, e.getMessage());
            setStatusIfValid(status);
            if (passOn) throw;
            return false;
        }
    };
    readPart([&] { parseStartLine(in); }, "Exception occurred while parsing start-line of message: ",
             STATUS_PARSE_FAILED, true);
    if (!readPart([&] { parseHeaders(in); }, "Exception occurred while parsing headers of message: ",
                  STATUS_PARSE_FAILED, false))
        return;
    readPart([&] { parseBody(in); }, "KtException Occurred while parsing body of message: ", STATUS_BAD_HEADER,
             true);
    // Counted by getBodyLength, never written: the slot is filled without an order entry.
    if (m_Headers[HeaderContentLength].isNil()) m_Headers[HeaderContentLength] = new KtSipContentLengthHeader(0);
    if (m_Status == STATUS_VALID) checkValidity();
}

void KtSipMessage::parseHeaders(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::parseHeaders");
    ParsedTails tails;
    for (;;) {
        in.mark(1);
        const int c = in.read();
        if (c < 0 || c == '\n') break;  // the empty line (CR LF or bare LF) or the end of input
        if (c == '\r') continue;
        in.reset();
        const char* before = in.current();
        KtHandle<KtSipHeader> header;
        try {
            header = KtSipHeader::sConstructFrom(in);
        } catch (const KtException& e) {
            KtErrorStream::sGetDefault().writeLine("Caught KtException from KtSipHeader::sConstructFrom(): ",
                                                   e.getMessage());
        }
        if (header.isNil())
            setStatusIfValid(STATUS_BAD_HEADER);
        else
            appendParsedHeader(std::move(header), tails);
        // Every header reader consumes its line; should one ever stop without consuming
        // anything, skip the line here so that the loop always advances.
        if (in.current() == before) KtStreamTokenizer::sDiscardLine(in);
    }
    if (m_Status != STATUS_VALID) return;
    // The Content-Type must be among the message's own Accept values (exact type and subtype).
    const KtSipContentTypeHeader* type = ktCast<const KtSipContentTypeHeader>(m_Headers[HeaderContentType].get());
    if (type == nullptr || m_Headers[HeaderAccept].isNil()) return;
    for (const KtSipHeader* h = m_Headers[HeaderAccept].get(); h != nullptr; h = h->getNext().get()) {
        const KtSipAcceptHeader* accept = ktCast<const KtSipAcceptHeader>(h);
        if (accept != nullptr && accept->getType().compareWith(type->getType().c_str()) == 0 &&
            accept->getSubtype().compareWith(type->getSubtype().c_str()) == 0)
            return;
    }
    m_Status = STATUS_PARSE_FAILED;
}

// Inlined into parseHeaders, which runs it for every header line.
KT_ALWAYS_INLINE void KtSipMessage::appendParsedHeader(KtHandle<KtSipHeader>&& header,
                                                                             ParsedTails& tails) {
    const int id = header->getHeaderID();
    if (!isSlot(id)) {
        TORVANE_ASSERT(isSlot(id));
        return;
    }
    KtSipHeader* const last = lastOf(header.get());
    KtHandle<KtSipHeader>& slot = m_Headers[id];
    const unsigned long long bit = 1ull << id;
    if (slot.isNil()) {
        placeFirst(static_cast<HeaderID>(id), std::move(header));
    } else {
        KtSipHeader* tail = (tails.known & bit) != 0 ? tails.last[id] : lastOf(slot.get());
        tail->setNext(std::move(header));
    }
    tails.last[id] = last;
    tails.known |= bit;
}

void KtSipMessage::parseBody(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::parseBody");
    const KtSipContentLengthHeader* contentLength =
        ktCast<const KtSipContentLengthHeader>(m_Headers[HeaderContentLength].get());
    if (contentLength != nullptr) {
        const unsigned wanted = contentLength->getValue();
        if (wanted == 0) return;
        freeBody();
        // The buffer grows as bytes arrive (up to the Content-Length), so a huge
        // Content-Length over a short input costs no more memory than the input.
        const int available = in.available();
        unsigned capacity = available > 4096 ? static_cast<unsigned>(available) : 4096u;
        if (capacity > wanted) capacity = wanted;
        m_pBody = static_cast<unsigned char*>(bodyPool().allocateSized(capacity));
        m_BodyCapacity = capacity;
        while (m_BodySize < wanted) {
            if (m_BodySize == m_BodyCapacity) {
                unsigned grown = m_BodyCapacity > wanted / 2 ? wanted : m_BodyCapacity * 2;
                unsigned char* bigger = static_cast<unsigned char*>(bodyPool().allocateSized(grown));
                std::memcpy(bigger, m_pBody, m_BodySize);
                bodyPool().deallocateSized(m_pBody, m_BodyCapacity);
                m_pBody = bigger;
                m_BodyCapacity = grown;
            }
            const int got = in.read(m_pBody, m_BodyCapacity - m_BodySize, m_BodySize);
            if (got < 0) KtSipParseError::sThrow("message body is shorter than Content-Length");
            m_BodySize += static_cast<unsigned>(got);
        }
        return;
    }
    // No Content-Length: the body is the rest of the input. peek() refills the window of a
    // stream; it fails only at the real end, so every round consumes at least one byte.
    freeBody();
    while (in.peek() >= 0) {
        const unsigned chunk = static_cast<unsigned>(in.end() - in.current());
        if (chunk > ~0u - m_BodySize) KtSipParseError::sThrow("message body too large");
        const unsigned needed = m_BodySize + chunk;
        if (needed > m_BodyCapacity) {
            unsigned grown = m_BodyCapacity == 0 ? needed : m_BodyCapacity;
            while (grown < needed) grown = grown > ~0u / 2 ? needed : grown * 2;
            unsigned char* bigger = static_cast<unsigned char*>(bodyPool().allocateSized(grown));
            if (m_pBody) {
                std::memcpy(bigger, m_pBody, m_BodySize);
                bodyPool().deallocateSized(m_pBody, m_BodyCapacity);
            }
            m_pBody = bigger;
            m_BodyCapacity = grown;
        }
        std::memcpy(m_pBody + m_BodySize, in.current(), chunk);
        m_BodySize = needed;
        in.advance(chunk);
    }
    asynchAddHeader(KtHandle<KtSipHeader>(new KtSipContentLengthHeader(m_BodySize)), false);
}

// ---- header operations -------------------------------------------------------------------

void KtSipMessage::addUnlocked(const KtHandle<KtSipHeader>& header, bool prepend, const char* who) {
    const int id = header->getHeaderID();
    if (!isSlot(id)) {
        TORVANE_ASSERT(isSlot(id));
        return;
    }
    KtHandle<KtSipHeader>& slot = m_Headers[id];
    if (slot.isNil()) {
        addHeaderByID(header);
        return;
    }
    // A header that already heads the chain is not added again. Beyond that, a header that
    // is already anywhere in this chain is refused the same way, since linking it once more
    // would close the chain into a loop. When appending, the added chain shares a header
    // with this one exactly when it reaches this chain's last header.
    KtSipHeader* last = prepend ? nullptr : lastOf(slot.get());
    if (slot.get() == header.get() ||
        (prepend ? chainContains(slot.get(), header.get()) : chainContains(header.get(), last))) {
        TORVANE_DEBUG(fileLogger(), who << " : adding a header twice : " << header->getToken().c_str());
        return;
    }
    if (prepend) {
        header->setNext(slot);
        slot = header;
    } else {
        last->setNext(header);
    }
}

void KtSipMessage::addHeader(KtHandle<KtSipHeader> header, bool prepend) {
    if (header.isNil()) return;
    KtMutexGuard guard(m_Mutex.get());
    addUnlocked(header, prepend, "KtSipMessage::addHeader");
}

void KtSipMessage::asynchAddHeader(const KtHandle<KtSipHeader>& header, bool prepend) {
    if (header.isNil()) return;
    addUnlocked(header, prepend, "KtSipMessage::asynchAddHeader");
}

void KtSipMessage::addSingleHeader(KtHandle<KtSipHeader> header, bool prepend) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::addSingleHeader");
    if (header.isNil()) return;
    KtHandle<KtSipHeader> copy(header->clone());
    copy->setNext(nullptr);
    // The chain is looked up by the header's name only: an unknown header whose name is not
    // that of the first unknown header replaces the whole unknown chain (kept on purpose).
    KtHandle<KtSipHeader> existing = mGetHeader(header->getToken().c_str());
    if (existing.isNil()) {
        addHeaderByID(copy);
        return;
    }
    KtMutexGuard guard(m_Mutex.get());
    if (existing.get() == header.get()) {
        TORVANE_DEBUG(fileLogger(), "KtSipMessage::addSingleHeader"
                                        << " : adding a header twice : " << header->getToken().c_str());
        return;
    }
    addUnlocked(copy, prepend, "KtSipMessage::addSingleHeader");
}

void KtSipMessage::addHeaderByID(const KtHandle<KtSipHeader>& header) {
    if (header.isNil()) return;
    const int id = header->getHeaderID();
    if (!isSlot(id)) {
        TORVANE_ASSERT(isSlot(id));
        return;
    }
    placeFirst(static_cast<HeaderID>(id), KtHandle<KtSipHeader>(header));
}

namespace {
// Kept out of line so that placeFirst, run for every parsed header, needs no stack frame for it.
__attribute__((noinline, cold)) void logOrderFull() {
    TORVANE_DEBUG(fileLogger(), "KtSipMessage::addHeaderByID : header order full, entry dropped");
}
}  // namespace

// Inlined into the parse loop (through appendParsedHeader) and addHeaderByID.
KT_ALWAYS_INLINE void KtSipMessage::placeFirst(HeaderID id, KtHandle<KtSipHeader>&& header) {
    m_Headers[id] = std::move(header);
    if (!m_HeaderOrder.append(id)) logOrderFull();
}

KtHandle<KtSipHeader> KtSipMessage::mGetHeaderByID(HeaderID id) const {
    if (!isSlot(id)) return KtHandle<KtSipHeader>();
    return m_Headers[id];
}

HeaderID KtSipMessage::mTokenToID(const char* name) const {
    if (name == nullptr) return HeaderUnknown;
    for (unsigned i = 0; i < m_HeaderOrder.size(); ++i) {
        const HeaderID id = m_HeaderOrder[i];
        const KtSipHeader* first = m_Headers[id].get();
        if (first == nullptr) continue;
        if (strcasecmp(first->getToken().c_str(), name) == 0) return id;
        if (id != HeaderUnknown && (strcasecmp(first->getExpandedToken().c_str(), name) == 0 ||
                                    strcasecmp(first->getCompactToken().c_str(), name) == 0))
            return id;
    }
    return HeaderUnknown;
}

KtHandle<KtSipHeader> KtSipMessage::mGetHeader(const char* name) const {
    if (name == nullptr) return KtHandle<KtSipHeader>();
    KtMutexGuard guard(m_Mutex.get());
    const HeaderID id = mTokenToID(name);
    if (id != HeaderUnknown) return m_Headers[id];
    for (const KtSipHeader* h = m_Headers[HeaderUnknown].get(); h != nullptr; h = h->getNext().get())
        if (std::strcmp(h->getToken().c_str(), name) == 0) return KtHandle<KtSipHeader>(h);
    return KtHandle<KtSipHeader>();
}

bool KtSipMessage::removeHeader(const char* name) {
    if (name == nullptr) return false;
    KtMutexGuard guard(m_Mutex.get());
    const HeaderID id = mTokenToID(name);
    KtHandle<KtSipHeader>& slot = m_Headers[id];
    if (slot.isNil()) return false;
    if (id != HeaderUnknown) {
        KtHandle<KtSipHeader> removed = slot;
        if (removed->getNext().isNil()) {
            slot.clear();
            m_HeaderOrder.removeAll(id);
        } else {
            slot = removed->getNext();
            removed->setNext(nullptr);  // the removed header no longer leads into the message
        }
        return true;
    }
    // Unknown headers: only a matching first element with a successor is unlinked; any
    // other match is reported as removed while it stays in place (kept on purpose).
    for (KtSipHeader* h = slot.get(); h != nullptr; h = h->getNext().get()) {
        if (strcasecmp(h->getToken().c_str(), name) != 0) continue;
        if (h == slot.get() && !h->getNext().isNil()) {
            KtHandle<KtSipHeader> removed = slot;
            slot = removed->getNext();
            removed->setNext(nullptr);
        }
        return true;
    }
    return false;
}

std::vector<HeaderID> KtSipMessage::getHeaderOrder() const {
    KtMutexGuard guard(m_Mutex.get());
    return m_HeaderOrder.toVector();
}

KtHandle<KtSipHeader> KtSipMessage::cloneHeaderChain(HeaderID id) const {
    if (id < 0 || id >= HeaderSlotCount) return KtHandle<KtSipHeader>();
    KtMutexGuard guard(m_Mutex.get());
    KtHandle<KtSipHeader> first;
    KtSipHeader* tail = nullptr;
    for (const KtSipHeader* h = m_Headers[id].get(); h != nullptr; h = h->getNext().get()) {
        KtHandle<KtSipHeader> copy(h->clone());
        copy->setNext(nullptr);
        if (tail == nullptr)
            first = copy;
        else
            tail->setNext(copy);
        tail = copy.get();
    }
    return first;
}

KtHandle<KtSipHeader> KtSipMessage::cloneFirstHeader(HeaderID id) const {
    if (id < 0 || id >= HeaderSlotCount) return KtHandle<KtSipHeader>();
    KtMutexGuard guard(m_Mutex.get());
    if (m_Headers[id].isNil()) return KtHandle<KtSipHeader>();
    KtHandle<KtSipHeader> copy(m_Headers[id]->clone());
    copy->setNext(nullptr);
    return copy;
}

unsigned KtSipMessage::getBodyLength() const {
    const KtSipContentLengthHeader* length =
        ktCast<const KtSipContentLengthHeader>(m_Headers[HeaderContentLength].get());
    return length != nullptr ? length->getValue() : 0;
}

KtString KtSipMessage::getBodyType() const {
    const KtSipContentTypeHeader* type = ktCast<const KtSipContentTypeHeader>(m_Headers[HeaderContentType].get());
    return type != nullptr ? type->getMediaType() : KtString();
}

namespace {
// True when a header of class Option in `chain` holds the option tag `option` exactly.
template <class Option>
bool chainHolds(const KtHandle<KtSipHeader>& chain, const char* option) {
    for (const KtSipHeader* h = chain.get(); h != nullptr; h = h->getNext().get()) {
        const Option* tag = ktCast<const Option>(h);
        if (tag != nullptr && tag->getValue().compareWith(option) == 0) return true;
    }
    return false;
}
}  // namespace

bool KtSipMessage::isRequired(const char* option) const {
    return option != nullptr && chainHolds<KtSipRequireHeader>(mGetHeader(KtSipRequireHeader::sToken.c_str()), option);
}

bool KtSipMessage::isSupported(const char* option) const {
    return option != nullptr &&
           chainHolds<KtSipSupportedHeader>(mGetHeader(KtSipSupportedHeader::sToken.c_str()), option);
}

// ---- validity and key --------------------------------------------------------------------

void KtSipMessage::checkValidity() {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::checkValidity");
    struct Rule {
        HeaderID id;
        const char* missing;
        const char* multiple;
    };
    static const Rule kRules[] = {
        {HeaderFrom, "missing From header", "multiple From headers detected"},
        {HeaderTo, "missing To header", "multiple To headers detected"},
        {HeaderCSeq, "missing CSeq header", "multiple CSeq headers detected"},
        {HeaderContentLength, "missing Content-Length header", "multiple Content-Length headers detected"},
        {HeaderCallId, "missing Call-ID header", "multiple Call-ID headers detected"},
    };
    if (m_Headers[HeaderVia].isNil()) {
        m_Status = STATUS_PARSE_FAILED;
        KtException::sThrow("missing Via header");
    }
    for (const Rule& rule : kRules) {
        const KtSipHeader* first = m_Headers[rule.id].get();
        if (first == nullptr) {
            m_Status = STATUS_PARSE_FAILED;
            KtException::sThrow(rule.missing);
        }
        if (rule.id == HeaderCSeq) {
            // Requests only: the CSeq method must be the request method (case ignored).
            const KtSipRequest* request = asRequest();
            const KtSipCSeqHeader* cseq = ktCast<const KtSipCSeqHeader>(first);
            if (request != nullptr && cseq != nullptr &&
                strcasecmp(cseq->getMethod().c_str(), request->getMethod().c_str()) != 0) {
                m_Status = STATUS_PARSE_FAILED;
                KtString text("invalid method in CSeq header (got=\"");
                text.append(cseq->getMethod().c_str());
                text.append("\" expected=\"");
                text.append(request->getMethod().c_str());
                text.append("\"");
                KtException::sThrow(text.c_str());
            }
        }
        if (!first->getNext().isNil()) {
            m_Status = STATUS_PARSE_FAILED;
            KtException::sThrow(rule.multiple);
        }
    }
    TORVANE_DEBUG(fileLogger(), "KtSipMessage::checkValidity"
                                    << " : "
                                    << "m_Status=" << m_Status);
}

KtString KtSipMessage::createKey() const {
    static const char kInvalid[] = "Unable to create transaction key for INVALID SIP Message";
    KtString key(KtStringBuffer::sCreate(nullptr, 0, 96));
    if (m_Status == STATUS_PARSE_FAILED) KtException::sThrow(kInvalid);
    KtHandle<KtSipHeader> to, from, callId, cseq, via, rack;
    {
        KtMutexGuard guard(m_Mutex.get());
        to = m_Headers[HeaderTo];
        from = m_Headers[HeaderFrom];
        callId = m_Headers[HeaderCallId];
        cseq = m_Headers[HeaderCSeq];
        via = m_Headers[HeaderVia];
        rack = m_Headers[HeaderRAck];  // picked up with the others; not part of the key
    }
    const KtSipToHeader* pTo = ktCast<const KtSipToHeader>(to.get());
    const KtSipFromHeader* pFrom = ktCast<const KtSipFromHeader>(from.get());
    const KtSipCallIdHeader* pCallId = ktCast<const KtSipCallIdHeader>(callId.get());
    const KtSipCSeqHeader* pCSeq = ktCast<const KtSipCSeqHeader>(cseq.get());
    // A message that never went through the validity rules may lack these: no key then.
    if (pTo == nullptr || pFrom == nullptr || pCallId == nullptr || pCSeq == nullptr) KtException::sThrow(kInvalid);

    KtStringBuffer* buffer = key.get();
    appendAddress(buffer, pTo->getNameAddress());
    appendAddress(buffer, pFrom->getNameAddress());
    appendText(buffer, pFrom->getTag());
    if (const KtSipViaHeader* pVia = ktCast<const KtSipViaHeader>(via.get())) {
        appendText(buffer, pVia->getHost().str());
        appendNumber(buffer, "%lld", static_cast<int>(pVia->getPort()));
        appendText(buffer, pVia->getBranch());
    }
    appendText(buffer, pCallId->getValue().str());
    appendNumber(buffer, "%lld", pCSeq->getNumber());
    return key;
}

// ---- output ------------------------------------------------------------------------------

void KtSipMessage::serialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::serialize");
    serializeStartLine(out);
    KtMutexGuard guard(m_Mutex.get());
    for (unsigned i = 0; i < m_HeaderOrder.size(); ++i) {
        const KtSipHeader* first = m_Headers[m_HeaderOrder[i]].get();
        if (first != nullptr) first->serialize(out);
    }
    out << "\r\n";
    if (m_pBody != nullptr && !m_Headers[HeaderContentLength].isNil()) {
        // As many bytes as the Content-Length says, but never more than the body holds
        // (the header can be changed on its own, and a failed setBody leaves a new length
        // beside the old body).
        const unsigned length = getBodyLength();
        out.write(m_pBody, length < m_BodySize ? length : m_BodySize);
    }
    out.flush();
}

void KtSipMessage::setBody(const void* body, const char* contentType, unsigned length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipMessage::setBody");
    KtHandle<KtSipHeader> lengthHeader = mGetHeaderByID(HeaderContentLength);
    KtSipContentLengthHeader* pLength = ktCast<KtSipContentLengthHeader>(lengthHeader.get());
    if (pLength == nullptr) {
        addHeader(KtHandle<KtSipHeader>(new KtSipContentLengthHeader(length)), false);
    } else {
        KtMutexGuard guard(m_Mutex.get());
        pLength->setValue(length);
    }
    if (length != 0) {
        if (body == nullptr) KtSipParseError::sThrow("Can't build SIP request with NULL body pointer");
        if (contentType == nullptr) KtSipParseError::sThrow("Can't build SIP request(with body) with no content-type");
        KtMutexGuard guard(m_Mutex.get());
        replaceBody(body, length);
    }
    KtHandle<KtSipHeader> typeHeader = mGetHeaderByID(HeaderContentType);
    KtSipContentTypeHeader* pType = ktCast<KtSipContentTypeHeader>(typeHeader.get());
    if (pType == nullptr) {
        KtHandle<KtSipContentTypeHeader> created(new KtSipContentTypeHeader());
        created->setMediaType(contentType);
        addHeader(KtHandle<KtSipHeader>(created), false);
    } else if (contentType != nullptr) {
        KtMutexGuard guard(m_Mutex.get());
        pType->setMediaType(contentType);
    }
}

void KtSipMessage::formatMessage(std::ostream& os, bool received, const unsigned* port,
                                 const KtInetAddress* address, Torvane::LogLevel /*level*/) const {
    os << (received ? "RECEIVED" : "SENDING") << " SIP MESSAGE" << (isRequest() ? " (REQUEST)" : " (RESPONSE)")
       << (m_ConnectionTransport == KtSocketImpl::TCP ? " via TCP" : " via UDP") << (received ? " from " : " to ")
       << (address != nullptr ? address->getHostAddress() : m_ConnectionAddress.getHostAddress()) << ":"
       << (port != nullptr ? *port : m_ConnectionPort) << " :" << std::endl
       << *this << std::endl;
}

void KtSipMessage::logMessage(const Torvane::Logger& logger, bool received, const unsigned* port,
                              const KtInetAddress* address, Torvane::LogLevel level) const {
    if (!logger.isEnabledFor(level)) return;
    std::ostringstream text;
    formatMessage(text, received, port, address, level);
    if (logger.isEnabledFor(level)) logger.forcedLog(level, text.str(), "KtSipMessage", __LINE__);
}

void KtSipMessage::setConnectionAddress(const KtInetAddress& address) { setLocked(m_ConnectionAddress, address); }

void KtSipMessage::setConnectionPort(unsigned port) { setLocked(m_ConnectionPort, port); }

void KtSipMessage::setLocalAddress(const KtInetAddress& address) { setLocked(m_LocalAddress, address); }

void KtSipMessage::setLocalPort(unsigned port) { setLocked(m_LocalPort, port); }

void KtSipMessage::setConnectionTransport(KtSocketImpl::Transport transport) {
    setLocked(m_ConnectionTransport, transport);
}

std::ostream& operator<<(std::ostream& os, const KtSipMessage& message) {
    KtByteArrayOutputStream out(1024);
    message.serialize(out);
    // Every CR directly followed by LF is dropped; any other CR is kept.
    const char* p = out.data();
    const char* const end = p + out.size();
    while (p < end) {
        const char* cr = static_cast<const char*>(std::memchr(p, '\r', static_cast<std::size_t>(end - p)));
        if (cr == nullptr) {
            os.write(p, end - p);
            break;
        }
        if (cr + 1 < end && cr[1] == '\n') {
            os.write(p, cr - p);
            p = cr + 1;
        } else {
            os.write(p, cr + 1 - p);
            p = cr + 1;
        }
    }
    return os;
}

std::ostream& operator<<(std::ostream& os, const KtHandle<KtSipMessage>& message) {
    if (!message.isNil()) os << *message;
    return os;
}
