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

void CandidateRules::addPairEndingHere(std::uint8_t previous, std::uint8_t byte) {
    endingPairs.push_back({splat(previous), splat(byte)});
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

// Pair classes for the nibble tables: each class is a rectangle of first bytes (high nibbles x
// low nibbles) and one of the bytes that may follow them. It starts as one class per first byte;
// while there are more than eight, the two whose merging lets the fewest extra pairs through
// are merged. A pair is let through when a class holds both its bytes.
struct PairClass {
    std::uint16_t firstHighs = 0, firstLows = 0, nextHighs = 0, nextLows = 0;
    long pairs() const {
        return long(std::popcount(firstHighs)) * std::popcount(firstLows) *
               std::popcount(nextHighs) * std::popcount(nextLows);
    }
    PairClass merged(const PairClass& other) const {
        return {std::uint16_t(firstHighs | other.firstHighs),
                std::uint16_t(firstLows | other.firstLows),
                std::uint16_t(nextHighs | other.nextHighs),
                std::uint16_t(nextLows | other.nextLows)};
    }
};

std::vector<PairClass> pairClassesOf(const CandidateRules& rules,
                                     const std::array<bool, 256>& first) {
    std::vector<PairClass> classes;
    for (unsigned byte = 1; byte < 256; ++byte) {
        if (!first[byte])
            continue;
        PairClass c{std::uint16_t(1u << (byte >> 4)), std::uint16_t(1u << (byte & 15)), 0, 0};
        for (unsigned next = 0; next < 256; ++next)
            if (rules.hasPair(byte | next << 8)) {
                c.nextHighs |= std::uint16_t(1u << (next >> 4));
                c.nextLows |= std::uint16_t(1u << (next & 15));
            }
        classes.push_back(c);
    }
    while (classes.size() > 8) {
        std::size_t bestA = 0, bestB = 1;
        long bestCost = -1;
        for (std::size_t x = 0; x < classes.size(); ++x)
            for (std::size_t y = x + 1; y < classes.size(); ++y) {
                const long cost =
                    classes[x].merged(classes[y]).pairs() - classes[x].pairs() - classes[y].pairs();
                if (bestCost < 0 || cost < bestCost) {
                    bestCost = cost;
                    bestA = x;
                    bestB = y;
                }
            }
        classes[bestA] = classes[bestA].merged(classes[bestB]);
        classes.erase(classes.begin() + std::ptrdiff_t(bestB));
    }
    return classes;
}

void setTables(const std::vector<PairClass>& classes, CandidateRules::NibbleTables& firsts,
               CandidateRules::NibbleTables& nexts) {
    firsts = nexts = {};
    for (std::size_t c = 0; c < classes.size(); ++c)
        for (unsigned nibble = 0; nibble < 16; ++nibble) {
            const auto bit = std::uint8_t(1u << c);
            firsts.high.bytes[nibble] |= classes[c].firstHighs >> nibble & 1 ? bit : 0;
            firsts.low.bytes[nibble] |= classes[c].firstLows >> nibble & 1 ? bit : 0;
            nexts.high.bytes[nibble] |= classes[c].nextHighs >> nibble & 1 ? bit : 0;
            nexts.low.bytes[nibble] |= classes[c].nextLows >> nibble & 1 ? bit : 0;
        }
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
    setTables(pairClassesOf(*this, first), startNibbles, followNibbles);

    lowestOffset = endingPairs.empty() ? 0 : -1;
    highestOffset = 0;
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
    std::uint32_t exact = 0; // candidates that need no pair table check
};

// The one-position form of the checks: near the ends of the input (gate bytes outside it fail)
// and on targets without SSE2.
ChunkBits positionBits(const CandidateRules& rules, const std::uint8_t* input, std::int64_t size,
                       std::int64_t at, unsigned count) {
    ChunkBits bits{0, 0, 0};
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
        const auto endsPair = [&] {
            for (const auto& pair : rules.endingPairs)
                if (at + k >= 1 && input[at + k - 1] == pair.previous.bytes[0] &&
                    byte == pair.byte.bytes[0])
                    return true;
            return false;
        };
        if (byte == 0 || isSingle() || endsPair() ||
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
    for (const auto& pair : rules.endingPairs)
        maybe = _mm_or_si128(maybe, _mm_and_si128(_mm_cmpeq_epi8(load(p - 1), load(pair.previous)),
                                                  _mm_cmpeq_epi8(bytes, load(pair.byte))));
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

// The classes (a bit each) that byte b may belong to, by the nibble tables.
__attribute__((target("avx2"))) inline __m256i classesOf(__m256i bytes, __m256i low, __m256i high) {
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    return _mm256_and_si256(
        _mm256_shuffle_epi8(low, _mm256_and_si256(bytes, nibble)),
        _mm256_shuffle_epi8(high, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble)));
}

// Sets bits[c] bit k when the bytes 32c + k and 32c + k + 1 from `from` share a pair class.
__attribute__((target("avx2"))) void pairClassBits32(std::uint32_t* bits, const std::uint8_t* from,
                                                     std::uint32_t chunks,
                                                     const CandidateRules& rules) {
    const __m256i firstLow = splat32(rules.startNibbles.low);
    const __m256i firstHigh = splat32(rules.startNibbles.high);
    const __m256i nextLow = splat32(rules.followNibbles.low);
    const __m256i nextHigh = splat32(rules.followNibbles.high);
    const __m256i zero = _mm256_setzero_si256();
    for (std::uint32_t c = 0; c < chunks; ++c) {
        const __m256i shared =
            _mm256_and_si256(classesOf(load32(from + 32 * c), firstLow, firstHigh),
                             classesOf(load32(from + 32 * c + 1), nextLow, nextHigh));
        bits[c] = ~std::uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(shared, zero)));
    }
}

// The same for `chunks` chunks of 32 positions from p, all inside the input. Each range and
// gate is one loop over the chunks, so its constants stay in registers across the block.
__attribute__((target("avx2"))) void blockBits32(const CandidateRules& rules, const std::uint8_t* p,
                                                 std::uint32_t chunks, std::uint8_t* planes,
                                                 ChunkBits* out) {
    constexpr std::uint32_t kMaxChunks = kBlockPositions / 32;
    std::uint32_t pairs[kMaxChunks], gates[kMaxChunks];
    pairClassBits32(pairs, p, chunks, rules);
    gateWordsAvx2(rules, p + rules.lowestOffset, planes, gates);
    const __m256i zero = _mm256_setzero_si256(), lowest = _mm256_set1_epi8(0x40);
    for (std::uint32_t c = 0; c < chunks; ++c) {
        const __m256i bytes = load32(p + 32 * c);
        __m256i starters = _mm256_cmpeq_epi8(bytes, zero);
        for (std::size_t i = 0; i < rules.singleCount; ++i)
            starters =
                _mm256_or_si256(starters, _mm256_cmpeq_epi8(bytes, splat32(rules.singles[i])));
        for (const auto& pair : rules.endingPairs)
            starters = _mm256_or_si256(
                starters,
                _mm256_and_si256(_mm256_cmpeq_epi8(load32(p + 32 * c - 1), splat32(pair.previous)),
                                 _mm256_cmpeq_epi8(bytes, splat32(pair.byte))));
        const auto alone = std::uint32_t(_mm256_movemask_epi8(starters));
        const auto low = std::uint32_t(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(bytes, lowest), bytes)));
        out[c] = {pairs[c], gates[c] & low, alone};
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
            pairs |= std::uint32_t(rules_.hasPair(p[0] | p[1] << 8) ||
                                   (p > input_ && rules_.endsPair(p[-1], p[0])))
                     << k;
        }
        candidates_[chunk / 2] |= std::uint64_t(pairs | bits.gates | bits.exact)
                                  << 32 * (chunk % 2);
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
