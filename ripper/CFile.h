#pragma once
// Owning wrapper of a C stdio FILE*: closes it when it goes out of scope.
//
// Threading: a CFile belongs to one thread at a time.

#include <cstdio>
#include <memory>

struct CFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using CFile = std::unique_ptr<std::FILE, CFileCloser>;
