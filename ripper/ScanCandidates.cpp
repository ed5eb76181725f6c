#include "ScanCandidates.h"

#include <algorithm>
#include <cstring>

void CandidateRules::addPair(std::uint8_t first, int second) {
    for (unsigned next = 0; next < 256; ++next)
        if (second < 0 || unsigned(second) == next)
            pairs[first | next << 8] = 1;
}

void CandidateRules::addGates(const ScanGate& a, const ScanGate& b) {
    const auto same = [](const ScanGate& x, const ScanGate& y) {
        return x.offset == y.offset && x.mask == y.mask && x.value == y.value;
    };
    for (const auto& [knownA, knownB] : lowByteGates)
        if ((same(a, knownA) && same(b, knownB)) || (same(a, knownB) && same(b, knownA)))
            return;
    lowByteGates.emplace_back(a, b);
}

void CandidateFinder::markBlock(std::uint32_t start) {
    blockStart_ = start;
    blockLength_ = std::min(Block, end_ - start);
    const std::uint32_t n = blockLength_;
    const std::uint8_t* in = input_ + start;
    std::uint8_t* marks = marks_.data();
    const std::uint8_t* pairs = rules_.pairs.data();
    // Positions stay 64 bytes before the end, so the next byte is always there.
    for (std::uint32_t i = 0; i < n; ++i)
        marks[i] = pairs[in[i] | in[i + 1] << 8];
    for (const auto& [a, b] : rules_.lowByteGates) {
        // Positions whose gate bytes lie inside the input; the others fail the gate.
        const std::int64_t lowest = std::min(a.offset, b.offset);
        const std::int64_t highest = std::max(a.offset, b.offset);
        const std::int64_t first = std::max<std::int64_t>(0, -std::int64_t(start) - lowest);
        const std::int64_t last = std::min<std::int64_t>(n, std::int64_t(size_) - start - highest);
        const std::uint8_t* byteA = in + a.offset;
        const std::uint8_t* byteB = in + b.offset;
        for (std::int64_t i = first; i < last; ++i)
            marks[i] |= (in[i] <= 0x40) & ((byteA[i] & a.mask) == a.value) &
                        ((byteB[i] & b.mask) == b.value);
    }
}

std::uint32_t CandidateFinder::next(std::uint32_t position) {
    // Zero bytes are always candidates; answering them at once keeps zero runs free of any
    // block work (the scan skips them 63 bytes at a time).
    if (position < end_ && input_[position] == 0)
        return position;
    while (position < end_) {
        if (position < blockStart_ || position >= blockStart_ + blockLength_)
            markBlock(position);
        std::uint32_t i = position - blockStart_;
        // Eight marks at a time: most words are all zero.
        while (i + 8 <= blockLength_) {
            std::uint64_t word;
            std::memcpy(&word, marks_.data() + i, 8);
            if (word != 0)
                break;
            i += 8;
        }
        for (; i < blockLength_; ++i)
            if (marks_[i])
                return blockStart_ + i;
        position = blockStart_ + blockLength_;
    }
    return end_;
}
