// Clean-ups registered with ACE's object manager run when the process exits.
//
// The registering process is a fresh run of this test program (fork and exec):
// a forked copy of a process that loaded log4cplus cannot exit normally, since
// log4cplus waits at exit for pool threads that only the parent has.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "TorvaneAceCleanup.h"

namespace {

int sPipe = -1;

void writeMark(void* mark) { (void)!write(sPipe, mark, 1); }

struct Tracked { ~Tracked() { (void)!write(sPipe, "D", 1); } };

// Runs AceCleanupChild.RegisterAndExit in a new process that ends through exit()
// or _exit(); returns what its clean-ups wrote.
std::string runChild(bool normalExit) {
    int fds[2];
    if (pipe(fds) != 0) return "<pipe failed>";
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        setenv("KTSIP_CLEANUP_PIPE", std::to_string(fds[1]).c_str(), 1);
        setenv("KTSIP_CLEANUP_EXIT", normalExit ? "exit" : "_exit", 1);
        dup2(open("/dev/null", O_WRONLY), 1);
        execl("/proc/self/exe", "test_base", "--gtest_filter=AceCleanupChild.RegisterAndExit", (char*)nullptr);
        _exit(127);
    }
    close(fds[1]);
    std::string out;
    char buffer[16];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0) out.append(buffer, n);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) out += "<child failed>";
    return out;
}

}  // namespace

// The child's part; skipped when the test program runs on its own.
TEST(AceCleanupChild, RegisterAndExit) {
    const char* fd = std::getenv("KTSIP_CLEANUP_PIPE");
    const char* how = std::getenv("KTSIP_CLEANUP_EXIT");
    if (fd == nullptr || how == nullptr) GTEST_SKIP() << "runs only as the child of AceCleanupLogger tests";
    sPipe = std::atoi(fd);
    static char mark = 'A';
    const Torvane::AceCleanupLogger cleanup("test.cleanup");
    const bool ok = cleanup.registerCleanup(&writeMark, &mark) && cleanup.registerDelete(new Tracked) &&
                    cleanup.registerCleanup(&writeMark, &mark);  // the same object twice is two clean-ups
    if (!ok) (void)!write(sPipe, "!", 1);
    if (std::string(how) == "exit") std::exit(0);
    _exit(0);
}

TEST(AceCleanupLogger, CleanupsRunAtExitOnly) {
    std::string out = runChild(true);
    std::sort(out.begin(), out.end());
    EXPECT_EQ(out, "AAD");
    EXPECT_EQ(runChild(false), "");
    EXPECT_FALSE(Torvane::AceCleanupLogger("test.cleanup").registerCleanup(nullptr, nullptr));
}
