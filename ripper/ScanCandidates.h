#pragma once
// Finds the next scan position worth a closer look, many positions at a time, and says why. A
// position is a candidate when its byte is 0 (zero-run skip), is the first byte of an active
// tag, is a digit that may start a channel-count tag, or is at most 0x40 and passes the gates of
// an active chain test (or some chain test has no gate). Every other position is one where the
// full scan would run no test that can accept, so skipping it changes no result.
//
// A position's marks are bits: kPairMark for the byte pairs (tags, specials, zero bytes,
// ungated chain tests), and one bit per gate pair (shared round-robin when there are more than
// seven), so the scan tries only the chain tests whose gates may hold there.
//
// Threading: a finder belongs to one scan on one thread.

#include <array>
#include <cstdint>
#include <vector>

#include "Formats.h"

inline constexpr std::uint8_t kPairMark = 1;

struct CandidateRules {
    CandidateRules() : pairs(1 << 16, 0) {}
    // Marks the positions whose byte is `first` and whose next byte is `second` (-1: any).
    void addPair(std::uint8_t first, int second);
    // One entry per (byte, next byte), indexed by byte | next byte << 8: kPairMark for a
    // candidate. One table lookup per position answers for every tag at once.
    std::vector<std::uint8_t> pairs;

    // Adds the gates of a chain test and returns the mark bit of positions where both hold (and
    // the byte is at most 0x40). A pair already there (members of one family often share
    // theirs) costs nothing more.
    std::uint8_t addGates(const ScanGate& a, const ScanGate& b);
    struct GatePair {
        ScanGate a, b;
        std::uint8_t bit;
    };
    // Distinct gate pairs of the active chain tests, checked together in one pass per block.
    std::vector<GatePair> gates;
};

class CandidateFinder {
public:
    CandidateFinder(const CandidateRules& rules, const std::uint8_t* input, std::uint32_t size,
                    std::uint32_t end)
        : rules_(rules), input_(input), size_(size), end_(end) {}

    // The first candidate at or after `position`, or `end` when there is none before it.
    std::uint32_t next(std::uint32_t position);
    // The marks of a position below `end` (0 for one that is not a candidate).
    std::uint8_t marksAt(std::uint32_t position);

private:
    static constexpr std::uint32_t Block = 1024;
    void markBlock(std::uint32_t start);
    void markGates(std::uint32_t start);

    const CandidateRules& rules_;
    const std::uint8_t* input_;
    std::uint32_t size_;
    std::uint32_t end_; // positions run below this
    std::uint32_t blockStart_ = 0;
    std::uint32_t blockLength_ = 0;
    alignas(64) std::array<std::uint8_t, Block> marks_{};
};
