// Helpers of the tool tests: running the ktsip binary, scratch files.
#ifndef KTSIP_TEST_TOOL_TEST_SUPPORT_H
#define KTSIP_TEST_TOOL_TEST_SUPPORT_H

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

namespace kttest {

/// What a run of the tool printed, and its exit status (-1 when it did not exit).
struct ToolRun { int status; std::string out; };

/// Runs the ktsip tool with `args`; `redirect` says what becomes of standard error (and output).
inline ToolRun runTool(const std::vector<std::string>& args, const char* redirect = " 2>/dev/null") {
    const auto quote = [](const std::string& s) {
        std::string q = "'";
        for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return q + "'";
    };
    std::string command = quote(KTSIP_TOOL_PATH);
    for (const std::string& a : args) command += " " + quote(a);
    ToolRun r{-1, ""};
    FILE* p = popen((command + redirect).c_str(), "r");
    if (p == nullptr) return r;
    char buf[4096];
    for (std::size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) r.out.append(buf, n);
    const int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

/// Writes `bytes` to `path`, or to a new scratch file when `path` is empty; returns the path.
inline std::string scratchFile(const std::string& bytes, std::string path = "") {
    if (path.empty()) {
        char name[] = "/tmp/ktsip-test-XXXXXX";
        const int fd = mkstemp(name);
        if (fd >= 0) close(fd);
        path = name;
    }
    if (FILE* f = fopen(path.c_str(), "wb")) {
        fwrite(bytes.data(), 1, bytes.size(), f);
        fclose(f);
    }
    return path;
}

}  // namespace kttest

#endif
