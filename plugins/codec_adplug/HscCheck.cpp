#include "HscCheck.h"

#include <algorithm>

namespace adplug_codec {

namespace {

constexpr size_t InstrumentBytes = 128 * 12;
constexpr size_t OrderBytes = 51;
constexpr size_t HeaderBytes = InstrumentBytes + OrderBytes;
constexpr size_t PatternBytes = 64 * 9 * 2;
constexpr size_t MaxPatterns = 50; // the player holds no more
constexpr uint8_t EndOfOrders = 0xFF;

// Notes 1..96 are eight octaves of twelve; 0 is an empty cell, 0x7F a key off.
constexpr uint8_t HighestNote = 96;
constexpr uint8_t KeyOff = 0x7F;
// A note byte with bit 7 set selects the instrument the effect byte names.
constexpr uint8_t InstrumentSelect = 0x80;
constexpr uint8_t Instruments = 128;

bool cellIsValid(uint8_t note, uint8_t effect) {
    if ((note & InstrumentSelect) != 0) {
        return effect < Instruments;
    }
    return note <= HighestNote || note == KeyOff;
}

// Every entry up to the end marker names one of `patterns` patterns. Entries with bit 7 set
// (jumps) are refused: where they lead is not checked, and a song without them loops anyway.
bool ordersAreValid(std::span<const uint8_t> orders, size_t patterns) {
    const auto end = std::find(orders.begin(), orders.end(), EndOfOrders);
    if (end == orders.begin() || end == orders.end()) {
        return false;
    }
    return std::all_of(orders.begin(), end, [patterns](uint8_t entry) { return entry < patterns; });
}

} // namespace

bool isPlayableHsc(std::span<const uint8_t> data, size_t fileSize) {
    if (data.size() < HeaderBytes + PatternBytes) {
        return false;
    }
    size_t patterns = MaxPatterns;
    if (fileSize != 0) {
        if (fileSize < HeaderBytes + PatternBytes || (fileSize - HeaderBytes) % PatternBytes != 0) {
            return false;
        }
        patterns = (fileSize - HeaderBytes) / PatternBytes;
        if (patterns > MaxPatterns) {
            return false;
        }
    }
    if (!ordersAreValid(data.subspan(InstrumentBytes, OrderBytes), patterns)) {
        return false;
    }
    const size_t cellsEnd = std::min(data.size(), HeaderBytes + patterns * PatternBytes);
    for (size_t at = HeaderBytes; at + 2 <= cellsEnd; at += 2) {
        if (!cellIsValid(data[at], data[at + 1])) {
            return false;
        }
    }
    return true;
}

} // namespace adplug_codec
