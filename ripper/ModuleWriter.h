#pragma once
// Sequential writer that converters use to emit the output module into an open file.
//
// Threading: none; used from the ripper's one thread.

#include "RipState.h"

#include <cstdint>
#include <cstdio>

class ModuleWriter {
public:
    ModuleWriter(std::FILE* file, const RipState& state) : file_(file), state_(state) {}

    void bytes(const void* data, std::size_t count) { std::fwrite(data, 1, count, file_); }
    void byte(std::uint8_t value) { std::fputc(value, file_); }
    void zeros(std::size_t count);
    // Copies `count` input bytes from `offset`; bytes past the end of the input are written as
    // zeros, so a module whose tables point outside the input still gives a complete file.
    void input(std::uint64_t offset, std::uint64_t count);

private:
    std::FILE* file_;
    const RipState& state_;
};
