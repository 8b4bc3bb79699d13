// The SIP torture messages of RFC 4475 and RFC 5118 (the corpus in tests/corpus, listed
// by its index.json) through the message parser.
//
// Every message must end in a message or a KtException, never a crash, hang or leak (the
// pools' live-object counters come back to where they started), and every message that
// parses must have a stable round trip: its output, parsed and written again, gives the
// same bytes (the second parse keeps a message that the validity rules refuse, so that a
// message marked invalid for a dropped header is compared too), and the output of a valid
// message is valid; a copy writes the same bytes and asking for the key never crashes. The
// outcome of each file (valid; status N; or the exception's class and
// text, each with the error-stream lines written on the way) is compared with the table
// in torture_outcomes.txt, so that any change of behaviour on these messages shows up in
// review. KTSIP_UPDATE_OUTCOMES=1 rewrites the table from the current library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <typeinfo>
#include <vector>

#include "MessageTestSupport.h"
#include "TorvaneMemAllocator.h"

namespace {

const std::string kCorpusDir = KTSIP_CORPUS_DIR;
const std::string kOutcomeTable = std::string(KTSIP_SOURCE_DIR) + "/tests/sip/message/torture_outcomes.txt";

struct CorpusFile { std::string name /* relative to the corpus folder */; long long bytes /* recorded size */; };

/// The files of index.json with their recorded sizes.
std::vector<CorpusFile> corpusIndex() {
    std::vector<CorpusFile> files;
    const nlohmann::json index = nlohmann::json::parse(kttest::readFile(kCorpusDir + "/index.json"), nullptr, false);
    if (index.is_array())
        for (const nlohmann::json& entry : index) files.push_back({entry.value("file", ""), entry.value("bytes", -1LL)});
    return files;
}

/// Printable form for one line of the table: control bytes, backslash and bytes above
/// 0x7E as \xNN.
std::string escaped(const std::string& text) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : text)
        out += c < 0x20 || c > 0x7E || c == '\\' ? std::string("\\x") + digits[c >> 4] + digits[c & 15]
                                                 : std::string(1, static_cast<char>(c));
    return out;
}

/// The error-stream lines of `errors`, each after " | ".
std::string joined(const kttest::ErrorCapture& errors) {
    std::string out;
    for (const std::string& line : errors.lines) out += " | " + line;
    return out;
}

/// An empty message of the class that sConstructFrom picks for the first token `token`.
KtSipMessage* messageFor(const std::string& token) {
    for (const kttest::MessageClass& c : kttest::kMessageClasses)
        if (token == c.token) return c.create();
    return new KtSipUnknownRequest();
}

/// Parses `text` as sConstructFrom does, into a message that is kept when the validity
/// rules refuse it at the end, so that the text form of what was read can be compared
/// whatever the verdict. Returns nil (and the reason in `error`) when the text itself
/// cannot be read: no first token, a bad start line or a short body.
KtHandle<KtSipMessage> parseKeepingRefused(const std::string& text, std::string& error) {
    const size_t end = text.find_first_of(std::string(" /\t\r\n"));
    const std::string token = text.substr(0, std::min<size_t>(end == std::string::npos ? text.size() : end, 31));
    if (token.empty()) {
        error = "no first token";
        return KtHandle<KtSipMessage>();
    }
    KtHandle<KtSipMessage> message(messageFor(token));
    KtByteArrayInputStream in(text.data() + token.size(), static_cast<unsigned>(text.size() - token.size()));
    try {
        message->parse(token.c_str(), in);
    } catch (const KtException& e) {
        error = e.getMessage();
        // The validity rules throw plain KtExceptions once everything was read (the parser
        // has then filled the Content-Length slot); anything else means the text is lost.
        if (dynamic_cast<const KtSipParseError*>(&e) != nullptr ||
            message->mGetHeaderByID(HeaderContentLength).isNil())
            return KtHandle<KtSipMessage>();
    }
    return message;
}

/// The name of a class of the library (its mangled name: the length in digits, then the name).
std::string nameOf(const std::type_info& type) {
    const std::string name = type.name();
    return name.substr(name.find_first_not_of("0123456789"));
}

/// What the parser makes of one file, and whether its round trip holds.
struct Result { std::string outcome; bool parsed = false; std::string roundTripProblem /* empty when stable */; };

Result run(const std::string& bytes) {
    Result result;
    kttest::ErrorCapture errors;
    KtHandle<KtSipMessage> message;
    try {
        message = kttest::parse(bytes);
    } catch (const KtException& e) {
        result.outcome = nameOf(typeid(e)) + ": " + e.getMessage() + joined(errors);
        return result;
    }
    result.parsed = true;
    result.outcome = (message->isValid() ? std::string("valid") : "status " + std::to_string(message->getStatus())) +
                     " (" + nameOf(typeid(*message)) + ")" + joined(errors);
    const std::string first = kttest::wire(*message);
    kttest::thrown([&] { message->createKey(); });
    std::string error;
    KtHandle<KtSipMessage> again = parseKeepingRefused(first, error);
    if (again.isNil()) {
        result.roundTripProblem = "output cannot be read again (" + error + "):\n" + first;
    } else if (kttest::wire(*again) != first) {
        result.roundTripProblem = "output changes:\n" + first + "\n--- becomes ---\n" + kttest::wire(*again);
    } else if (message->isValid() && !again->isValid()) {
        result.roundTripProblem = "output of a valid message is refused (status " +
                                  std::to_string(again->getStatus()) + ", " + error + "):\n" + first;
    } else if (kttest::wire(*KtHandle<KtSipMessage>(message->clone())) != first) {
        result.roundTripProblem = "a copy is written differently:\n" + first;
    }
    return result;
}

std::map<std::string, long long> liveObjectsByPool() {
    std::map<std::string, long long> live;
    for (const Torvane::PoolStats& pool : Torvane::MemPool::sStats()) live[pool.tag] = pool.liveObjects;
    return live;
}

std::map<std::string, std::string> readTable() {
    std::map<std::string, std::string> table;
    std::ifstream in(kOutcomeTable);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        const size_t tab = line.find('\t');
        if (tab != std::string::npos) table[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return table;
}

void writeTable(const std::vector<std::pair<std::string, std::string>>& rows) {
    std::ofstream out(kOutcomeTable, std::ios::trunc);
    out << "# Outcome of parsing each torture message of tests/corpus (see test_torture_corpus.cpp).\n"
           "# file<TAB>outcome: valid, status N, or the exception's class and text; the lines written\n"
           "# to the error stream follow after \" | \". Regenerate with KTSIP_UPDATE_OUTCOMES=1.\n";
    for (const auto& row : rows) out << row.first << '\t' << row.second << '\n';
}

TEST(TortureCorpus, EveryFileParsesOrThrowsWithAStableRoundTripAndTheRecordedOutcome) {
    const std::vector<CorpusFile> files = corpusIndex();
    ASSERT_GE(files.size(), 60u) << "corpus index not found or incomplete under " << kCorpusDir;

    std::vector<std::string> contents;
    for (const CorpusFile& file : files) {
        contents.push_back(kttest::readFile(kCorpusDir + "/" + file.name));
        EXPECT_EQ(file.bytes, static_cast<long long>(contents.back().size())) << file.name << " differs from the index";
    }

    // A first pass creates whatever the library builds once (loggers, registries, pools);
    // the counters are taken after it.
    for (const std::string& bytes : contents) run(bytes);
    const std::map<std::string, long long> before = liveObjectsByPool();

    std::vector<std::pair<std::string, std::string>> rows;
    int parsed = 0;
    for (size_t i = 0; i < files.size(); ++i) {
        SCOPED_TRACE(files[i].name);
        const Result result = run(contents[i]);
        parsed += result.parsed ? 1 : 0;
        EXPECT_EQ("", result.roundTripProblem) << "round trip of " << files[i].name;
        rows.emplace_back(files[i].name, escaped(result.outcome));
    }
    EXPECT_GT(parsed, 0);

    const std::map<std::string, long long> after = liveObjectsByPool();
    for (const auto& pool : after) {
        const auto it = before.find(pool.first);
        EXPECT_EQ(it == before.end() ? 0 : it->second, pool.second) << "live objects of pool " << pool.first;
    }

    const char* update = std::getenv("KTSIP_UPDATE_OUTCOMES");
    if (update != nullptr && update[0] == '1') {
        writeTable(rows);
        std::printf("rewrote %s (%zu files)\n", kOutcomeTable.c_str(), rows.size());
        return;
    }
    const std::map<std::string, std::string> table = readTable();
    ASSERT_FALSE(table.empty()) << kOutcomeTable << " is missing; run with KTSIP_UPDATE_OUTCOMES=1";
    for (const auto& row : rows) {
        const auto it = table.find(row.first);
        if (it == table.end()) {
            ADD_FAILURE() << row.first << " has no recorded outcome; now: " << row.second;
        } else {
            EXPECT_EQ(it->second, row.second) << "outcome of " << row.first << " changed (recorded first)";
        }
    }
    EXPECT_EQ(table.size(), rows.size()) << "the table lists files the index no longer has";
}

}  // namespace
