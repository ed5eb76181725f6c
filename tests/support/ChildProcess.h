#pragma once
// A child process for tests (a server, an encoder feeding it). The destructor kills it with
// SIGKILL and reaps it, so no test leaves processes behind.
//
// Threading: test thread only.

#include <string>
#include <sys/types.h>
#include <vector>

namespace tamberlo::test {

class ChildProcess {
public:
    // Starts `argv[0]` (looked up in PATH) with its output sent to `logPath` (or /dev/null).
    explicit ChildProcess(const std::vector<std::string>& argv, const std::string& logPath = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return pid_ > 0; }
    // Sends `signal` and waits for the end; safe to call more than once.
    void stop(int signal);

private:
    pid_t pid_ = -1;
};

// A TCP port on 127.0.0.1 that was free a moment ago.
int freeLocalPort();
// True once something accepts TCP connections on 127.0.0.1:port, polling up to `timeoutMs`.
bool waitForPort(int port, int timeoutMs);

} // namespace tamberlo::test
