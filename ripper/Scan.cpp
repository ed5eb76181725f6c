#include "Scan.h"

#include "Formats.h"
#include "InputBytes.h"
#include "ScanCandidates.h"
#include "ScanOrder.h"
#include "formats/MultiChannel.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {
struct ActiveChainEntry {
    const FormatSteps* steps;
    const char* refusedMessage;
    int gatePair = -1; // index into ActiveScanOrder::gatePairs; -1: not gated
};

struct ActiveTagRow {
    const TagRow* row;
    std::vector<const FormatSteps*> steps; // only the built formats of the row, in order
};

// The scan order restricted to the formats that are built. Formats without a test would reject
// anyway, so leaving them out changes no result and keeps most positions at one comparison.
struct ActiveScanOrder {
    std::vector<ActiveChainEntry> chain;
    std::array<std::vector<ActiveTagRow>, 256> tagsByFirstByte;
    const FormatSteps* powerMusic = nullptr;
    const FormatSteps* xann = nullptr;
    bool ungatedChain = false; // a chain test without gates runs at every byte up to 0x40
    // The distinct gate pairs of the chain tests (families share theirs), checked once a
    // position rather than once a test.
    std::vector<std::array<ScanGate, 2>> gatePairs;
    CandidateRules candidates;

    int pairIndexOf(const ScanGate (&gates)[2]);
    ActiveScanOrder() {
        for (const ChainEntry& entry : chainOrder())
            if (formatSteps(entry.format).test)
                chain.push_back({&formatSteps(entry.format), entry.refusedMessage});
        for (const TagRow& row : tagRows()) {
            ActiveTagRow active{&row, {}};
            for (int i = 0; i < row.formatCount; ++i)
                if (formatSteps(row.formats[i]).test)
                    active.steps.push_back(&formatSteps(row.formats[i]));
            if (!active.steps.empty())
                tagsByFirstByte[static_cast<std::uint8_t>(row.tag[0])].push_back(std::move(active));
        }
        if (formatSteps(FormatId::PowerMusic).test)
            powerMusic = &formatSteps(FormatId::PowerMusic);
        if (formatSteps(FormatId::XannPacker).test)
            xann = &formatSteps(FormatId::XannPacker);
        candidates.addPair(0, -1); // zero runs are skipped at the scan itself
        for (ActiveChainEntry& entry : chain) {
            if (entry.steps->gated) {
                candidates.addGates(entry.steps->gates[0], entry.steps->gates[1]);
                entry.gatePair = pairIndexOf(entry.steps->gates);
                continue;
            }
            ungatedChain = true;
            for (unsigned low = 0; low <= 0x40; ++low)
                candidates.addPair(static_cast<std::uint8_t>(low), -1);
        }
        for (const auto& rows : tagsByFirstByte)
            for (const ActiveTagRow& active : rows) {
                const std::string_view tag = active.row->tag;
                if (tag.size() == 1 && active.row->previousByte >= 0)
                    candidates.addPairEndingHere(std::uint8_t(active.row->previousByte),
                                                 static_cast<std::uint8_t>(tag[0]));
                else
                    candidates.addPair(static_cast<std::uint8_t>(tag[0]),
                                       tag.size() > 1 ? static_cast<std::uint8_t>(tag[1]) : -1);
            }
        if (powerMusic)
            candidates.addPair('!', 'P');
        if (xann && xann->gated)
            candidates.addGates(xann->gates[0], xann->gates[1]);
        else if (xann)
            candidates.addPair('<', -1);
        // "1CHN" .. "9CHN" and "10CH" .. "31CH": a digit followed by 'C' or a digit.
        for (std::uint8_t digit = '1'; digit <= '9'; ++digit) {
            candidates.addPair(digit, 'C');
            for (std::uint8_t next = '0'; next <= '9'; ++next)
                candidates.addPair(digit, next);
        }
        candidates.finish();
    }
};

int ActiveScanOrder::pairIndexOf(const ScanGate (&gates)[2]) {
    const auto same = [](const ScanGate& a, const ScanGate& b) {
        return a.offset == b.offset && a.mask == b.mask && a.value == b.value;
    };
    for (std::size_t i = 0; i < gatePairs.size(); ++i)
        if (same(gatePairs[i][0], gates[0]) && same(gatePairs[i][1], gates[1]))
            return int(i);
    gatePairs.push_back({gates[0], gates[1]});
    return int(gatePairs.size() - 1);
}

const ActiveScanOrder& activeOrder() {
    static const ActiveScanOrder order;
    return order;
}

void runSteps(RipState& state, const FormatSteps& steps) {
    steps.rip(state);
    if (steps.depack)
        steps.depack(state);
}

bool matchesAt(const RipState& state, std::string_view tag) {
    return fits(state, state.position, tag.size()) &&
           std::memcmp(state.input + state.position, tag.data(), tag.size()) == 0;
}

bool sixtyFourZeros(const std::uint8_t* at) {
    // Most zero bytes in other data stand alone: the first word answers for them.
    for (unsigned i = 0; i < 64; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, at + i, 8);
        if (word != 0)
            return false;
    }
    return true;
}

bool isDigit(std::uint8_t c) {
    return c >= '0' && c <= '9';
}

// A tag of the channel count ("1CHN" .. "9CHN", "10CH" .. "31CH") whose module the multi-channel
// test accepts: recognised and stepped over, no output.
bool tryChannelTags(RipState& state) {
    const std::uint8_t* at = state.input + state.position;
    int channels = 0;
    if (at[0] >= '1' && at[0] <= '9' && std::memcmp(at + 1, "CHN", 3) == 0)
        channels = at[0] - '0';
    else if (((at[0] == '1' || at[0] == '2') && isDigit(at[1])) ||
             (at[0] == '3' && (at[1] == '0' || at[1] == '1')))
        channels = std::memcmp(at + 2, "CH", 2) == 0 ? (at[0] - '0') * 10 + (at[1] - '0') : 0;
    if (channels == 0 || testMultiChannel(state, channels) != 0)
        return false;
    ripMultiChannel(state);
    return true;
}

// A test's gates are conditions it needs before it can accept; the pre-pass marks positions
// where any test's gates hold, so each test checks its own before it runs.
inline bool gateHolds(const RipState& state, const ScanGate& gate) {
    const std::int64_t at = std::int64_t(state.position) + gate.offset;
    return std::uint64_t(at) < std::uint64_t(state.inputSize) &&
           (state.input[at] & gate.mask) == gate.value;
}

bool gatesHold(const RipState& state, const FormatSteps& steps) {
    return !steps.gated || (gateHolds(state, steps.gates[0]) && gateHolds(state, steps.gates[1]));
}

// Bit i set when gate pair i holds at the position (pairs past the 64th always count as held).
std::uint64_t pairsHolding(const RipState& state, const ActiveScanOrder& order) {
    std::uint64_t holding = 0;
    for (std::size_t i = 0; i < order.gatePairs.size(); ++i) {
        const auto& pair = order.gatePairs[i];
        if (i >= 64 || (gateHolds(state, pair[0]) && gateHolds(state, pair[1])))
            holding |= 1ull << std::min<std::size_t>(i, 63);
    }
    return holding;
}

// `afterSkip`: the position is where a skip of 63 zero bytes landed, maybe past the byte a test
// is gated on; there every test runs, so a test can look back for a module the skip entered.
// `gatesHoldHere`: the pre-pass found some chain test's gates holding at the position.
void scanChain(RipState& state, const ActiveScanOrder& order, bool afterSkip, bool gatesHoldHere) {
    const std::uint8_t* at = state.input + state.position;
    if (order.powerMusic && std::memcmp(at, "!PM!", 4) == 0 && order.powerMusic->test(state) == 0) {
        runSteps(state, *order.powerMusic);
        return;
    }
    if (tryChannelTags(state))
        return;
    if (order.xann && at[0] == '<' && (afterSkip || gatesHold(state, *order.xann)) &&
        order.xann->test(state) == 0) {
        runSteps(state, *order.xann);
        return;
    }
    if (!afterSkip && !gatesHoldHere && !order.ungatedChain)
        return;
    const std::uint64_t holding = afterSkip ? ~0ull : pairsHolding(state, order);
    for (const ActiveChainEntry& entry : order.chain) {
        const bool gated = entry.gatePair >= 0 && !(holding >> std::min(entry.gatePair, 63) & 1);
        if (gated || entry.steps->test(state) != 0)
            continue;
        if (entry.refusedMessage)
            std::printf(entry.refusedMessage, static_cast<long>(state.moduleStart));
        else
            runSteps(state, *entry.steps);
        return;
    }
}

void scanTags(RipState& state, const std::vector<ActiveTagRow>& rows) {
    for (const ActiveTagRow& active : rows) {
        const TagRow& row = *active.row;
        if (!matchesAt(state, row.tag))
            continue;
        if (row.previousByte >= 0 &&
            (state.position == 0 || state.input[state.position - 1] != row.previousByte))
            continue;
        bool accepted = false;
        for (const FormatSteps* steps : active.steps) {
            if (steps->test(state) == 0) {
                runSteps(state, *steps);
                accepted = true;
                break;
            }
        }
        if (accepted ? !row.acceptKeepsComparing : row.rejectEndsPosition)
            return;
    }
}
} // namespace

void scanInput(RipState& state) {
    const ActiveScanOrder& order = activeOrder();
    const std::uint8_t* input = state.input;
    const auto end = static_cast<std::uint32_t>(state.inputSize - 64);
    CandidateFinder finder(order.candidates, input, static_cast<std::uint32_t>(state.inputSize),
                           end);
    bool afterSkip = false;
    for (state.position = finder.next(0); state.position < end;) {
        const std::uint8_t b = input[state.position];
        if (b == 0 && sixtyFourZeros(input + state.position)) {
            // The position after a run is looked at whatever the pre-pass says of it.
            state.position += 63;
            afterSkip = true;
            continue;
        }
        if (b <= 0x40)
            scanChain(state, order, afterSkip, finder.gatesHoldAt(state.position));
        else if (!order.tagsByFirstByte[b].empty())
            scanTags(state, order.tagsByFirstByte[b]);
        afterSkip = false;
        state.position = finder.next(state.position + 1);
    }
    state.position = std::min(state.position, end);
}

void ripBuffer(const std::uint8_t* data, std::int32_t size) {
    RipState& state = ripState();
    state.input = data;
    state.inputSize = size;
    state.position = 0;
    if (size > 64)
        scanInput(state);
    state.input = nullptr;
}
