// Track entries and patterns of The Player 5.0A, 6.0A and 6.1A (layout in ThePlayer6x.h).
#include "../InputBytes.h"
#include "../PeriodTable.h"
#include "ThePlayer6x.h"

namespace thePlayer6x {
namespace {
struct Cell {
    std::uint8_t note = 0;
    std::uint8_t sample = 0;
    std::uint8_t effect = 0;
    std::uint8_t parameter = 0;
};

struct Entry {
    Cell cell;
    unsigned emptyAfter = 0;
    unsigned repeatAfter = 0;
    bool jump = false;
    std::uint64_t jumpTarget = 0;
    unsigned jumpEntries = 0;
    bool invalid = false;  // a 6.1A jump that carries a cell
    std::uint64_t end = 0; // first byte behind the entry
};

// The three-byte cell of both entry forms: note and bit 4 of the sample in `first`.
Cell threeByteCell(std::uint8_t first, std::uint8_t second, std::uint8_t third) {
    return {static_cast<std::uint8_t>(first >> 1),
            static_cast<std::uint8_t>((first & 1) << 4 | second >> 4),
            static_cast<std::uint8_t>(second & 0x0F), third};
}

Entry readEntry5x(const RipState& st, std::uint64_t at) {
    Entry entry;
    const std::uint8_t first = u8OrZero(st, at);
    if (first == 0x80) {
        entry.jump = true;
        entry.jumpEntries = u8OrZero(st, at + 1) + 1u;
        entry.end = at + 4;
        entry.jumpTarget = entry.end - be16OrZero(st, at + 2);
        return entry;
    }
    const bool counted = first & 0x80;
    const auto plain = static_cast<std::uint8_t>(counted ? ~first & 0x7F : first);
    entry.cell = threeByteCell(plain, u8OrZero(st, at + 1), u8OrZero(st, at + 2));
    entry.end = at + 3;
    if (counted) {
        const std::uint8_t count = u8OrZero(st, at + 3);
        if (count < 0x80)
            entry.emptyAfter = count;
        else
            entry.repeatAfter = 0x100u - count;
        entry.end = at + 4;
    }
    return entry;
}

Entry readEntry61(const RipState& st, std::uint64_t at) {
    Entry entry;
    const std::uint8_t first = u8OrZero(st, at);
    const std::uint8_t form = first & 0x7F;
    const std::uint8_t second = u8OrZero(st, at + 1);
    bool empty = false;
    if (form == 0x7F) {
        empty = true;
        entry.end = at + 1;
    } else if (form >= 0x70) {
        entry.cell.note = static_cast<std::uint8_t>((form & 0x0F) << 3 | second >> 5);
        entry.cell.sample = second & 0x1F;
        entry.end = at + 2;
    } else if (form >= 0x60) {
        entry.cell.effect = form & 0x0F;
        entry.cell.parameter = second;
        entry.end = at + 2;
    } else {
        entry.cell = threeByteCell(form, second, u8OrZero(st, at + 2));
        entry.end = at + 3;
    }
    if (!(first & 0x80))
        return entry;
    const std::uint8_t count = u8OrZero(st, entry.end++);
    switch (count >> 6) {
    case 0:
        entry.emptyAfter = count & 0x3F;
        break;
    case 2:
        entry.repeatAfter = count & 0x3F;
        break;
    default: {
        const bool wide = count >> 6 == 3;
        const std::uint32_t back = wide ? be16OrZero(st, entry.end) : u8OrZero(st, entry.end);
        entry.end += wide ? 2 : 1;
        entry.jump = true;
        entry.jumpEntries = (count & 0x3Fu) + 1;
        entry.jumpTarget = entry.end - back;
        entry.invalid = !empty;
        break;
    }
    }
    return entry;
}

// Gives a channel's rows one after another from its track, entering jumps as they come.
class TrackReader {
public:
    TrackReader(const RipState& st, const Layout& layout, Version version, std::uint64_t start)
        : st_(st), layout_(layout), version_(version), at_(start) {}

    // The next row's cell; false when the track data is damaged there (the cell is then empty
    // and so are all rows after it).
    bool next(Cell& cell) {
        cell = {};
        if (broken_)
            return false;
        if (emptyRows_ > 0) {
            --emptyRows_;
            return true;
        }
        if (repeatRows_ > 0) {
            --repeatRows_;
            cell = held_;
            return true;
        }
        Entry entry;
        if (jumpEntries_ == 0) {
            entry = read(at_);
            if (entry.jump) {
                if (entry.invalid || entry.jumpTarget < layout_.trackData ||
                    entry.jumpTarget >= at_ || entry.end > layout_.sampleData)
                    return fail();
                at_ = entry.end;
                jumpAt_ = entry.jumpTarget;
                jumpEntries_ = entry.jumpEntries;
            } else {
                at_ = entry.end;
            }
        }
        if (jumpEntries_ > 0) {
            entry = read(jumpAt_);
            if (entry.jump)
                return fail();
            jumpAt_ = entry.end;
            --jumpEntries_;
        }
        if (entry.end > layout_.sampleData)
            return fail();
        held_ = entry.cell;
        emptyRows_ = entry.emptyAfter;
        repeatRows_ = entry.repeatAfter;
        cell = entry.cell;
        return true;
    }

private:
    Entry read(std::uint64_t at) const {
        return version_ == Version::V61A ? readEntry61(st_, at) : readEntry5x(st_, at);
    }
    bool fail() {
        broken_ = true;
        return false;
    }

    const RipState& st_;
    const Layout& layout_;
    Version version_;
    std::uint64_t at_;
    std::uint64_t jumpAt_ = 0;
    unsigned jumpEntries_ = 0;
    unsigned emptyRows_ = 0;
    unsigned repeatRows_ = 0;
    Cell held_;
    bool broken_ = false;
};

// The ProTracker parameter of a stored effect.
std::uint8_t protrackerParameter(std::uint8_t effect, std::uint8_t parameter) {
    switch (effect) {
    case 0x5:
    case 0x6:
    case 0xA:
        // Positive slides down (the low nibble), negative up (the high nibble).
        return parameter < 0x80 ? parameter : static_cast<std::uint8_t>((0x100 - parameter) << 4);
    case 0xD:
        return static_cast<std::uint8_t>(parameter / 10 << 4 | parameter % 10);
    default:
        return parameter;
    }
}

void writeCell(const Cell& cell, std::uint8_t* out) {
    const std::uint16_t period = periodOf(ptPeriodTable, cell.note);
    out[0] = static_cast<std::uint8_t>((cell.sample & 0x10) | period >> 8);
    out[1] = static_cast<std::uint8_t>(period & 0xFF);
    out[2] = static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect);
    out[3] = protrackerParameter(cell.effect, cell.parameter);
}
} // namespace

bool decodePattern(const RipState& st, const Layout& layout, Version version, unsigned pattern,
                   bool check, PatternCells& cells) {
    cells.fill(0);
    const std::uint64_t addresses = layout.trackTable + 8ull * pattern;
    TrackReader tracks[4] = {
        {st, layout, version, layout.trackData + be16OrZero(st, addresses)},
        {st, layout, version, layout.trackData + be16OrZero(st, addresses + 2)},
        {st, layout, version, layout.trackData + be16OrZero(st, addresses + 4)},
        {st, layout, version, layout.trackData + be16OrZero(st, addresses + 6)}};
    for (unsigned row = 0; row < 64; ++row) {
        bool breaks = false;
        for (unsigned channel = 0; channel < 4; ++channel) {
            Cell cell;
            const bool intact = tracks[channel].next(cell);
            if (check && (!intact || cell.note > kMaxNote || cell.sample > layout.samples))
                return false;
            writeCell(cell, &cells[row * 16 + channel * 4]);
            breaks = breaks || cell.effect == 0xB || cell.effect == 0xD;
        }
        if (breaks)
            break;
    }
    return true;
}

} // namespace thePlayer6x
