#include "FcModule.h"

#include "FcTables.h"

#include <algorithm>
#include <cstring>

namespace fc {

namespace {

// Caps on what a hostile header can make us hold (the pattern and macro numbers are bytes).
constexpr size_t MaxPatterns = 256;
constexpr size_t MaxMacros = 256;

uint32_t be32(std::span<const uint8_t> b, size_t at) {
    return uint32_t{b[at]} << 24 | uint32_t{b[at + 1]} << 16 | uint32_t{b[at + 2]} << 8 | b[at + 3];
}
uint32_t be16(std::span<const uint8_t> b, size_t at) {
    return uint32_t{b[at]} << 8 | b[at + 1];
}

std::optional<Version> versionOf(std::span<const uint8_t> head) {
    if (head.size() >= 4 && std::memcmp(head.data(), "SMOD", 4) == 0) {
        return Version::Fc13;
    }
    if (head.size() >= 4 && std::memcmp(head.data(), "FC14", 4) == 0) {
        return Version::Fc14;
    }
    return std::nullopt;
}

size_t headerBytes(Version version) {
    return version == Version::Fc13 ? Fc13HeaderBytes : Fc14HeaderBytes;
}

struct Areas {
    uint64_t sequenceEnd, patterns, patternsEnd, frequency, frequencyEnd, volume, volumeEnd,
        samples, waves;
};

Areas areasOf(std::span<const uint8_t> head, Version version) {
    Areas a{};
    a.sequenceEnd = headerBytes(version) + uint64_t{be32(head, 4)};
    a.patterns = be32(head, 8);
    a.patternsEnd = a.patterns + be32(head, 12);
    a.frequency = be32(head, 16);
    a.frequencyEnd = a.frequency + be32(head, 20);
    a.volume = be32(head, 24);
    a.volumeEnd = a.volume + be32(head, 28);
    a.samples = be32(head, 32);
    a.waves = be32(head, 36);
    return a;
}

// The areas follow each other in the order the editor writes them.
bool inOrder(const Areas& a, Version version) {
    return a.sequenceEnd <= a.patterns && a.patternsEnd <= a.frequency &&
           a.frequencyEnd <= a.volume && a.volumeEnd <= a.samples &&
           (version == Version::Fc13 || a.samples <= a.waves);
}

// Sound from `length` bytes at `offset`, cut to the file; empty when nothing of it is there.
Sound soundAt(std::span<const uint8_t> file, uint64_t offset, uint64_t length, uint64_t loopStart,
              uint64_t loopLength) {
    if (offset >= file.size() || length == 0) {
        return {};
    }
    const uint64_t available = std::min<uint64_t>(length, file.size() - offset);
    Sound sound;
    sound.data = reinterpret_cast<const int8_t*>(file.data() + offset);
    sound.length = static_cast<uint32_t>(available);
    if (loopLength > 2 && loopStart < available) {
        sound.loopStart = static_cast<uint32_t>(loopStart);
        sound.loopLength = static_cast<uint32_t>(std::min(loopLength, available - loopStart));
    }
    return sound;
}

} // namespace

bool looksLikeModule(std::span<const uint8_t> head, bool headIsWholeFile) {
    const auto version = versionOf(head);
    if (!version || head.size() < headerBytes(*version)) {
        return false;
    }
    const Areas a = areasOf(head, *version);
    if (!inOrder(a, *version) || be32(head, 4) < StepBytes) {
        return false;
    }
    return !headIsWholeFile || a.volumeEnd <= head.size();
}

std::optional<Module> Module::parse(std::span<const uint8_t> file) {
    const auto version = versionOf(file);
    if (!version || !looksLikeModule(file, true)) {
        return std::nullopt;
    }
    const Areas a = areasOf(file, *version);
    Module module;
    module.version_ = *version;

    const size_t stepCount = be32(file, 4) / StepBytes;
    const uint8_t* step = file.data() + headerBytes(*version);
    module.steps_.resize(stepCount);
    for (Step& s : module.steps_) {
        for (int v = 0; v < Voices; ++v) {
            s.pattern[v] = step[3 * v];
            s.noteTranspose[v] = static_cast<int8_t>(step[3 * v + 1]);
            s.soundTranspose[v] = static_cast<int8_t>(step[3 * v + 2]);
        }
        s.speed = step[12];
        step += StepBytes;
    }

    const auto area = [&](uint64_t from, uint64_t to, size_t unit, size_t maxUnits) {
        const size_t units = std::min<size_t>((to - from) / unit, maxUnits);
        return file.subspan(static_cast<size_t>(from), units * unit);
    };
    module.patterns_ = area(a.patterns, a.patternsEnd, 2 * PatternRows, MaxPatterns);
    module.frequencyMacros_ = area(a.frequency, a.frequencyEnd, MacroBytes, MaxMacros);
    module.volumeMacros_ = area(a.volume, a.volumeEnd, MacroBytes, MaxMacros);

    uint64_t offset = a.samples;
    for (int slot = 0; slot < SampleSlots; ++slot) {
        const size_t at = 40 + 6 * static_cast<size_t>(slot);
        const uint64_t length = 2 * uint64_t{be16(file, at)};
        module.sounds_.push_back(
            soundAt(file, offset, length, be16(file, at + 2), 2 * uint64_t{be16(file, at + 4)}));
        offset += length;
    }
    if (*version == Version::Fc13) {
        for (int w = 0; w < BuiltinWaveCount; ++w) {
            const auto wave = builtinWave(w);
            module.sounds_.push_back({wave.data(), static_cast<uint32_t>(wave.size()), 0,
                                      static_cast<uint32_t>(wave.size())});
        }
    } else {
        offset = a.waves;
        for (int w = 0; w < Fc14WaveSlots; ++w) {
            const uint64_t length = 2 * uint64_t{file[Fc13HeaderBytes + w]};
            module.sounds_.push_back(soundAt(file, offset, length, 0, length));
            offset += length;
        }
    }
    return module;
}

std::pair<uint8_t, uint8_t> Module::patternRow(int pattern, int row) const {
    const size_t at = (static_cast<size_t>(pattern) * PatternRows + static_cast<size_t>(row)) * 2;
    if (pattern < 0 || row < 0 || row >= PatternRows || at + 1 >= patterns_.size()) {
        return {0, 0};
    }
    return {patterns_[at], patterns_[at + 1]};
}

namespace {
uint8_t macroByte(std::span<const uint8_t> macros, int macro, int position) {
    const size_t at = static_cast<size_t>(macro) * MacroBytes + static_cast<size_t>(position);
    if (macro < 0 || position < 0 || position >= MacroBytes || at >= macros.size()) {
        return 0xE1;
    }
    return macros[at];
}
} // namespace

uint8_t Module::frequencyMacro(int macro, int position) const {
    return macroByte(frequencyMacros_, macro, position);
}
uint8_t Module::volumeMacro(int macro, int position) const {
    return macroByte(volumeMacros_, macro, position);
}

const Sound* Module::sound(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= sounds_.size() ||
        sounds_[static_cast<size_t>(index)].length == 0) {
        return nullptr;
    }
    return &sounds_[static_cast<size_t>(index)];
}

} // namespace fc
