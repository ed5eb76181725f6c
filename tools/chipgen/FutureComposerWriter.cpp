#include "FutureComposerWriter.h"

#include <algorithm>
#include <array>

namespace chipgen {

namespace {

constexpr int Voices = 4;
constexpr int MacroBytes = 64;
constexpr int PatternBytes = 64;
constexpr int WaveBytes = 32;
constexpr uint8_t SquareSound = 10;
constexpr uint8_t SampleSound = 0;

void setBig32(std::vector<uint8_t>& out, size_t at, size_t value) {
    for (int i = 0; i < 4; ++i) {
        out[at + static_cast<size_t>(i)] = static_cast<uint8_t>(value >> (8 * (3 - i)));
    }
}

// A 64-byte macro that starts with `head` and is padded with end markers.
void putMacro(std::vector<uint8_t>& out, std::vector<uint8_t> head) {
    head.resize(MacroBytes, 0xE1);
    out.insert(out.end(), head.begin(), head.end());
}

std::array<uint8_t, WaveBytes> square() {
    std::array<uint8_t, WaveBytes> wave{};
    for (int i = 0; i < WaveBytes; ++i) {
        wave[static_cast<size_t>(i)] = i < WaveBytes / 2 ? 127 : 128; // +127 then -128
    }
    return wave;
}

std::array<uint8_t, WaveBytes> triangle() {
    std::array<uint8_t, WaveBytes> wave{};
    for (int i = 0; i < WaveBytes; ++i) {
        const int value = i < WaveBytes / 2 ? -120 + 15 * i : 120 - 15 * (i - WaveBytes / 2);
        wave[static_cast<size_t>(i)] = static_cast<uint8_t>(static_cast<int8_t>(value));
    }
    return wave;
}

} // namespace

std::vector<uint8_t> writeFutureComposer(const FutureComposerSong& song) {
    const bool fc14 = song.version == FcVersion::Fc14;
    const int steps = std::max(1, song.steps);
    std::vector<uint8_t> out =
        fc14 ? std::vector<uint8_t>{'F', 'C', '1', '4'} : std::vector<uint8_t>{'S', 'M', 'O', 'D'};
    out.resize(fc14 ? 180 : 100, 0);
    setBig32(out, 4, static_cast<size_t>(steps) * 13);
    // Sample slot 0: the triangle, 16 words, looped from byte 0 over 16 words.
    out[40] = 0;
    out[41] = WaveBytes / 2;
    out[44] = 0;
    out[45] = WaveBytes / 2;
    if (fc14) {
        out[100] = WaveBytes / 2; // waveform 0: the square, 16 words
    }

    // Sequence: voice v plays pattern v + 1; the first step sets the speed.
    for (int step = 0; step < steps; ++step) {
        for (int v = 0; v < Voices; ++v) {
            out.insert(out.end(), {static_cast<uint8_t>(v + 1), 0, 0});
        }
        out.push_back(step == 0 ? static_cast<uint8_t>(song.speed) : 0);
    }

    setBig32(out, 8, out.size());
    setBig32(out, 12, (Voices + 1) * PatternBytes);
    out.insert(out.end(), PatternBytes, 0); // pattern 0, empty
    for (int v = 0; v < Voices; ++v) {
        std::vector<uint8_t> pattern(PatternBytes, 0);
        for (const FcNote& note : song.notes) {
            if (note.voice == v && note.row >= 0 && note.row < PatternBytes / 2) {
                pattern[static_cast<size_t>(2 * note.row)] = static_cast<uint8_t>(note.note);
                pattern[static_cast<size_t>(2 * note.row + 1)] =
                    static_cast<uint8_t>(note.instrument & 0x3F);
            }
        }
        out.insert(out.end(), pattern.begin(), pattern.end());
    }

    const size_t instruments = song.instruments.size();
    setBig32(out, 16, out.size());
    setBig32(out, 20, instruments * MacroBytes);
    for (const FcInstrument& instrument : song.instruments) {
        const uint8_t sound = instrument.sound == FcSound::Square ? SquareSound : SampleSound;
        putMacro(out, instrument.frequencyMacro.empty()
                          ? std::vector<uint8_t>{0xE2, sound, 0x00, 0xE1}
                          : instrument.frequencyMacro);
    }
    setBig32(out, 24, out.size());
    setBig32(out, 28, instruments * MacroBytes);
    for (size_t i = 0; i < instruments; ++i) {
        const FcInstrument& instrument = song.instruments[i];
        putMacro(out, instrument.volumeMacro.empty()
                          ? std::vector<uint8_t>{1, static_cast<uint8_t>(i), 0, 0, 0,
                                                 static_cast<uint8_t>(instrument.volume), 0xE1}
                          : instrument.volumeMacro);
    }

    setBig32(out, 32, out.size());
    const auto sample = triangle();
    out.insert(out.end(), sample.begin(), sample.end());
    setBig32(out, 36, out.size());
    if (fc14) {
        const auto wave = square();
        out.insert(out.end(), wave.begin(), wave.end());
    }
    return out;
}

} // namespace chipgen
