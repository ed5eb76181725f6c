#pragma once
// The rip step shared by the formats the scan recognises but does not convert: the module is
// reported and the scan moves past it, so nothing inside it is taken for another format.
//
// Threading: same rules as RipState.

#include "../RipState.h"

#include <cstdint>

namespace recognised {
// Scratch slot in which a test leaves the module's size in bytes from moduleStart.
constexpr int kModuleSize = 0;

// Sets the output size, reports the format and resumes the scan right behind the module.
inline void stepOver(RipState& st, const char* formatName, int extensionIndex) {
    st.outputSize = st.scratch[kModuleSize];
    noteRip(st, formatName, extensionIndex);
    // The driver's increment moves from the module's last byte to the byte behind it.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

// Accepts a module of `size` bytes from `start` when it lies inside the input.
inline int accept(RipState& st, std::uint64_t start, std::uint64_t size) {
    if (size == 0 || start + size > static_cast<std::uint64_t>(st.inputSize))
        return 1;
    st.moduleStart = static_cast<std::uint32_t>(start);
    st.scratch[kModuleSize] = static_cast<std::uint32_t>(size);
    return 0;
}
} // namespace recognised
