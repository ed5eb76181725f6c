#include "ThePlayer6xPacker.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {
using V = ThePlayer6xVersion;

bool isEmpty(const Cell& cell) {
    return cell.sample == 0 && cell.period == 0 && cell.effect == 0 && cell.parameter == 0;
}
bool sameCell(const Cell& a, const Cell& b) {
    return a.sample == b.sample && a.period == b.period && a.effect == b.effect &&
           a.parameter == b.parameter;
}
bool breaksPattern(const Cell& cell) {
    return cell.effect == 0xB || cell.effect == 0xD;
}

// The effect parameter as the format stores it: slides signed (positive down), the pattern
// break row binary.
unsigned storedParameter(const Cell& cell) {
    const unsigned up = cell.parameter >> 4, down = cell.parameter & 0x0F;
    switch (cell.effect) {
    case 0x5:
    case 0x6:
    case 0xA:
        return up != 0 ? (256 - up) & 0xFF : down;
    case 0xD:
        return (up * 10 + down) & 0xFF;
    default:
        return cell.parameter;
    }
}

// The cell as the ripper gives it back.
Cell roundTrip(Cell cell) {
    cell.period = periodOfNote(noteOf(cell.period));
    const unsigned stored = storedParameter(cell);
    if (cell.effect == 0x5 || cell.effect == 0x6 || cell.effect == 0xA)
        cell.parameter = stored < 0x80 ? stored : ((256 - stored) << 4) & 0xFF;
    else if (cell.effect == 0xD)
        cell.parameter = (stored / 10 << 4 | stored % 10) & 0xFF;
    return cell;
}

// The song's patterns as they come back: cells round-tripped, rows after a break empty.
std::vector<Pattern> storedPatterns(const ProTrackerModule& module) {
    std::vector<Pattern> patterns(songPatternCount(module));
    for (std::size_t p = 0; p < patterns.size(); ++p) {
        for (int row = 0; row < 64; ++row) {
            bool breaks = false;
            for (int channel = 0; channel < 4; ++channel) {
                const Cell cell = roundTrip(readCell(module.patterns[p], row, channel));
                writeCell(patterns[p], row, channel, cell);
                breaks = breaks || breaksPattern(cell);
            }
            if (breaks)
                break;
        }
    }
    return patterns;
}

// The last stored row of a pattern: the first one with a break, else 63.
int lastRow(const Pattern& pattern) {
    for (int row = 0; row < 64; ++row)
        for (int channel = 0; channel < 4; ++channel)
            if (breaksPattern(readCell(pattern, row, channel)))
                return row;
    return 63;
}

struct StoredSample {
    unsigned words = 0;
    unsigned finetune = 0;
    unsigned volume = 0;
    unsigned loopStart = 0xFFFF; // words; 0xFFFF for none
    Bytes data;
    int repeats = -1; // index of the earlier sample with the same data
};

// Samples 1 to the highest slot with data or used by a note, loops cut at their end.
std::vector<StoredSample> storedSamples(const ProTrackerModule& module,
                                        const std::vector<Pattern>& patterns) {
    unsigned count = 1;
    for (int i = 0; i < 31; ++i)
        if (module.sampleWords(i) > 0)
            count = std::max(count, unsigned(i + 1));
    for (const Pattern& pattern : patterns)
        for (int row = 0; row < 64; ++row)
            for (int channel = 0; channel < 4; ++channel)
                count = std::max(count, readCell(pattern, row, channel).sample);
    std::vector<StoredSample> samples(count);
    std::size_t at = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::uint8_t* record = &module.header[20 + 30 * i + 22];
        StoredSample& sample = samples[i];
        sample.words = get16(record);
        sample.finetune = record[2] & 0x0F;
        sample.volume = std::min(record[3], std::uint8_t{64});
        const unsigned loopStart = get16(record + 4), loopWords = get16(record + 6);
        const Bytes::const_iterator data = module.sampleData.begin() + std::ptrdiff_t(at);
        at += sample.words * 2;
        if (loopWords > 1 && loopStart < sample.words) {
            sample.words = std::min(sample.words, loopStart + loopWords);
            sample.loopStart = loopStart;
        }
        sample.data.assign(data, data + sample.words * 2);
        for (unsigned j = 0; j < i && sample.words > 0; ++j)
            if (samples[j].repeats < 0 && samples[j].data == sample.data)
                sample.repeats = int(j);
    }
    return samples;
}

// The bytes of one track entry: a cell, perhaps with a count of empty or repeating rows.
using Entry = Bytes;

Entry entry5x(const Cell& cell, unsigned empties, unsigned repeats) {
    const unsigned note = noteOf(cell.period);
    const auto plain = static_cast<std::uint8_t>(note << 1 | cell.sample >> 4);
    Entry entry{plain, static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect),
                static_cast<std::uint8_t>(storedParameter(cell))};
    if (empties + repeats > 0) {
        entry[0] = static_cast<std::uint8_t>(~plain);
        entry.push_back(static_cast<std::uint8_t>(repeats > 0 ? 256 - repeats : empties));
    }
    return entry;
}

Entry entry61(const Cell& cell, unsigned empties, unsigned repeats) {
    const unsigned note = noteOf(cell.period);
    const unsigned parameter = storedParameter(cell);
    Entry entry;
    if (isEmpty(cell))
        entry = {0x7F};
    else if (cell.effect == 0 && cell.parameter == 0)
        entry = {static_cast<std::uint8_t>(0x70 | note >> 3),
                 static_cast<std::uint8_t>((note & 7) << 5 | cell.sample)};
    else if (note == 0 && cell.sample == 0)
        entry = {static_cast<std::uint8_t>(0x60 | cell.effect),
                 static_cast<std::uint8_t>(parameter)};
    else
        entry = {static_cast<std::uint8_t>(note << 1 | cell.sample >> 4),
                 static_cast<std::uint8_t>((cell.sample & 0x0F) << 4 | cell.effect),
                 static_cast<std::uint8_t>(parameter)};
    if (empties + repeats > 0) {
        entry[0] |= 0x80;
        entry.push_back(static_cast<std::uint8_t>(repeats > 0 ? 0x80 | repeats : empties));
    }
    return entry;
}

// A channel's rows up to the pattern's last as entries.
std::vector<Entry> entriesOf(const Pattern& pattern, int channel, V version) {
    const int last = lastRow(pattern);
    const unsigned maxEmpties = version == V::V61A ? 63 : 127;
    const unsigned maxRepeats = version == V::V61A ? 63 : 128;
    std::vector<Entry> entries;
    for (int row = 0; row <= last;) {
        const Cell cell = readCell(pattern, row, channel);
        unsigned empties = 0, repeats = 0;
        while (row + 1 + int(empties) <= last && empties < maxEmpties &&
               isEmpty(readCell(pattern, row + 1 + int(empties), channel)))
            ++empties;
        while (empties == 0 && !isEmpty(cell) && row + 1 + int(repeats) <= last &&
               repeats < maxRepeats &&
               sameCell(readCell(pattern, row + 1 + int(repeats), channel), cell))
            ++repeats;
        entries.push_back(version == V::V61A ? entry61(cell, empties, repeats)
                                             : entry5x(cell, empties, repeats));
        row += 1 + int(empties + repeats);
    }
    return entries;
}

// The track data, written entry by entry: a run of two or more entries equal to a run written
// before (with no jump between its entries) becomes a jump back to it.
class TrackWriter {
public:
    explicit TrackWriter(V version) : version_(version) {}

    // Writes a track and returns its address; an equal track written before is shared.
    unsigned write(const std::vector<Entry>& entries) {
        const auto known = addresses_.find(entries);
        if (known != addresses_.end())
            return known->second;
        const unsigned address = unsigned(data_.size());
        addresses_[entries] = address;
        for (std::size_t i = 0; i < entries.size();) {
            const auto [from, length] = longestRun(entries, i);
            if (length >= 2 && jump(written_[from].address, length)) {
                i += length;
                continue;
            }
            written_.push_back({entries[i], unsigned(data_.size()), runStart_});
            data_.insert(data_.end(), entries[i].begin(), entries[i].end());
            ++i;
        }
        return address;
    }
    const Bytes& data() const { return data_; }

private:
    struct Written {
        Entry entry;
        unsigned address;
        std::size_t runStart; // first entry of the jump-free run this one belongs to
    };

    std::pair<std::size_t, std::size_t> longestRun(const std::vector<Entry>& entries,
                                                   std::size_t at) const {
        const std::size_t most = version_ == V::V61A ? 64 : 256;
        std::size_t best = 0, bestLength = 0;
        for (std::size_t from = 0; from < written_.size(); ++from) {
            std::size_t n = 0;
            while (n < most && at + n < entries.size() && from + n < written_.size() &&
                   written_[from + n].runStart == written_[from].runStart &&
                   written_[from + n].entry == entries[at + n])
                ++n;
            if (n > bestLength)
                best = from, bestLength = n;
        }
        return {best, bestLength};
    }

    // Writes a jump to the `count` entries at `target`; false when the offset does not fit.
    bool jump(unsigned target, std::size_t count) {
        const auto n = static_cast<std::uint8_t>(count - 1);
        const unsigned here = unsigned(data_.size());
        if (version_ != V::V61A) {
            const unsigned back = here + 4 - target;
            if (back > 0xFFFF)
                return false;
            data_.insert(data_.end(), {0x80, n, std::uint8_t(back >> 8), std::uint8_t(back)});
        } else if (here + 3 - target <= 0xFF) {
            data_.insert(data_.end(),
                         {0xFF, std::uint8_t(0x40 | n), std::uint8_t(here + 3 - target)});
        } else if (here + 4 - target <= 0xFFFF) {
            const unsigned back = here + 4 - target;
            data_.insert(data_.end(), {0xFF, std::uint8_t(0xC0 | n), std::uint8_t(back >> 8),
                                       std::uint8_t(back)});
        } else {
            return false;
        }
        runStart_ = written_.size();
        return true;
    }

    V version_;
    Bytes data_;
    std::vector<Written> written_;
    std::size_t runStart_ = 0;
    std::map<std::vector<Entry>, unsigned> addresses_;
};

const char* bannerName(const ProTrackerModule& module, ThePlayer6xStyle style) {
    if (style.version == V::V50A || (style.version == V::V60A && songPatternCount(module) == 1))
        return " The Player 5.0A  ";
    return style.version == V::V60A ? " The Player 6.0A  " : " The Player 6.1A  ";
}
} // namespace

Bytes packThePlayer6x(const ProTrackerModule& module, ThePlayer6xStyle style) {
    const std::vector<Pattern> patterns = storedPatterns(module);
    const std::vector<StoredSample> samples = storedSamples(module, patterns);
    TrackWriter tracks(style.version);
    Bytes trackTable;
    for (const Pattern& pattern : patterns)
        for (int channel = 0; channel < 4; ++channel) {
            const unsigned address = tracks.write(entriesOf(pattern, channel, style.version));
            trackTable.insert(trackTable.end(),
                              {std::uint8_t(address >> 8), std::uint8_t(address)});
        }

    Bytes sampleData;
    for (const StoredSample& sample : samples) {
        if (sample.repeats >= 0)
            continue;
        std::uint8_t previous = 0;
        for (std::uint8_t byte : sample.data) {
            sampleData.push_back(style.deltaSamples ? std::uint8_t(byte - previous) : byte);
            previous = byte;
        }
    }

    Bytes out(4);
    out[2] = std::uint8_t(patterns.size());
    out[3] = std::uint8_t(samples.size() | (style.packedSamples ? 0x40 : 0) |
                          (style.deltaSamples ? 0x80 : 0));
    if (style.packedSamples) {
        out.resize(8);
        put32(out, 4, unsigned(sampleData.size()));
    }
    for (const StoredSample& sample : samples) {
        const std::size_t at = out.size();
        out.resize(at + 6);
        put16(out, at, sample.repeats >= 0 ? 0x10000 - unsigned(sample.repeats) - 1 : sample.words);
        out[at + 2] = std::uint8_t(sample.finetune | (style.packedSamples ? 0x80 : 0));
        out[at + 3] = std::uint8_t(sample.volume);
        put16(out, at + 4, sample.loopStart);
    }
    out.insert(out.end(), trackTable.begin(), trackTable.end());
    for (unsigned i = 0; i < module.songLength(); ++i)
        out.push_back(std::uint8_t(module.order(int(i)) * (style.version == V::V50A ? 2 : 1)));
    out.push_back(0xFF);
    out.insert(out.end(), tracks.data().begin(), tracks.data().end());
    if (out.size() % 2 != 0)
        out.push_back(0);
    if (out.size() > 0xFFFF)
        throw std::length_error("track data too long for The Player 6.x");
    put16(out, 0, unsigned(out.size()));
    out.insert(out.end(), sampleData.begin(), sampleData.end());
    if (style.tagged)
        out.insert(out.begin(), {'P', '6', '1', 'A'});
    return out;
}

Bytes expectedFromThePlayer6x(const ProTrackerModule& module, ThePlayer6xStyle style) {
    const std::vector<Pattern> patterns = storedPatterns(module);
    const std::vector<StoredSample> samples = storedSamples(module, patterns);
    ProTrackerModule out = ProTrackerModule::blank(0);
    out.header[950] = std::uint8_t(module.songLength());
    std::copy_n(module.header.begin() + 952, module.songLength(), out.header.begin() + 952);
    Bytes sampleData;
    for (unsigned i = 0; i < 31; ++i) {
        if (i >= samples.size()) {
            out.setSample(int(i), 0, 0, 0, 0, 1);
            continue;
        }
        const StoredSample& sample = samples[i];
        const bool loops = sample.loopStart != 0xFFFF;
        out.setSample(int(i), sample.words, sample.finetune, sample.volume,
                      loops ? sample.loopStart : 0, loops ? sample.words - sample.loopStart : 1);
        sampleData.insert(sampleData.end(), sample.data.begin(), sample.data.end());
    }
    Bytes file = assemble(out.header, patterns, sampleData, bannerName(module, style));
    if (style.deltaSamples)
        std::memcpy(file.data() + 770, "[! smp were DELTA  ]", 20);
    return file;
}
