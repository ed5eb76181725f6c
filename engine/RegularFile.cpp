#include "RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace engine_detail {

UniqueFd::~UniqueFd() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
        UniqueFd old(fd_);
        fd_ = other.release();
    }
    return *this;
}

int UniqueFd::release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

PathKind pathKind(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        return PathKind::Unknown;
    }
    return S_ISREG(info.st_mode) ? PathKind::Regular : PathKind::NotRegular;
}

UniqueFd openRegularFile(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    // Non-blocking, in case the path now names a pipe; regular files ignore the flag.
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file || ::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    return file;
}

} // namespace engine_detail
