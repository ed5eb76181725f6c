#include "ScanCandidates.h"

#include <algorithm>
#include <cstring>

void CandidateFinder::markBlock(std::uint32_t start) {
    blockStart_ = start;
    blockLength_ = std::min(Block, end_ - start);
    const std::uint32_t n = blockLength_;
    const std::uint8_t* in = input_ + start;
    std::uint8_t* marks = marks_.data();
    // Written as simple loops over the block so that the compiler vectorises them.
    const std::uint8_t lowMark = rules_.everyLowByte ? 1 : 0;
    for (std::uint32_t i = 0; i < n; ++i)
        marks[i] = (in[i] == 0) | ((in[i] <= 0x40) & lowMark);
    for (const auto& [first, second] : rules_.exactBytes) {
        if (second < 0) {
            for (std::uint32_t i = 0; i < n; ++i)
                marks[i] |= in[i] == first;
        } else {
            const auto next = static_cast<std::uint8_t>(second);
            for (std::uint32_t i = 0; i < n; ++i)
                marks[i] |= (in[i] == first) & (in[i + 1] == next);
        }
    }
    // "1CHN" .. "9CHN" and "10CH" .. "31CH": a digit followed by 'C' or a digit. Positions stay
    // 64 bytes before the end, so the next byte is always there.
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint8_t next = in[i + 1];
        marks[i] |= (static_cast<std::uint8_t>(in[i] - '1') < 9) &
                    ((next == 'C') | (static_cast<std::uint8_t>(next - '0') < 10));
    }
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
