// Tracker Packer v2 and v3: per-channel tracks of 64 rows with one-byte runs of empty rows and
// a track table per pattern. Both versions share the layout; they differ in how a cell's first
// byte holds the note and the effect.
//
// Packed layout from module start s (big-endian): 0-7 the tag "MEXX_TP2" or "CPLX_TP3"; 8-27
// the title; 28-29 the size of the sample records in bytes (n × 8, n 1-31); 30 n sample records
// (TrackerPacker.h); the song length (2 bytes, 1-128); one word per position, the pattern number
// × 8; the track table: per pattern four words, the track addresses of channels 1 to 4 (byte
// offsets into the track data, tracks shared between patterns); the size of the track data (2
// bytes); the track data; the sample data.
//
// A track is read cell by cell until it holds 64 rows. First byte b:
// - 0xC0-0xFF: 0x100 - b empty rows (1-64).
// - 0x80-0xBF: a cell with only an effect: v2 keeps the effect in bits 2-5, v3 in bits 1-4, the
//   bits below it zero; the parameter follows.
// - below 0x80: a note cell. v2: bits 1-7 the note (0 none, 1-36), bit 0 bit 4 of the sample
//   number. v3: 0x00-0x24 the note with sample numbers 0-15, 0x5B-0x7F the note + 0x5B with
//   sample numbers 16-31. The second byte holds the sample's low nibble and the effect; the
//   parameter follows only when the effect is not 0.
// Effects as stored: 8 is the arpeggio (ProTracker's 0 with a parameter, which the format cannot
// hold otherwise); the volume slides 5, 6 and A keep a signed speed, positive up and negative
// down; all others are ProTracker's.
//
// Decisions, taken from the real modules where they tell:
// - v3's note byte for samples 16-31 is read from the range the real modules use (0x5B for no
//   note, 0x7F for B-3). No v2 module with more than 15 samples was at hand: bit 0 follows the
//   v2 note layout, whose notes are all even.
// - The packer renumbers samples (unused ones go), so cells may name a sample past n: such a
//   sample is one of the empty records.
// - v3 modules end with two zero bytes behind the sample data; they are not counted as part of
//   the module.
#include "../InputBytes.h"
#include "../ModuleWriter.h"
#include "../OutputModule.h"
#include "FormatStepsList.h"
#include "TrackerPacker.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
using trackerPacker::Cell;

// scratch slots
constexpr int kSampleCount = 0;
constexpr int kPatternCount = 1;
constexpr int kTrackDataOffset = 2; // from module start
constexpr int kTrackDataSize = 3;

constexpr std::uint32_t kTagBytes = 8;
constexpr std::uint32_t kRecordSize = 28;
constexpr std::uint32_t kRecords = 30;
constexpr unsigned kRows = 64;
constexpr unsigned kMaxPositions = 128;
constexpr unsigned kMaxPattern = 127;

enum class Version { V2, V3 };

struct Variant {
    Version version;
    const char* tag;
    const char* displayName;
    int extensionIndex;
    const char* bannerName;
};

constexpr Variant kV2{Version::V2, "MEXX_TP2", "Tracker Packer v2 module", 39,
                      " Tracker Packer 2 "};
constexpr Variant kV3{Version::V3, "CPLX_TP3", "Tracker Packer v3 module", 40,
                      " Tracker Packer 3 "};

// Note and sample bit 4 of a note cell's first byte; false for bytes the version never writes.
bool readNoteByte(Version version, std::uint8_t b, Cell& cell) {
    if (version == Version::V2) {
        if (b >> 1 > 36)
            return false;
        cell.note = b >> 1;
        cell.sample = (b & 1u) << 4;
        return true;
    }
    if (b <= 36) {
        cell.note = b;
        return true;
    }
    if (b >= 0x5B) {
        cell.note = b - 0x5Bu;
        cell.sample = 0x10;
        return true;
    }
    return false;
}

// Effect of an effect-only cell's first byte; false for bytes the version never writes.
bool readEffectByte(Version version, std::uint8_t b, Cell& cell) {
    const unsigned shift = version == Version::V2 ? 2 : 1;
    if ((b & 0x3F) >> shift > 0x0F || (b & ((1u << shift) - 1)) != 0)
        return false;
    cell.effect = (b & 0x3F) >> shift;
    return true;
}

// The stored effect as a ProTracker effect.
void remapEffect(Cell& cell) {
    switch (cell.effect) {
    case 0x8:
        cell.effect = 0;
        break;
    case 0x5:
    case 0x6:
    case 0xA:
        cell.parameter =
            cell.parameter < 0x80 ? (cell.parameter << 4) & 0xFF : (0x100 - cell.parameter) & 0xFF;
        break;
    default:
        break;
    }
}

// Reads the track at `at` up to `end` (the end of the track data). Stores its rows in `rows`
// when given. False when a byte is one the format never writes, an empty run passes row 64 or
// the track runs past `end`.
bool readTrack(const RipState& st, Version version, std::uint64_t at, std::uint64_t end,
               std::array<Cell, kRows>* rows) {
    unsigned row = 0;
    while (row < kRows) {
        if (at >= end)
            return false;
        const std::uint8_t b = u8OrZero(st, at++);
        if (b >= 0xC0) {
            row += 0x100u - b;
            if (row > kRows)
                return false;
            continue;
        }
        Cell cell;
        if (b >= 0x80) {
            if (!readEffectByte(version, b, cell))
                return false;
        } else {
            if (!readNoteByte(version, b, cell) || at >= end)
                return false;
            const std::uint8_t sampleAndEffect = u8OrZero(st, at++);
            cell.sample |= sampleAndEffect >> 4;
            cell.effect = sampleAndEffect & 0x0Fu;
            if (cell.effect == 0) {
                if (rows)
                    (*rows)[row] = cell;
                ++row;
                continue;
            }
        }
        if (at >= end)
            return false;
        cell.parameter = u8OrZero(st, at++);
        remapEffect(cell);
        if (rows)
            (*rows)[row] = cell;
        ++row;
    }
    return true;
}

int testTracks(RipState& st, const Variant& variant) {
    const std::uint64_t s = st.position;
    if (!fits(st, s, kRecords) || std::memcmp(st.input + s, variant.tag, kTagBytes) != 0)
        return 1;
    const std::uint32_t recordSize = be16(st, s + kRecordSize);
    if (recordSize == 0 || recordSize % trackerPacker::kRecordBytes != 0 ||
        recordSize > 31 * trackerPacker::kRecordBytes)
        return 1;
    const unsigned n = recordSize / trackerPacker::kRecordBytes;
    const std::uint64_t songLength = s + kRecords + recordSize;
    if (!fits(st, songLength, 2) || !trackerPacker::recordsPlausible(st, s + kRecords, n))
        return 1;
    const unsigned positions = be16(st, songLength);
    if (positions == 0 || positions > kMaxPositions || !fits(st, songLength + 2, 2 * positions))
        return 1;
    unsigned highestPattern = 0;
    for (unsigned i = 0; i < positions; ++i) {
        const unsigned word = be16(st, songLength + 2 + 2 * i);
        if (word % 8 != 0 || word / 8 > kMaxPattern)
            return 1;
        highestPattern = std::max(highestPattern, word / 8);
    }
    const unsigned patterns = highestPattern + 1;
    const std::uint64_t trackTable = songLength + 2 + 2 * positions;
    const std::uint64_t trackDataSize = trackTable + 8 * patterns;
    if (!fits(st, trackDataSize, 2))
        return 1;
    const std::uint32_t trackBytes = be16(st, trackDataSize);
    const std::uint64_t trackData = trackDataSize + 2;
    const std::uint64_t samples = trackerPacker::sampleBytes(st, s + kRecords, n);
    if (trackBytes == 0 || samples == 0 || !fits(st, trackData, trackBytes + samples))
        return 1;
    for (unsigned i = 0; i < 4 * patterns; ++i) {
        const std::uint32_t address = be16(st, trackTable + 2 * i);
        if (address >= trackBytes ||
            !readTrack(st, variant.version, trackData + address, trackData + trackBytes, nullptr))
            return 1;
    }
    st.moduleStart = static_cast<std::uint32_t>(s);
    st.sampleDataSize = static_cast<std::uint32_t>(samples);
    st.scratch[kSampleCount] = n;
    st.scratch[kPatternCount] = patterns;
    st.scratch[kTrackDataOffset] = static_cast<std::uint32_t>(trackData - s);
    st.scratch[kTrackDataSize] = trackBytes;
    return 0;
}

void ripTracks(RipState& st, const Variant& variant) {
    st.outputSize = st.scratch[kTrackDataOffset] + st.scratch[kTrackDataSize] + st.sampleDataSize;
    noteRip(st, variant.displayName, variant.extensionIndex);
    // The driver's increment then resumes the scan right behind the module.
    advanceScanTo(st, static_cast<std::int64_t>(st.moduleStart) + st.outputSize - 1);
}

void depackTracks(RipState& st, const Variant& variant) {
    if (st.refusedFlag == 1)
        return;
    const std::uint64_t s = st.moduleStart;
    const unsigned n = st.scratch[kSampleCount];
    const unsigned patterns = st.scratch[kPatternCount];
    const std::uint64_t trackData = s + st.scratch[kTrackDataOffset];
    const std::uint64_t trackDataEnd = trackData + st.scratch[kTrackDataSize];
    formatOutputName(st, "%ld.mod");
    CFile file = createOutputFile(st.outputName, "w+b");
    ModuleWriter out(file.get(), st);

    out.zeros(20);
    trackerPacker::writeSampleRecords(out, s + kRecords, n);
    const std::uint64_t songLength = s + kRecords + trackerPacker::kRecordBytes * n;
    const unsigned positions = be16OrZero(st, songLength);
    out.byte(static_cast<std::uint8_t>(positions));
    out.byte(0x7F);
    std::array<std::uint8_t, 1024> buffer{};
    for (unsigned i = 0; i < positions && i < kMaxPositions; ++i)
        buffer[i] = static_cast<std::uint8_t>(be16OrZero(st, songLength + 2 + 2 * i) / 8);
    out.bytes(buffer.data(), kMaxPositions);
    out.bytes("M.K.", 4);

    const std::uint64_t trackTable = songLength + 2 + 2 * positions;
    std::array<Cell, kRows> rows;
    for (unsigned pattern = 0; pattern < patterns; ++pattern) {
        buffer.fill(0);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const std::uint32_t address = be16OrZero(st, trackTable + 8 * pattern + 2 * channel);
            rows.fill(Cell{});
            readTrack(st, variant.version, trackData + address, trackDataEnd, &rows);
            for (unsigned row = 0; row < kRows; ++row)
                trackerPacker::putCell(&buffer[row * 16 + channel * 4], rows[row]);
        }
        out.bytes(buffer.data(), buffer.size());
    }
    out.input(trackDataEnd, st.sampleDataSize);
    writeBanner31(variant.bannerName, 1, 1, file.get());
    file.reset();
    std::printf("done\n");
}

int testV2(RipState& st) {
    return testTracks(st, kV2);
}
void ripV2(RipState& st) {
    ripTracks(st, kV2);
}
void depackV2(RipState& st) {
    depackTracks(st, kV2);
}
int testV3(RipState& st) {
    return testTracks(st, kV3);
}
void ripV3(RipState& st) {
    ripTracks(st, kV3);
}
void depackV3(RipState& st) {
    depackTracks(st, kV3);
}
} // namespace

const FormatSteps trackerPackerV2Steps{testV2, ripV2, depackV2};
const FormatSteps trackerPackerV3Steps{testV3, ripV3, depackV3};
