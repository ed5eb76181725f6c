// Tracker Packer v1: whole patterns of cells packed to one, two or three bytes, with a pattern
// address per song position instead of a pattern number.
//
// Packed layout from module start s (big-endian): 0-3 "MEXX"; 4-7 the size of the module; 8-27
// the title; 28-31 the offset of the sample data from s; 32 31 sample records (TrackerPacker.h);
// 280-281 the last position (song length - 1); 282 128 pattern addresses of 32 bits, one per
// position (byte offsets from the pattern data); 794 the pattern data; the sample data, which ends
// the module.
//
// A pattern is 256 cells, row by row and channels 1 to 4 in each row. First byte b:
// - 0xC0: an empty cell.
// - 0x80-0xBC: a cell with only an effect, in bits 2-5 (bits 0-1 zero); the parameter follows.
// - 0x00-0x47: a note cell of three bytes: bits 1-6 the note counted from 0 for C-1, bit 0 bit 4
//   of the sample number; the sample's low nibble and the effect; the parameter. Effects are
//   ProTracker's as they are.
//
// Decisions, taken from the real module where it tells:
// - Notes count from 0: the real module's bass plays its lowest notes as 0 on the beats where
//   every other bar plays its root, so 0 is C-1 and not "no note". The format then has no cell
//   for a sample without a note; such cells are read as the one-byte forms above.
// - The song length is the stored value + 1: the real module lists 12 positions (the last two
//   patterns played twice) under a stored 11.
// - The format keeps no pattern numbers: patterns are numbered in the order the song first plays
//   them.
// - No module with more than 15 samples was at hand: bit 0 of a note byte, which the even note
//   bytes leave free, is read as bit 4 of the sample number.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"
#include "TrackerPacker.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {
using trackerPacker::Cell;

// scratch slots
constexpr int kPositionCount = 0;
constexpr int kPatternDataEnd = 1; // the sample data offset

constexpr std::uint32_t kModuleSize = 4;
constexpr std::uint32_t kSampleDataOffset = 28;
constexpr std::uint32_t kRecords = 32;
constexpr std::uint32_t kLastPosition = 280;
constexpr std::uint32_t kAddresses = 282;
constexpr std::uint32_t kPatternData = 794;
constexpr unsigned kMaxPositions = 128;
constexpr unsigned kCells = 256;
constexpr std::uint8_t kEmptyCell = 0xC0;
constexpr std::uint8_t kLastNoteByte = 0x47; // B-3 with sample bit 4 set

// Reads the pattern at `at` up to `end` (the end of the pattern data). Stores its cells in
// `cells` when given. False when a byte is one the format never writes or the pattern runs past
// `end`.
bool readPattern(const RipState& st, std::uint64_t at, std::uint64_t end,
                 std::array<Cell, kCells>* cells) {
    for (unsigned i = 0; i < kCells; ++i) {
        if (at >= end)
            return false;
        const std::uint8_t b = u8OrZero(st, at++);
        if (b == kEmptyCell)
            continue;
        Cell cell;
        if (b >= 0x80) {
            if (b > 0xBC || (b & 3) != 0 || at >= end)
                return false;
            cell.effect = (b >> 2) & 0x0Fu;
            cell.parameter = u8OrZero(st, at++);
        } else {
            if (b > kLastNoteByte || at + 1 >= end)
                return false;
            const std::uint8_t sampleAndEffect = u8OrZero(st, at++);
            cell.note = (b >> 1) + 1u;
            cell.sample = (b & 1u) << 4 | sampleAndEffect >> 4;
            cell.effect = sampleAndEffect & 0x0Fu;
            cell.parameter = u8OrZero(st, at++);
        }
        if (cells)
            (*cells)[i] = cell;
    }
    return true;
}

int testTrackerPacker1(RipState& st) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kPatternData) || std::memcmp(st.input + s, "MEXX", 4) != 0)
        return 1;
    const std::uint32_t size = be32(st, s + kModuleSize);
    const std::uint32_t sampleDataOffset = be32(st, s + kSampleDataOffset);
    if (sampleDataOffset <= kPatternData || sampleDataOffset > size || !fits(st, s, size))
        return 1;
    if (!trackerPacker::recordsPlausible(st, s + kRecords, 31))
        return 1;
    const std::uint64_t samples = trackerPacker::sampleBytes(st, s + kRecords, 31);
    if (samples == 0 || sampleDataOffset + samples != size)
        return 1;
    const unsigned positions = be16(st, s + kLastPosition) + 1u;
    if (positions > kMaxPositions)
        return 1;
    const std::uint32_t patternBytes = sampleDataOffset - kPatternData;
    for (unsigned i = 0; i < positions; ++i) {
        const std::uint32_t address = be32(st, s + kAddresses + 4 * i);
        if (address >= patternBytes ||
            !readPattern(st, s + kPatternData + address, s + sampleDataOffset, nullptr))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(samples);
    st.scratch[kPositionCount] = positions;
    st.scratch[kPatternDataEnd] = sampleDataOffset;
    return 0;
}

void ripTrackerPacker1(RipState& st) {
    st.outputSize = st.scratch[kPatternDataEnd] + st.sampleDataSize;
    noteRip(st, "Tracker Packer v1 module", 38);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackTrackerPacker1(RipState& st) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned positions = st.scratch[kPositionCount];
    const std::uint64_t patternDataEnd = s + st.scratch[kPatternDataEnd];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    trackerPacker::writeSampleRecords(out, s + kRecords, 31);
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);
    // Patterns numbered as the song first plays them.
    std::array<std::uint32_t, kMaxPositions> addresses{};
    unsigned patterns = 0;
    std::array<std::uint8_t, 1024> buffer{};
    for (unsigned i = 0; i < positions && i < kMaxPositions; ++i) {
        const std::uint32_t address = be32OrZero(st, s + kAddresses + 4 * i);
        unsigned pattern = 0;
        while (pattern < patterns && addresses[pattern] != address)
            ++pattern;
        if (pattern == patterns)
            addresses[patterns++] = address;
        buffer[i] = static_cast<std::uint8_t>(pattern);
    }
    out.bytes(buffer.data(), kMaxPositions);
    out.bytes("M.K.", 4);

    std::array<Cell, kCells> cells;
    for (unsigned pattern = 0; pattern < patterns; ++pattern) {
        cells.fill(Cell{});
        readPattern(st, s + kPatternData + addresses[pattern], patternDataEnd, &cells);
        for (unsigned i = 0; i < kCells; ++i)
            trackerPacker::putCell(&buffer[4 * i], cells[i]);
        out.bytes(buffer.data(), buffer.size());
    }
    out.input(patternDataEnd, st.sampleDataSize);
    writeBanner31(" Tracker Packer 1 ", 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}
} // namespace

const FormatSteps trackerPackerV1Steps{testTrackerPacker1, ripTrackerPacker1, depackTrackerPacker1};
