#pragma once
// Owns a shared library: dlopen on Unix, LoadLibrary on Windows.
//
// Threading: open on one thread; symbol() may be called from any thread afterwards.

#include <string>

namespace audio {

class LibraryHandle {
public:
    // Opens the library at `path` (must contain a '/', so no search path is used). Check
    // isOpen(); error() then says why it failed. With `stayLoaded` the code stays mapped after
    // the handle closes (RTLD_NODELETE), for libraries whose objects may outlive the handle.
    explicit LibraryHandle(const std::string& path, bool stayLoaded = false);
    ~LibraryHandle();
    LibraryHandle(const LibraryHandle&) = delete;
    LibraryHandle& operator=(const LibraryHandle&) = delete;

    bool isOpen() const { return handle_ != nullptr; }
    const std::string& error() const { return error_; }
    // The address of exported symbol `name`, or null.
    void* symbol(const char* name) const;

private:
    void* handle_ = nullptr;
    [[maybe_unused]] bool stayLoaded_ = false; // read on Windows; dlopen keeps it itself
    std::string error_;
};

} // namespace audio
