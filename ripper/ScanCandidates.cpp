#include "ScanCandidates.h"
#include "ScanSimd.h"

#include <algorithm>
#include <bit>
#include <cstring>

void CandidateRules::addPair(std::uint8_t first, int second) {
    for (unsigned next = 0; next < 256; ++next)
        if (second < 0 || unsigned(second) == next)
            pairs[(first | next << 8) >> 6] |= 1ull << (first & 63);
}

CandidateRules::Splat CandidateRules::splat(std::uint8_t byte) {
    Splat splat;
    std::memset(splat.bytes, byte, sizeof splat.bytes);
    return splat;
}

void CandidateRules::addGates(const ScanGate& a, const ScanGate& b) {
    const auto same = [](const ScanGate& x, const ScanGate& y) {
        return x.offset == y.offset && x.mask == y.mask && x.value == y.value;
    };
    for (const GatePair& known : gates)
        if ((same(a, known.a) && same(b, known.b)) || (same(a, known.b) && same(b, known.a)))
            return;
    gates.push_back({a, b, splat(a.mask), splat(a.value), splat(b.mask), splat(b.value)});
}

namespace {
// Sorted runs of the bytes in `set`, the closest merged until at most `count` are left (a few
// extra bytes only cost a table lookup each), as ranges; unused ranges repeat the first one.
CandidateRules::Ranges rangesOf(const std::array<bool, 256>& set, std::size_t count) {
    struct Run {
        unsigned first, last;
    };
    std::vector<Run> runs;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (!set[byte])
            continue;
        if (!runs.empty() && runs.back().last + 1 == byte)
            runs.back().last = byte;
        else
            runs.push_back({byte, byte});
    }
    while (runs.size() > count) {
        std::size_t closest = 0;
        for (std::size_t i = 1; i + 1 < runs.size(); ++i)
            if (runs[i + 1].first - runs[i].last < runs[closest + 1].first - runs[closest].last)
                closest = i;
        runs[closest].last = runs[closest + 1].last;
        runs.erase(runs.begin() + std::ptrdiff_t(closest) + 1);
    }
    CandidateRules::Ranges ranges;
    if (runs.empty()) // nothing starts a pair: a range that no byte but 0 falls in
        runs.push_back({0, 0});
    for (std::size_t r = 0; r < count; ++r) {
        const Run& run = r < runs.size() ? runs[r] : runs[0];
        ranges.firsts[r] = CandidateRules::splat(std::uint8_t(run.first));
        ranges.spans[r] = CandidateRules::splat(std::uint8_t(run.last - run.first));
    }
    return ranges;
}

// High nibbles with the same set of low nibbles form a class; while there are more than eight
// classes, the two whose union adds the fewest bytes are merged.
CandidateRules::NibbleTables nibbleTablesOf(const std::array<bool, 256>& set) {
    struct Class {
        std::uint16_t highs = 0, lows = 0;
    };
    std::vector<Class> classes;
    for (unsigned high = 0; high < 16; ++high) {
        std::uint16_t lows = 0;
        for (unsigned low = 0; low < 16; ++low)
            lows |= std::uint16_t(set[high << 4 | low] << low);
        if (lows == 0)
            continue;
        auto same = std::find_if(classes.begin(), classes.end(),
                                 [&](const Class& c) { return c.lows == lows; });
        if (same == classes.end())
            classes.push_back({std::uint16_t(1u << high), lows});
        else
            same->highs |= std::uint16_t(1u << high);
    }
    const auto bytes = [](const Class& c) {
        return std::popcount(c.highs) * std::popcount(c.lows);
    };
    while (classes.size() > 8) {
        std::size_t bestA = 0, bestB = 1;
        int bestCost = 1 << 30;
        for (std::size_t a = 0; a < classes.size(); ++a)
            for (std::size_t b = a + 1; b < classes.size(); ++b) {
                const Class merged{std::uint16_t(classes[a].highs | classes[b].highs),
                                   std::uint16_t(classes[a].lows | classes[b].lows)};
                const int cost = bytes(merged) - bytes(classes[a]) - bytes(classes[b]);
                if (cost < bestCost) {
                    bestCost = cost;
                    bestA = a;
                    bestB = b;
                }
            }
        classes[bestA].highs |= classes[bestB].highs;
        classes[bestA].lows |= classes[bestB].lows;
        classes.erase(classes.begin() + std::ptrdiff_t(bestB));
    }
    CandidateRules::NibbleTables tables{};
    for (std::size_t c = 0; c < classes.size(); ++c)
        for (unsigned nibble = 0; nibble < 16; ++nibble) {
            if (classes[c].highs >> nibble & 1)
                tables.high.bytes[nibble] |= std::uint8_t(1u << c);
            if (classes[c].lows >> nibble & 1)
                tables.low.bytes[nibble] |= std::uint8_t(1u << c);
        }
    return tables;
}
} // namespace

void CandidateRules::finish() {
    singleCount = 0;
    std::array<bool, 256> single{};
    for (unsigned byte = 1; byte < 256 && singleCount < kMaxSingles; ++byte) {
        unsigned next = 0;
        while (next < 256 && hasPair(byte | next << 8))
            ++next;
        if (next == 256) {
            single[byte] = true;
            singles[singleCount++] = splat(std::uint8_t(byte));
        }
    }
    std::array<bool, 256> first{}, second{};
    for (unsigned index = 0; index < (1u << 16); ++index)
        if (hasPair(index) && (index & 0xFF) != 0 && !single[index & 0xFF]) {
            first[index & 0xFF] = true;
            second[index >> 8] = true;
        }
    starts = rangesOf(first, kRanges);
    follows = rangesOf(second, kRanges);
    startNibbles = nibbleTablesOf(first);
    followNibbles = nibbleTablesOf(second);

    lowestOffset = highestOffset = 0;
    for (const GatePair& pair : gates)
        for (const ScanGate& gate : {pair.a, pair.b}) {
            lowestOffset = std::min<int>(lowestOffset, gate.offset);
            highestOffset = std::max<int>(highestOffset, gate.offset);
        }
    planeClasses.clear();
    planePairs.clear();
    const auto classOf = [&](const ScanGate& gate) {
        for (std::size_t c = 0; c < planeClasses.size(); ++c)
            if (planeClasses[c].mask.bytes[0] == gate.mask &&
                planeClasses[c].value.bytes[0] == gate.value)
                return std::uint16_t(c);
        planeClasses.push_back({splat(gate.mask), splat(gate.value)});
        return std::uint16_t(planeClasses.size() - 1);
    };
    for (const GatePair& pair : gates)
        planePairs.push_back({classOf(pair.a), classOf(pair.b),
                              std::uint16_t(pair.a.offset - lowestOffset),
                              std::uint16_t(pair.b.offset - lowestOffset)});
}

namespace {
// One bit per position of a chunk of up to 32.
struct ChunkBits {
    std::uint32_t maybePair; // a zero byte, or a byte and its next byte in the pair ranges
    std::uint32_t gates;     // the byte is at most 0x40 and some chain test's gates hold
};

// The one-position form of the checks: near the ends of the input (gate bytes outside it fail)
// and on targets without SSE2.
ChunkBits positionBits(const CandidateRules& rules, const std::uint8_t* input, std::int64_t size,
                       std::int64_t at, unsigned count) {
    ChunkBits bits{0, 0};
    for (unsigned k = 0; k < count; ++k) {
        const std::uint8_t byte = input[at + k];
        const auto in = [](const CandidateRules::Ranges& ranges, std::uint8_t value) {
            for (std::size_t r = 0; r < CandidateRules::kRanges; ++r)
                if (std::uint8_t(value - ranges.firsts[r].bytes[0]) <= ranges.spans[r].bytes[0])
                    return true;
            return false;
        };
        const auto isSingle = [&] {
            for (std::size_t i = 0; i < rules.singleCount; ++i)
                if (byte == rules.singles[i].bytes[0])
                    return true;
            return false;
        };
        if (byte == 0 || isSingle() ||
            (in(rules.starts, byte) && in(rules.follows, input[at + k + 1])))
            bits.maybePair |= 1u << k;
        if (byte > 0x40)
            continue;
        for (const auto& gate : rules.gates) {
            const std::int64_t a = at + k + gate.a.offset;
            const std::int64_t b = at + k + gate.b.offset;
            if (a >= 0 && b >= 0 && a < size && b < size &&
                (input[a] & gate.a.mask) == gate.a.value &&
                (input[b] & gate.b.mask) == gate.b.value)
                bits.gates |= 1u << k;
        }
    }
    return bits;
}

#if defined(TAMBERLO_SCAN_SSE2)
__m128i load(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
__m128i load(const CandidateRules::Splat& splat) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(splat.bytes));
}

// Sixteen positions from p, all of whose gate bytes lie inside the input.
ChunkBits chunkBits(const CandidateRules& rules, const std::uint8_t* p) {
    const auto in = [](__m128i bytes, const CandidateRules::Ranges& ranges) {
        __m128i any = _mm_setzero_si128();
        for (std::size_t r = 0; r < CandidateRules::kRanges; ++r) {
            const __m128i above = _mm_sub_epi8(bytes, load(ranges.firsts[r]));
            any = _mm_or_si128(any,
                               _mm_cmpeq_epi8(_mm_min_epu8(above, load(ranges.spans[r])), above));
        }
        return any;
    };
    const __m128i bytes = load(p);
    __m128i maybe =
        _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()),
                     _mm_and_si128(in(bytes, rules.starts), in(load(p + 1), rules.follows)));
    for (std::size_t i = 0; i < rules.singleCount; ++i)
        maybe = _mm_or_si128(maybe, _mm_cmpeq_epi8(bytes, load(rules.singles[i])));
    __m128i gates = _mm_setzero_si128();
    for (const auto& gate : rules.gates) {
        const __m128i a = _mm_cmpeq_epi8(_mm_and_si128(load(p + gate.a.offset), load(gate.maskA)),
                                         load(gate.valueA));
        const __m128i b = _mm_cmpeq_epi8(_mm_and_si128(load(p + gate.b.offset), load(gate.maskB)),
                                         load(gate.valueB));
        gates = _mm_or_si128(gates, _mm_and_si128(a, b));
    }
    const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x40)), bytes);
    return {std::uint32_t(_mm_movemask_epi8(maybe)),
            std::uint32_t(_mm_movemask_epi8(_mm_and_si128(gates, low)))};
}
#endif

#if defined(TAMBERLO_SCAN_AVX2)
__attribute__((target("avx2"))) inline __m256i load32(const std::uint8_t* at) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}
__attribute__((target("avx2"))) inline __m256i splat32(const CandidateRules::Splat& splat) {
    return _mm256_broadcastsi128_si256(
        _mm_load_si128(reinterpret_cast<const __m128i*>(splat.bytes)));
}

// Sets bits[c] bit k when byte 32c + k from `from` is in the set of `tables`.
__attribute__((target("avx2"))) void nibbleBits32(std::uint32_t* bits, const std::uint8_t* from,
                                                  std::uint32_t chunks,
                                                  const CandidateRules::NibbleTables& tables) {
    const __m256i low = splat32(tables.low), high = splat32(tables.high);
    const __m256i nibble = _mm256_set1_epi8(0x0F), zero = _mm256_setzero_si256();
    for (std::uint32_t c = 0; c < chunks; ++c) {
        const __m256i bytes = load32(from + 32 * c);
        const __m256i classes = _mm256_and_si256(
            _mm256_shuffle_epi8(low, _mm256_and_si256(bytes, nibble)),
            _mm256_shuffle_epi8(high, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble)));
        bits[c] = ~std::uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(classes, zero)));
    }
}

// The same for `chunks` chunks of 32 positions from p, all inside the input. Each range and
// gate is one loop over the chunks, so its constants stay in registers across the block.
__attribute__((target("avx2"))) void blockBits32(const CandidateRules& rules, const std::uint8_t* p,
                                                 std::uint32_t chunks, std::uint8_t* planes,
                                                 ChunkBits* out) {
    constexpr std::uint32_t kMaxChunks = kBlockPositions / 32;
    std::uint32_t starts[kMaxChunks], follows[kMaxChunks], gates[kMaxChunks];
    nibbleBits32(starts, p, chunks, rules.startNibbles);
    nibbleBits32(follows, p + 1, chunks, rules.followNibbles);
    gateWordsAvx2(rules, p + rules.lowestOffset, planes, gates);
    const __m256i zero = _mm256_setzero_si256(), lowest = _mm256_set1_epi8(0x40);
    for (std::uint32_t c = 0; c < chunks; ++c) {
        const __m256i bytes = load32(p + 32 * c);
        __m256i starters = _mm256_cmpeq_epi8(bytes, zero);
        for (std::size_t i = 0; i < rules.singleCount; ++i)
            starters =
                _mm256_or_si256(starters, _mm256_cmpeq_epi8(bytes, splat32(rules.singles[i])));
        const auto alone = std::uint32_t(_mm256_movemask_epi8(starters));
        const auto low = std::uint32_t(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(bytes, lowest), bytes)));
        out[c] = {alone | (starts[c] & follows[c]), gates[c] & low};
    }
}

#endif
} // namespace

void CandidateFinder::markBlock(std::uint32_t start) {
    blockStart_ = start;
    blockLength_ = std::min(Block, end_ - start);
    candidates_.fill(0);
    gateHits_.fill(0);
    const std::int64_t lowest = rules_.lowestOffset, highest = rules_.highestOffset;
    // Chunks of 32 positions (two of sixteen without AVX2); the bytes read for positions past
    // the block still lie inside the input, as the scan stops 64 bytes before its end.
    const std::uint32_t chunks = (blockLength_ + 31) / 32;
    std::array<ChunkBits, Block / 32> blockBits;
    bool blockDone = false;
#if defined(TAMBERLO_SCAN_AVX2)
    // A whole block whose gate region lies inside the input.
    const std::int64_t region = std::int64_t(start) + lowest;
    if (blockLength_ == Block && region >= 0 && region + kGateRegion <= size_ && hasAvx2()) {
        blockBits32(rules_, input_ + start, chunks, planes_.data(), blockBits.data());
        blockDone = true;
    }
#endif
    for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
        const std::int64_t at = std::int64_t(start) + 32 * chunk;
        ChunkBits bits;
        const bool inside = at + lowest >= 0 && at + 31 + highest < std::int64_t(size_);
        if (blockDone)
            bits = blockBits[chunk];
        else
#if defined(TAMBERLO_SCAN_SSE2)
            if (inside) {
            const ChunkBits low = chunkBits(rules_, input_ + at);
            const ChunkBits high = chunkBits(rules_, input_ + at + 16);
            bits = {low.maybePair | high.maybePair << 16, low.gates | high.gates << 16};
        } else
#endif
            bits = positionBits(rules_, input_, size_, at, 32);
        // The exact pair check for the few positions in a range; the next byte is always there.
        std::uint32_t pairs = 0;
        for (std::uint32_t maybe = bits.maybePair; maybe != 0; maybe &= maybe - 1) {
            const int k = std::countr_zero(maybe);
            const std::uint8_t* p = input_ + at + k;
            pairs |= std::uint32_t(rules_.hasPair(p[0] | p[1] << 8)) << k;
        }
        candidates_[chunk / 2] |= std::uint64_t(pairs | bits.gates) << 32 * (chunk % 2);
        gateHits_[chunk / 2] |= std::uint64_t(bits.gates) << 32 * (chunk % 2);
    }
    // Positions past the block are never candidates here.
    if (blockLength_ < Block) {
        for (std::uint32_t w = 0; w < candidates_.size(); ++w) {
            const std::uint32_t first = 64 * w;
            if (first >= blockLength_)
                candidates_[w] = 0;
            else if (blockLength_ - first < 64)
                candidates_[w] &= (1ull << (blockLength_ - first)) - 1;
        }
    }
}

std::uint32_t CandidateFinder::next(std::uint32_t position) {
    // Zero bytes are always candidates; answering them at once keeps zero runs free of any
    // block work (the scan skips them 63 bytes at a time).
    if (position < end_ && input_[position] == 0)
        return position;
    while (position < end_) {
        if (!inBlock(position))
            markBlock(position);
        const std::uint32_t offset = position - blockStart_;
        std::uint32_t w = offset / 64;
        std::uint64_t bits = candidates_[w] & (~0ull << (offset % 64));
        while (bits == 0 && ++w < candidates_.size())
            bits = candidates_[w];
        if (bits != 0)
            return blockStart_ + 64 * w + std::uint32_t(std::countr_zero(bits));
        position = blockStart_ + blockLength_;
    }
    return end_;
}
