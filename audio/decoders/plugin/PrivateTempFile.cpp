#ifndef _WIN32

#include "PrivateTempFile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace audio {

namespace {

bool writeAll(int fd, const uint8_t* data, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

} // namespace

std::unique_ptr<PrivateTempFile> PrivateTempFile::write(const std::vector<uint8_t>& bytes) {
    std::error_code error;
    auto folder = std::filesystem::temp_directory_path(error);
    if (!error) {
        folder = std::filesystem::absolute(folder, error);
    }
    if (error) {
        return nullptr;
    }
    std::string pattern = (folder / "tamberlo-codec-XXXXXX").string();
    // mkstemp creates the file with mode 0600 and fills in the X's.
    const int fd = mkstemp(pattern.data());
    if (fd < 0) {
        return nullptr;
    }
    std::unique_ptr<PrivateTempFile> file(new PrivateTempFile(pattern));
    const bool written = writeAll(fd, bytes.data(), bytes.size());
    if (close(fd) != 0 || !written) {
        return nullptr; // the destructor removes what was written
    }
    return file;
}

PrivateTempFile::~PrivateTempFile() {
    unlink(path_.c_str());
}

} // namespace audio

#endif
