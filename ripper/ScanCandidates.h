#pragma once
// Finds the next scan position worth a closer look, a block of positions at a time. A position is
// a candidate when its byte is 0 (zero-run skip), is the first byte of an active tag, is a digit
// that may start a channel-count tag, or is at most 0x40 and passes the gates of an active chain
// test (or some chain test has no gate). Every other position is one where the full scan would
// run no test that can accept, so skipping it changes no result.
//
// How: one vector pass per block checks, 32 positions at once (16 without AVX2), whether a byte
// may start a pair and its next byte may follow one (nibble tables with AVX2, a few byte ranges
// otherwise; most random bytes are in neither), and where the chain-test gates hold (bit planes
// with AVX2, each distinct gate pair otherwise). Only the positions that may start a pair then
// look up the exact pair table.
//
// Threading: a finder belongs to one scan on one thread.

#include <array>
#include <cstdint>
#include <vector>

#include "Formats.h"

struct CandidateRules {
    CandidateRules() : pairs(1 << 10, 0) {}
    // Marks the positions whose byte is `first` and whose next byte is `second` (-1: any).
    void addPair(std::uint8_t first, int second);
    // Marks the positions whose byte is `byte` and whose previous byte is `previous`.
    void addPairEndingHere(std::uint8_t previous, std::uint8_t byte);
    // Adds the gates of a chain test. A pair already there (members of one family often share
    // theirs) costs nothing more.
    void addGates(const ScanGate& a, const ScanGate& b);
    // Call once after the last addPair: derives the byte ranges of the vector check.
    void finish();

    // One bit per (byte, next byte), numbered byte | next byte << 8: set for a candidate. As bits
    // the table stays in the first-level cache.
    std::vector<std::uint64_t> pairs;
    bool hasPair(unsigned index) const { return pairs[index >> 6] >> (index & 63) & 1; }
    // 16 copies of a byte, for the vector checks.
    struct alignas(16) Splat {
        std::uint8_t bytes[16];
    };
    static Splat splat(std::uint8_t byte);
    // Byte ranges (first, last - first) holding every byte other than 0 that starts a pair, and
    // ranges holding every byte that follows one of them. Zero bytes are always candidates.
    static constexpr std::size_t kRanges = 6;
    struct Ranges {
        std::array<Splat, kRanges> firsts{}, spans{};
    };
    Ranges starts, follows;
    // The pairs as nibble tables of up to eight classes, for the AVX2 pass: a byte b may start
    // a pair of the classes low[b & 15] & high[b >> 4] of startNibbles, and its next byte may
    // follow one of those of followNibbles; a class in both lets the position through.
    struct NibbleTables {
        Splat low, high;
    };
    NibbleTables startNibbles, followNibbles;
    // Bytes that start a pair whatever follows (one-byte tags), checked on their own so that
    // they do not widen the sets of following bytes to every byte.
    static constexpr std::size_t kMaxSingles = 4;
    std::array<Splat, kMaxSingles> singles{};
    std::size_t singleCount = 0;
    // Pairs marked at their second byte (a one-byte tag that needs a given byte before it).
    struct EndingPair {
        Splat previous, byte;
    };
    std::vector<EndingPair> endingPairs;
    bool endsPair(std::uint8_t previous, std::uint8_t byte) const {
        for (const EndingPair& pair : endingPairs)
            if (previous == pair.previous.bytes[0] && byte == pair.byte.bytes[0])
                return true;
        return false;
    }
    struct GatePair {
        ScanGate a, b;
        Splat maskA, valueA, maskB, valueB;
    };
    // Distinct gate pairs of the active chain tests.
    std::vector<GatePair> gates;

    // The gates as bit planes, for the AVX2 pass over whole blocks: one plane per distinct
    // (mask, value), a bit per byte of the block and the gates' reach around it; a pair holds
    // where its two planes, shifted by the gates' offsets, both have their bit. The cost grows
    // with the number of planes, and only a little with the number of pairs.
    struct PlaneClass {
        Splat mask, value;
    };
    std::vector<PlaneClass> planeClasses;
    struct PlanePair {
        std::uint16_t classA, classB;
        std::uint16_t offsetA, offsetB; // gate offset minus lowestOffset: 0..255
    };
    std::vector<PlanePair> planePairs;
    // Over all gates, and 0 (and -1 with ending pairs): the reach of a position's checks.
    int lowestOffset = 0, highestOffset = 0;
};

// Positions of a block, and the bytes of its gate region: the block and the gates' reach.
constexpr std::uint32_t kBlockPositions = 1024;
constexpr std::uint32_t kGateRegion = kBlockPositions + 256;
// A plane's bytes: a bit per region byte, and room for the shifted reads past its end.
constexpr std::uint32_t kPlaneBytes = kGateRegion / 8 + 48;

// The AVX2 gate pass (defined only where TAMBERLO_SCAN_AVX2 is): sets bit k % 32 of gates[k / 32]
// when some pair's gates hold at block position k, for all kBlockPositions positions. `region`
// is the input at block start + lowestOffset, kGateRegion bytes of it readable; `planes` holds
// kPlaneBytes per plane class.
void gateWordsAvx2(const CandidateRules& rules, const std::uint8_t* region, std::uint8_t* planes,
                   std::uint32_t* gates);

class CandidateFinder {
public:
    CandidateFinder(const CandidateRules& rules, const std::uint8_t* input, std::uint32_t size,
                    std::uint32_t end)
        : rules_(rules), input_(input), size_(size), end_(end),
          planes_(rules.planeClasses.size() * kPlaneBytes) {}

    // The first candidate at or after `position`, or `end` when there is none before it.
    std::uint32_t next(std::uint32_t position);
    // True when the gates of some chain test hold at `position` (below `end`).
    bool gatesHoldAt(std::uint32_t position) {
        if (!inBlock(position))
            markBlock(position);
        const std::uint32_t offset = position - blockStart_;
        return gateHits_[offset / 64] >> (offset % 64) & 1;
    }

private:
    static constexpr std::uint32_t Block = kBlockPositions;
    void markBlock(std::uint32_t start);
    bool inBlock(std::uint32_t position) const {
        return position >= blockStart_ && position - blockStart_ < blockLength_;
    }

    const CandidateRules& rules_;
    const std::uint8_t* input_;
    std::uint32_t size_;
    std::uint32_t end_; // positions run below this
    std::uint32_t blockStart_ = 0;
    std::uint32_t blockLength_ = 0;
    std::array<std::uint64_t, Block / 64> candidates_{}; // bit per position of the block
    std::array<std::uint64_t, Block / 64> gateHits_{};   // the positions where gates hold
    std::vector<std::uint8_t> planes_; // the gate planes of a block: kPlaneBytes per class
};
