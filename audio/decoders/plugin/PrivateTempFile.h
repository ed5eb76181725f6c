#pragma once
// A file only this user can read, in the system's temporary folder, holding a copy of a memory
// block so that a separate process can open it by path. Removed when the object goes. POSIX
// only.
//
// Threading: one thread at a time per object; objects are independent.

#ifndef _WIN32

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace audio {

class PrivateTempFile {
public:
    // Writes `bytes` to a new file "tamberlo-codec-XXXXXX" (mode 0600). Null when the file
    // cannot be created or written (the partial file is removed).
    static std::unique_ptr<PrivateTempFile> write(const std::vector<uint8_t>& bytes);

    ~PrivateTempFile();
    PrivateTempFile(const PrivateTempFile&) = delete;
    PrivateTempFile& operator=(const PrivateTempFile&) = delete;

    // Absolute path of the file.
    const std::string& path() const { return path_; }

private:
    explicit PrivateTempFile(std::string path) : path_(std::move(path)) {}
    std::string path_;
};

} // namespace audio

#endif
