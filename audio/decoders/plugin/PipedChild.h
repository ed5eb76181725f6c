#pragma once
// A child process whose standard output the parent reads through a pipe, with timeouts, and
// that is always killed and reaped: the destructor ends a child that still runs (SIGKILL) and
// waits for it, so no child outlives its owner or stays behind as a zombie. POSIX only.
//
// Threading: one thread at a time per object (it belongs to one decoder). Any number of objects
// may run at once: the parent's pipe ends are close-on-exec, so a child started by another
// thread never holds this child's pipe open.

#ifndef _WIN32

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace audio {

class PipedChild {
public:
    // Starts `arguments[0]` (an absolute path) with `arguments`, standard input from /dev/null,
    // standard output into the pipe, standard error shared with the parent. Null when it cannot
    // be started (no such program, no processes or pipes left).
    static std::unique_ptr<PipedChild> start(const std::vector<std::string>& arguments);

    ~PipedChild();
    PipedChild(const PipedChild&) = delete;
    PipedChild& operator=(const PipedChild&) = delete;

    enum class ReadStatus {
        Data,     // *got > 0 bytes were read
        End,      // the child closed its output (it ended or is ending)
        TimedOut, // nothing arrived within the timeout
        Failed,   // the pipe could not be read
    };
    // Reads up to `size` bytes (size > 0), waiting at most `timeout` for the first of them.
    ReadStatus read(void* buffer, size_t size, std::chrono::milliseconds timeout, size_t* got);

    // Reads exactly `size` bytes, all of them before `deadline`; false when the output ends,
    // fails or is too slow.
    bool readExactly(void* buffer, size_t size, std::chrono::steady_clock::time_point deadline);

    // Waits at most `timeout` for the child to end, kills it if it has not, and reaps it. The
    // exit status (0-255) when it exited by itself; nothing when a signal ended it or it had to
    // be killed. Afterwards the child is gone; calling again returns the same answer.
    std::optional<int> finish(std::chrono::milliseconds timeout);

private:
    PipedChild(pid_t pid, int output) : pid_(pid), output_(output) {}

    pid_t pid_;
    int output_;
    bool reaped_ = false;
    std::optional<int> exitStatus_;
};

} // namespace audio

#endif
