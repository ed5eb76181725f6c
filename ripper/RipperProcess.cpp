#include "RipperProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {
// Owns a posix_spawn_file_actions_t.
class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

RipperRun fromWaitStatus(int status) {
    if (WIFEXITED(status))
        return {RipperRun::Outcome::Exited, WEXITSTATUS(status)};
    return {RipperRun::Outcome::Killed, WIFSIGNALED(status) ? WTERMSIG(status) : 0};
}
} // namespace

RipperRun runRipperProcess(const std::string& executable, const std::string& inputPath,
                           std::chrono::milliseconds timeout, const std::string& workingDirectory,
                           const std::atomic<bool>* cancel) {
    SpawnActions actions;
    // Nobody reads the ripper's console messages in the player.
    posix_spawn_file_actions_addopen(actions.get(), STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (!workingDirectory.empty() &&
        posix_spawn_file_actions_addchdir_np(actions.get(), workingDirectory.c_str()) != 0)
        return {};
    char* const argv[] = {const_cast<char*>(executable.c_str()),
                          const_cast<char*>(inputPath.c_str()), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, executable.c_str(), actions.get(), nullptr, argv, environ) != 0)
        return {};

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    auto pause = std::chrono::milliseconds(1);
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child)
            return fromWaitStatus(status);
        if (done < 0 && errno != EINTR)
            return {};
        if (cancel != nullptr && cancel->load()) {
            kill(child, SIGKILL);
            while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
            }
            return {RipperRun::Outcome::Cancelled, 0};
        }
        if (std::chrono::steady_clock::now() >= deadline)
            break;
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
    kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {RipperRun::Outcome::TimedOut, 0};
}
