// Differential driver: reads a set of inputs and writes, for each, everything the library's
// public entry points make of it (values, written text, keys, statuses, exception class and
// message, error-stream lines, the bytes left unread). Two builds of the library fed the
// same set must write the same bytes; run.sh builds both and compares.
//
//   differential KIND INPUTS OUTPUT
//
// KIND: message, header, uri, nameaddr, challenge, credentials. INPUTS: records of a 4-byte
// little-endian length followed by that many bytes (gen_inputs.py writes them). Each input
// is read twice: from a stream whose window holds it whole, and from one whose window grows
// by one byte per refill (so every reader also runs on a window that ends early); a Digest
// pair list through both forms of its factory.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "KtErrorStream.h"
#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipHeader.h"
#include "KtSipMessage.h"
#include "KtSipNameAddress.h"
#include "KtSipURL.h"
#include "KtURI.h"

namespace {

std::string gOut;  // the record being written
std::string gLog;  // error-stream lines of the current input

void sink(void*, const char* line, unsigned length) {
    gLog.append(line, length);
    gLog += '\n';
}

// A stream whose window starts at the text's beginning and grows by one byte per refill.
class GrowingStream : public KtInputStream {
public:
    explicit GrowingStream(const std::string& text) : m_Text(text) { setWindow(m_Text.data(), m_Text.data()); }

protected:
    bool refill() override {
        if (m_pEnd >= m_Text.data() + m_Text.size()) return false;
        ++m_pEnd;
        return true;
    }

private:
    std::string m_Text;
};

void put(const char* label, const std::string& value) {
    gOut += label;
    gOut += '=';
    for (unsigned char c : value) {
        if (c >= 0x20 && c < 0x7f && c != '\\') {
            gOut += static_cast<char>(c);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            gOut += hex;
        }
    }
    gOut += '\n';
}

void put(const char* label, const char* value) { put(label, std::string(value)); }
void put(const char* label, const KtString& value) { put(label, std::string(value.c_str(), value.length())); }
void put(const char* label, long value) { put(label, std::to_string(value)); }

void putException(const KtException& e) {
    put("exception", typeid(e).name());
    put("message", e.getMessage());
}

template <class Writer>
std::string capture(Writer write) {
    KtByteArrayOutputStream out(256);
    write(out);
    return std::string(out.data(), out.size());
}

std::string drain(KtInputStream& in) {
    std::string rest;
    for (int c = in.read(); c >= 0; c = in.read()) rest += static_cast<char>(c);
    return rest;
}

// Runs `body`, recording a KtException that escapes it.
template <class Body>
void guarded(Body body) {
    try {
        body();
    } catch (const KtException& e) {
        putException(e);
    }
}

void message(KtInputStream& in) {
    KtHandle<KtSipMessage> m;
    guarded([&] { m = KtSipMessage::sConstructFrom(in); });
    if (m.isNil()) return;
    put("class", typeid(*m).name());
    put("status", m->getStatus());
    put("valid", m->isValid());
    guarded([&] { put("wire", capture([&](KtOutputStream& out) { m->serialize(out); })); });
    guarded([&] { put("key", m->createKey()); });
    KtHandle<KtSipMessage> copy(m->clone());
    guarded([&] { put("clone", capture([&](KtOutputStream& out) { copy->serialize(out); })); });
}

void header(KtInputStream& in) {
    KtHandle<KtSipHeader> h;
    guarded([&] { h = KtSipHeader::sConstructFrom(in); });
    if (h.isNil()) return;
    for (const KtSipHeader* e = h.get(); e != nullptr; e = e->getNext().get()) put("id", e->getHeaderID());
    guarded([&] { put("wire", capture([&](KtOutputStream& out) { h->serialize(out); })); });
    KtHandle<KtSipHeader> copy(h->clone());
    guarded([&] { put("clone", capture([&](KtOutputStream& out) { copy->serialize(out); })); });
}

void uriWith(KtInputStream& in, bool inBracket) {
    KtHandle<KtURI> u;
    guarded([&] { u = KtURI::sConstructFrom(in, inBracket); });
    if (u.isNil()) return;
    put("class", typeid(*u).name());
    put("scheme", u->getScheme());
    put("data", u->getSchemeData());
    guarded([&] { put("string", u->getString()); });
    if (const KtSipURL* s = dynamic_cast<const KtSipURL*>(u.get())) {
        put("user", s->getUser());
        put("password", s->getPassword());
        put("host", s->getHost());
        put("port", s->getPort());
        put("given", s->isPortGiven());
        put("parameters", s->numParameters());
        put("headers", s->numHeaders());
    }
}

void nameAddress(KtInputStream& in) {
    KtHandle<KtSipNameAddress> a(new KtSipNameAddress());
    guarded([&] { a->parse(in); });
    put("display", a->getDisplayName());
    put("brackets", a->getAngleBrackets());
    guarded([&] { put("wire", capture([&](KtOutputStream& out) { a->serialize(out); })); });
}

// A Digest pair list read from a byte array (`range` false) or from a range of characters.
template <class Info>
void digest(const std::string& text, bool range) {
    const unsigned length = static_cast<unsigned>(text.size());
    KtHandle<Info> info;
    guarded([&] {
        info = range ? Info::sCreateFrom(text.data(), length) : Info::sCreateFrom(KtByteArray::sCreate(length, text.data()));
    });
    if (info.isNil()) return;
    guarded([&] { put("wire", capture([&](KtOutputStream& out) { info->serialize(out); })); });
    put("realm", info->getRealm());
}

// One input through the entry point of `kind`, from a stream that is `growing` or whole.
void run(const std::string& kind, const std::string& text, bool growing) {
    KtByteArrayInputStream whole(text.data(), static_cast<unsigned>(text.size()));
    GrowingStream grown(text);
    KtInputStream& in = growing ? static_cast<KtInputStream&>(grown) : whole;
    gLog.clear();
    if (kind == "message") {
        message(in);
    } else if (kind == "header") {
        header(in);
    } else if (kind == "uri") {
        uriWith(in, false);
        put("rest", drain(in));
        KtByteArrayInputStream again(text.data(), static_cast<unsigned>(text.size()));
        uriWith(again, true);
        put("rest", drain(again));
    } else if (kind == "nameaddr") {
        nameAddress(in);
    } else if (kind == "challenge") {
        digest<KtSipDigestChallengeInfo>(text, growing);
    } else if (kind == "credentials") {
        digest<KtSipDigestCredentialsInfo>(text, growing);
    }
    if (kind != "uri") put("rest", drain(in));
    put("log", gLog);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s KIND INPUTS OUTPUT\n", argv[0]);
        return 2;
    }
    const std::string kind = argv[1];
    std::ifstream inputs(argv[2], std::ios::binary);
    std::FILE* output = std::fopen(argv[3], "wb");
    if (!inputs || output == nullptr) {
        std::perror("differential");
        return 2;
    }
    KtErrorStream::sSetSink(&sink, nullptr);
    unsigned count = 0;
    for (;;) {
        unsigned char size[4];
        if (!inputs.read(reinterpret_cast<char*>(size), 4)) break;
        const std::uint32_t length = size[0] | size[1] << 8 | size[2] << 16 | static_cast<std::uint32_t>(size[3]) << 24;
        std::string text(length, '\0');
        if (!inputs.read(&text[0], length)) break;
        gOut = "#" + std::to_string(count++) + "\n";
        run(kind, text, false);
        gOut += "-- growing\n";
        run(kind, text, true);
        std::fwrite(gOut.data(), 1, gOut.size(), output);
    }
    std::fclose(output);
    std::printf("%s: %u inputs\n", kind.c_str(), count);
    return 0;
}
