#pragma once
// Big-endian reads from the ripper's input buffer.
//
// The unchecked readers are for test steps, which compare every offset with the input size
// (`fits`) before reading. The "OrZero" readers are for depack steps: they trust the test, but a
// hostile module can still point its tables anywhere, so every byte outside the input reads
// as zero instead of reading foreign memory.
//
// Threading: pure functions over RipState; same rules as RipState.

#include "RipState.h"

#include <cstdint>

// True when `count` bytes from `offset` lie inside the input.
inline bool fits(const RipState& s, std::uint64_t offset, std::uint64_t count) {
    return offset + count <= static_cast<std::uint64_t>(s.inputSize);
}

inline std::uint8_t u8(const RipState& s, std::uint64_t offset) {
    return s.input[offset];
}
inline std::uint16_t be16(const RipState& s, std::uint64_t offset) {
    return static_cast<std::uint16_t>(s.input[offset] << 8 | s.input[offset + 1]);
}
inline std::uint32_t be32(const RipState& s, std::uint64_t offset) {
    return static_cast<std::uint32_t>(be16(s, offset)) << 16 | be16(s, offset + 2);
}

inline std::uint8_t u8OrZero(const RipState& s, std::uint64_t offset) {
    return offset < static_cast<std::uint64_t>(s.inputSize) ? s.input[offset] : 0;
}
inline std::uint16_t be16OrZero(const RipState& s, std::uint64_t offset) {
    return static_cast<std::uint16_t>(u8OrZero(s, offset) << 8 | u8OrZero(s, offset + 1));
}
inline std::uint32_t be32OrZero(const RipState& s, std::uint64_t offset) {
    return static_cast<std::uint32_t>(be16OrZero(s, offset)) << 16 | be16OrZero(s, offset + 2);
}
