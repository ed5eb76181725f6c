#ifndef _WIN32

#include "PipedChild.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace audio {

namespace {

using Clock = std::chrono::steady_clock;

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

// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd) {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = fd;
    }

private:
    int fd_;
};

// A pipe whose ends are both close-on-exec in the parent, set at creation where the system can
// (so that a child another thread starts at that moment cannot inherit them).
bool makePipe(Descriptor& readEnd, Descriptor& writeEnd) {
    int fds[2];
#if defined(__linux__) || defined(__FreeBSD__) || defined(__NetBSD__) || defined(__OpenBSD__)
    if (pipe2(fds, O_CLOEXEC) != 0) {
        return false;
    }
#else
    if (pipe(fds) != 0) {
        return false;
    }
    fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    fcntl(fds[1], F_SETFD, FD_CLOEXEC);
#endif
    readEnd.reset(fds[0]);
    writeEnd.reset(fds[1]);
    return true;
}

int remainingMs(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, 1 << 30));
}

} // namespace

std::unique_ptr<PipedChild> PipedChild::start(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        return nullptr;
    }
    Descriptor readEnd;
    Descriptor writeEnd;
    if (!makePipe(readEnd, writeEnd)) {
        return nullptr;
    }
    SpawnActions actions;
    // dup2 clears close-on-exec on the copy, so only standard output reaches the child.
    if (posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0) !=
            0 ||
        posix_spawn_file_actions_adddup2(actions.get(), writeEnd.get(), STDOUT_FILENO) != 0) {
        return nullptr;
    }
    std::vector<char*> argv;
    for (const auto& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], actions.get(), nullptr, argv.data(), environ) != 0) {
        return nullptr;
    }
    // The parent keeps only the read end, so the pipe ends when the child's copy closes.
    return std::unique_ptr<PipedChild>(new PipedChild(pid, readEnd.release()));
}

PipedChild::~PipedChild() {
    close(output_);
    finish(std::chrono::milliseconds(0));
}

PipedChild::ReadStatus PipedChild::read(void* buffer, size_t size,
                                        std::chrono::milliseconds timeout, size_t* got) {
    *got = 0;
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        pollfd wanted{output_, POLLIN, 0};
        const int ready = poll(&wanted, 1, remainingMs(deadline));
        if (ready < 0 && errno != EINTR) {
            return ReadStatus::Failed;
        }
        if (ready > 0) {
            const ssize_t count = ::read(output_, buffer, size);
            if (count > 0) {
                *got = static_cast<size_t>(count);
                return ReadStatus::Data;
            }
            if (count == 0) {
                return ReadStatus::End;
            }
            if (errno != EINTR && errno != EAGAIN) {
                return ReadStatus::Failed;
            }
        }
        if (Clock::now() >= deadline) {
            return ReadStatus::TimedOut;
        }
    }
}

bool PipedChild::readExactly(void* buffer, size_t size, Clock::time_point deadline) {
    auto* bytes = static_cast<unsigned char*>(buffer);
    size_t done = 0;
    while (done < size) {
        size_t got = 0;
        const auto left = std::chrono::milliseconds(remainingMs(deadline));
        if (read(bytes + done, size - done, left, &got) != ReadStatus::Data) {
            return false;
        }
        done += got;
    }
    return true;
}

std::optional<int> PipedChild::finish(std::chrono::milliseconds timeout) {
    if (reaped_) {
        return exitStatus_;
    }
    const auto deadline = Clock::now() + timeout;
    auto pause = std::chrono::milliseconds(1);
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            break;
        }
        if (done < 0 && errno != EINTR) {
            reaped_ = true; // not our child any more (someone else reaped it)
            return exitStatus_;
        }
        if (Clock::now() >= deadline) {
            kill(pid_, SIGKILL);
            while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
            reaped_ = true;
            return exitStatus_;
        }
        std::this_thread::sleep_for(
            std::min(pause, std::chrono::milliseconds(remainingMs(deadline))));
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
    reaped_ = true;
    if (WIFEXITED(status)) {
        exitStatus_ = WEXITSTATUS(status);
    }
    return exitStatus_;
}

} // namespace audio

#endif
