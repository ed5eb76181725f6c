#pragma once
// A named pipe for tests of code that must never open one. Opening a pipe for reading blocks
// until a writer comes, so a regression would hang the test; instead, when something is still
// stuck in open() after `grace`, the rescue opens the writing end once and closes it, so the
// reader wakes up at the end of the data and the test fails on its checks.
//
// Threading: construct and destroy on the test thread; the rescue waits on its own thread.

#include <chrono>
#include <condition_variable>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tamberlo::test {

class PipeWithRescue {
public:
    explicit PipeWithRescue(std::string path, std::chrono::seconds grace = std::chrono::seconds(20))
        : path_(std::move(path)) {
        ::unlink(path_.c_str());
        made_ = ::mkfifo(path_.c_str(), 0600) == 0;
        rescue_ = std::thread([this, grace] {
            std::unique_lock lock(mutex_);
            if (wake_.wait_for(lock, grace, [this] { return done_; })) {
                return;
            }
            // Only succeeds while a reader has the pipe open: keep trying until one does.
            while (!wake_.wait_for(lock, std::chrono::milliseconds(10), [this] { return done_; })) {
                const int writer = ::open(path_.c_str(), O_WRONLY | O_NONBLOCK);
                if (writer >= 0) {
                    ::close(writer);
                    return;
                }
            }
        });
    }
    ~PipeWithRescue() {
        {
            std::lock_guard lock(mutex_);
            done_ = true;
        }
        wake_.notify_one();
        rescue_.join();
        ::unlink(path_.c_str());
    }
    PipeWithRescue(const PipeWithRescue&) = delete;
    PipeWithRescue& operator=(const PipeWithRescue&) = delete;

    bool made() const { return made_; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    bool made_ = false;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread rescue_;
};

} // namespace tamberlo::test
