#pragma once
// Opening local songs without ever waiting on something that is not a regular file: open() of
// a named pipe without a writer blocks until one comes, and a device may never end. The type is
// checked by path first (so devices are never opened) and again on the open descriptor (so a
// file swapped for a pipe in between is caught); the open itself never blocks.
//
// Threading: plain functions; any thread.

#include <string>

namespace engine_detail {

// Owns a file descriptor and closes it when it goes out of scope.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd();
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    // Gives up ownership (the caller or a library closes it from now on).
    int release();

private:
    int fd_ = -1;
};

enum class PathKind {
    Regular,    // a regular file (symbolic links followed)
    NotRegular, // a named pipe, device, socket or folder
    Unknown,    // missing, a URL, or not examinable (the sound library reports those itself)
};
PathKind pathKind(const std::string& path);

// Opens a regular file for reading; an empty descriptor when the path is missing, unreadable
// or no regular file.
UniqueFd openRegularFile(const std::string& path);

} // namespace engine_detail
