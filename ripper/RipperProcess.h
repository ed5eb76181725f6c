#pragma once
// Runs the module ripper as a child process, so that a hostile file that crashes or hangs a
// converter, or the ripper's deliberate exit when "-1.mod" cannot be created, ends the child and
// never the caller. The child writes "-1.mod" into its working directory.
//
// Threading: any thread may call runRipperProcess; it blocks that thread until the child ends
// or the timeout passes. Concurrent calls need working directories of their own, or they would
// overwrite each other's "-1.mod".

#include <atomic>
#include <chrono>
#include <string>

struct RipperRun {
    enum class Outcome {
        Exited,        // the child ended by itself; exitStatus holds its status (0-255)
        Killed,        // the child was ended by a signal (a crash); exitStatus holds the signal
        TimedOut,      // still running at the timeout: killed (SIGKILL) and reaped
        FailedToStart, // the executable could not be started
        Cancelled,     // the caller's cancel flag turned true: killed (SIGKILL) and reaped
    };
    Outcome outcome = Outcome::FailedToStart;
    int exitStatus = 0;
};

// Starts `executable FILE` with the child's standard output discarded and waits at most
// `timeout` for it. The child works in `workingDirectory` (empty: the caller's current
// directory); a relative `inputPath` is then read from there, so callers pass absolute paths.
// `cancel` (may be null) is looked at while waiting, so another thread can end the run early.
RipperRun runRipperProcess(const std::string& executable, const std::string& inputPath,
                           std::chrono::milliseconds timeout,
                           const std::string& workingDirectory = {},
                           const std::atomic<bool>* cancel = nullptr);
