#include "ModuleWriter.h"

#include <algorithm>

void ModuleWriter::zeros(std::size_t count) {
    static const std::uint8_t kZeros[4096] = {};
    while (count > 0) {
        const std::size_t chunk = std::min(count, sizeof kZeros);
        bytes(kZeros, chunk);
        count -= chunk;
    }
}

void ModuleWriter::input(std::uint64_t offset, std::uint64_t count) {
    const auto size = static_cast<std::uint64_t>(state_.inputSize);
    if (offset < size) {
        const std::uint64_t inside = std::min(count, size - offset);
        bytes(state_.input + offset, static_cast<std::size_t>(inside));
        count -= inside;
    }
    zeros(static_cast<std::size_t>(count));
}
