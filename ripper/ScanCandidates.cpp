#include "ScanCandidates.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <emmintrin.h>
#define TAMBERLO_SCAN_SSE2 1
#endif

void CandidateRules::addPair(std::uint8_t first, int second) {
    for (unsigned next = 0; next < 256; ++next)
        if (second < 0 || unsigned(second) == next)
            pairs[first | next << 8] = kPairMark;
}

std::uint8_t CandidateRules::addGates(const ScanGate& a, const ScanGate& b) {
    const auto same = [](const ScanGate& x, const ScanGate& y) {
        return x.offset == y.offset && x.mask == y.mask && x.value == y.value;
    };
    for (const GatePair& known : gates)
        if ((same(a, known.a) && same(b, known.b)) || (same(a, known.b) && same(b, known.a)))
            return known.bit;
    const auto bit = static_cast<std::uint8_t>(2u << (gates.size() % 7));
    gates.push_back({a, b, bit});
    return bit;
}

namespace {
bool gateHolds(const std::uint8_t* at, const ScanGate& gate) {
    return (at[gate.offset] & gate.mask) == gate.value;
}
} // namespace

void CandidateFinder::markGates(std::uint32_t start) {
    const auto& gates = rules_.gates;
    if (gates.empty())
        return;
    const std::uint8_t* in = input_ + start;
    std::uint8_t* marks = marks_.data();
    const std::int64_t n = blockLength_;
    // Positions whose gate bytes all lie inside the input; the rest are checked one by one.
    std::int64_t lowest = 0, highest = 0;
    for (const auto& g : gates) {
        lowest = std::min<std::int64_t>({lowest, g.a.offset, g.b.offset});
        highest = std::max<std::int64_t>({highest, g.a.offset, g.b.offset});
    }
    const std::int64_t first = std::clamp<std::int64_t>(-std::int64_t(start) - lowest, 0, n);
    const std::int64_t last =
        std::clamp<std::int64_t>(std::int64_t(size_) - start - highest, first, n);
    const auto slow = [&](std::int64_t i) {
        if (in[i] > 0x40)
            return;
        for (const auto& g : gates) {
            const std::int64_t at = std::int64_t(start) + i;
            if (at + g.a.offset >= 0 && at + g.b.offset >= 0 && at + g.a.offset < size_ &&
                at + g.b.offset < size_ && gateHolds(in + i, g.a) && gateHolds(in + i, g.b))
                marks[i] |= g.bit;
        }
    };
    std::int64_t i = first;
#if defined(TAMBERLO_SCAN_SSE2)
    // Sixteen positions at a time, every gate pair in registers: one pass however many pairs.
    struct Wide {
        __m128i maskA, valueA, maskB, valueB, bit;
    };
    std::array<Wide, 32> wide;
    const std::size_t count = std::min(gates.size(), wide.size());
    for (std::size_t g = 0; g < count; ++g)
        wide[g] = {_mm_set1_epi8(char(gates[g].a.mask)), _mm_set1_epi8(char(gates[g].a.value)),
                   _mm_set1_epi8(char(gates[g].b.mask)), _mm_set1_epi8(char(gates[g].b.value)),
                   _mm_set1_epi8(char(gates[g].bit))};
    const __m128i limit = _mm_set1_epi8(0x40);
    const auto load = [](const std::uint8_t* p) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    };
    if (count == gates.size())
        for (; i + 16 <= last; i += 16) {
            const __m128i bytes = load(in + i);
            const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, limit), bytes);
            __m128i bits = _mm_setzero_si128();
            for (std::size_t g = 0; g < count; ++g) {
                const __m128i a = _mm_cmpeq_epi8(
                    _mm_and_si128(load(in + i + gates[g].a.offset), wide[g].maskA), wide[g].valueA);
                const __m128i b = _mm_cmpeq_epi8(
                    _mm_and_si128(load(in + i + gates[g].b.offset), wide[g].maskB), wide[g].valueB);
                bits = _mm_or_si128(bits, _mm_and_si128(_mm_and_si128(a, b), wide[g].bit));
            }
            const __m128i old = load(marks + i);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(marks + i),
                             _mm_or_si128(old, _mm_and_si128(bits, low)));
        }
#endif
    for (std::int64_t j = 0; j < first; ++j)
        slow(j);
    for (; i < n; ++i)
        slow(i);
}

void CandidateFinder::markBlock(std::uint32_t start) {
    blockStart_ = start;
    blockLength_ = std::min(Block, end_ - start);
    const std::uint32_t n = blockLength_;
    const std::uint8_t* in = input_ + start;
    std::uint8_t* marks = marks_.data();
    const std::uint8_t* pairs = rules_.pairs.data();
    // Positions stay 64 bytes before the end, so the next byte is always there.
    std::uint32_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        // Eight positions from one load: byte k of the word is in[i + k], so each shift gives a
        // position's byte and its next byte at once.
        for (; i + 8 <= n; i += 8) {
            std::uint64_t word;
            std::memcpy(&word, in + i, 8);
            for (unsigned k = 0; k < 7; ++k)
                marks[i + k] = pairs[word >> 8 * k & 0xFFFF];
            marks[i + 7] = pairs[word >> 56 | unsigned(in[i + 8]) << 8];
        }
    }
    for (; i < n; ++i)
        marks[i] = pairs[in[i] | in[i + 1] << 8];
    markGates(start);
}

std::uint8_t CandidateFinder::marksAt(std::uint32_t position) {
    if (position < blockStart_ || position >= blockStart_ + blockLength_)
        markBlock(position);
    return marks_[position - blockStart_];
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
