#pragma once
// Finds the next scan position worth a closer look, many positions at a time. A position is a
// candidate when its byte is 0 (zero-run skip), is the first byte of an active tag, is a digit
// that may start a channel-count tag, or is at most 0x40 and passes the gate of an active chain
// test (or some chain test has no gate). Every other position is one where the full scan would
// run no test that can accept, so skipping it changes no result.
//
// Threading: a finder belongs to one scan on one thread.

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "Formats.h"

struct CandidateRules {
    CandidateRules() : pairs(1 << 16, 0) {}
    // Marks the positions whose byte is `first` and whose next byte is `second` (-1: any).
    void addPair(std::uint8_t first, int second);
    // One entry per (byte, next byte), indexed by byte | next byte << 8: 1 for a candidate. One
    // table lookup per position answers for every tag at once, however many tags are active.
    std::vector<std::uint8_t> pairs;
    // Adds the gates of a chain test; a pair already there (members of one family often share
    // theirs) costs nothing more.
    void addGates(const ScanGate& a, const ScanGate& b);
    // Distinct gate pairs of the active chain tests: one vectorised pass over each block each.
    std::vector<std::pair<ScanGate, ScanGate>> lowByteGates;
};

class CandidateFinder {
public:
    CandidateFinder(const CandidateRules& rules, const std::uint8_t* input, std::uint32_t size,
                    std::uint32_t end)
        : rules_(rules), input_(input), size_(size), end_(end) {}

    // The first candidate at or after `position`, or `end` when there is none before it.
    std::uint32_t next(std::uint32_t position);

private:
    static constexpr std::uint32_t Block = 1024;
    void markBlock(std::uint32_t start);

    const CandidateRules& rules_;
    const std::uint8_t* input_;
    std::uint32_t size_;
    std::uint32_t end_; // positions run below this
    std::uint32_t blockStart_ = 0;
    std::uint32_t blockLength_ = 0;
    alignas(64) std::array<std::uint8_t, Block> marks_{};
};
