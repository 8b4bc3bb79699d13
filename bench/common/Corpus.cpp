#include "Corpus.h"

#include <dirent.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ktbench {

std::size_t Corpus::typicalBytes() const {
    std::size_t total = 0;
    for (const CorpusMessage& m : typical) total += m.text.size();
    return total;
}

std::string defaultCorpusDir() {
    const char* env = std::getenv("KTSIP_BENCH_CORPUS");
    if (env != nullptr && *env != '\0') return env;
    return KTSIP_BENCH_CORPUS_DIR;
}

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

// Checks line ends and Content-Length of one message.
void check(const CorpusMessage& m) {
    const std::string& t = m.text;
    const std::size_t end = t.find("\r\n\r\n");
    if (end == std::string::npos) throw std::runtime_error(m.name + ": no CR LF CR LF after the headers");
    for (std::size_t i = 0; i < end; ++i) {
        if (t[i] == '\n' && (i == 0 || t[i - 1] != '\r'))
            throw std::runtime_error(m.name + ": bare LF in the header section");
    }
    const std::string cl = headerValue(t, "Content-Length");
    if (cl.empty()) throw std::runtime_error(m.name + ": no Content-Length");
    const std::size_t body = t.size() - (end + 4);
    char* stop = nullptr;
    const unsigned long declared = std::strtoul(cl.c_str(), &stop, 10);
    if (stop == cl.c_str() || declared != body)
        throw std::runtime_error(m.name + ": Content-Length " + cl + " but the body has " + std::to_string(body) +
                                 " bytes");
}

}  // namespace

std::string headerValue(const std::string& text, const char* name) {
    const std::size_t headerEnd = text.find("\r\n\r\n");
    const std::size_t nameLength = std::char_traits<char>::length(name);
    std::size_t pos = text.find("\r\n");
    while (pos != std::string::npos && pos < headerEnd) {
        const std::size_t line = pos + 2;
        if (text.size() > line + nameLength && strncasecmp(text.c_str() + line, name, nameLength) == 0) {
            std::size_t v = line + nameLength;
            while (v < text.size() && (text[v] == ' ' || text[v] == '\t')) ++v;
            if (v < text.size() && text[v] == ':') {
                ++v;
                while (v < text.size() && (text[v] == ' ' || text[v] == '\t')) ++v;
                const std::size_t eol = text.find("\r\n", v);
                return text.substr(v, eol - v);
            }
        }
        pos = text.find("\r\n", line);
    }
    return std::string();
}

Corpus loadCorpus(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) throw std::runtime_error("cannot open corpus directory " + dir);
    std::vector<std::string> names;
    while (dirent* e = readdir(d)) {
        const std::string n = e->d_name;
        if (n.size() > 4 && n.compare(n.size() - 4, 4, ".sip") == 0) names.push_back(n);
    }
    closedir(d);
    std::sort(names.begin(), names.end());

    Corpus corpus;
    bool haveLarge = false;
    for (const std::string& n : names) {
        CorpusMessage m{n, readFile(dir + "/" + n)};
        check(m);
        if (n == "invite-4k.sip") {
            corpus.large = std::move(m);
            haveLarge = true;
        } else if (n.size() > 3 && std::isdigit(static_cast<unsigned char>(n[0])) &&
                   std::isdigit(static_cast<unsigned char>(n[1])) && n[2] == '-') {
            corpus.typical.push_back(std::move(m));
        }
    }
    if (corpus.typical.empty()) throw std::runtime_error("no NN-*.sip message in " + dir);
    if (!haveLarge) throw std::runtime_error("no invite-4k.sip in " + dir);
    return corpus;
}

}  // namespace ktbench
