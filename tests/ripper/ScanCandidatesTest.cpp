// The scan's candidate pre-pass against the plain definition of a candidate, position by
// position: a zero byte, a byte and its next byte in the pair table, or a byte of at most 0x40
// where both gates of some pair hold. Whichever vector form the machine runs (and near the ends
// of the input, the one-position form) must mark exactly these.
#include "ScanCandidates.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {
struct Rules {
    const char* name;
    std::vector<std::pair<int, int>> pairs; // second -1: any next byte
    std::vector<std::pair<ScanGate, ScanGate>> gates;
    std::vector<std::pair<int, int>> endingPairs{}; // (previous byte, byte)
};

const Rules kRules[] = {
    {"tags only", {{'M', '.'}, {'W', 'N'}, {0xAC, 0x1D}}, {}},
    {"single-byte tags", {{'<', -1}, {0xC0, -1}, {'1', 'C'}}, {}},
    {"a byte after a given byte", {{'M', '.'}}, {{{-1, 0xF0, 0}, {5, 0xF0, 0}}}, {{0x03, 0xC0}}},
    {"gates of every kind",
     {{'M', '.'}},
     {{{-14, 0x0F, 0x0C}, {-15, 0x0E, 0}},
      {{30, 0xFF, 0}, {60, 0xFF, 0}},
      {{-1, 0xF0, 0}, {5, 0xF0, 0}},
      {{0, 0xFF, 0x3C}, {8, 0xFF, 0x7F}}}},
    {"gates at the widest reach",
     {},
     {{{-128, 0xF0, 0}, {127, 0x0F, 0}}, {{-128, 0, 0}, {-128, 0, 0}}}},
};

TEST(ScanCandidates, MarksExactlyThePositionsTheRulesDescribe) {
    for (const Rules& set : kRules) {
        SCOPED_TRACE(set.name);
        CandidateRules rules;
        rules.addPair(0, -1);
        for (auto [first, second] : set.pairs)
            rules.addPair(std::uint8_t(first), second);
        for (const auto& [a, b] : set.gates)
            rules.addGates(a, b);
        for (auto [previous, byte] : set.endingPairs)
            rules.addPairEndingHere(std::uint8_t(previous), std::uint8_t(byte));
        rules.finish();
        // Random bytes, with the bytes the rules look for made common.
        std::vector<std::uint8_t> input(300000);
        std::mt19937 random(7);
        for (auto& byte : input)
            byte = random() % 4 == 0 ? "\0\x0c\x3cM.WN<\xc0\x7f\x03"[random() % 11] : random();
        const auto size = std::uint32_t(input.size()), end = size - 64;
        CandidateFinder finder(rules, input.data(), size, end);
        std::vector<bool> found(end);
        for (std::uint32_t p = finder.next(0); p < end; p = finder.next(p + 1))
            found[p] = true;
        int wrong = 0;
        for (std::uint32_t p = 0; p < end; ++p) {
            bool gates = false;
            for (const auto& [a, b] : set.gates) {
                const auto holds = [&](const ScanGate& gate) {
                    const std::int64_t at = std::int64_t(p) + gate.offset;
                    return at >= 0 && at < size && (input[at] & gate.mask) == gate.value;
                };
                gates = gates || (input[p] <= 0x40 && holds(a) && holds(b));
            }
            bool endsPair = false;
            for (auto [previous, byte] : set.endingPairs)
                endsPair = endsPair || (p >= 1 && input[p - 1] == previous && input[p] == byte);
            const bool expected =
                input[p] == 0 || rules.hasPair(input[p] | input[p + 1] << 8) || gates || endsPair;
            wrong += found[p] != expected || finder.gatesHoldAt(p) != gates;
        }
        EXPECT_EQ(wrong, 0);
    }
}
} // namespace
