#pragma once
// Owns a C stdio FILE* and closes it when it goes out of scope.
//
// Threading: one owner thread per object.

#include <cstdio>
#include <memory>
#include <string>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// fopen that returns an owning handle; empty on failure (errno is left set).
inline FileHandle openFile(const std::string& path, const char* mode) {
    return FileHandle(std::fopen(path.c_str(), mode));
}

// True when `path` names a regular file (symbolic links followed). Readers check this first so
// that a FIFO or device that happens to be called "x.m3u" or "x.zip" can never block them.
bool isRegularFile(const std::string& path);
