#include "FcTables.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace fc {

namespace {

// One octave of Amiga periods from the lowest C; each higher octave halves them.
constexpr std::array<int, 12> LowestOctave = {1712, 1616, 1524, 1440, 1356, 1280,
                                              1208, 1140, 1076, 1016, 960,  906};

int8_t clampSample(double value) {
    return static_cast<int8_t>(std::clamp(std::lround(value), -128L, 127L));
}

using Wave = std::array<int8_t, BuiltinWaveBytes>;

Wave pulse(int highBytes) {
    Wave wave{};
    for (int i = 0; i < BuiltinWaveBytes; ++i) {
        wave[i] = i < highBytes ? 127 : -128;
    }
    return wave;
}

// Shape functions over one period, phase 0..1, result -1..1.
double saw(double phase) {
    return 2 * phase - 1;
}
double triangle(double phase) {
    return phase < 0.5 ? 4 * phase - 1 : 3 - 4 * phase;
}
double sine(double phase) {
    return std::sin(2 * std::numbers::pi * phase);
}
double square(double phase) {
    return phase < 0.5 ? 1 : -1;
}

template <class Shape> Wave shaped(Shape shape) {
    Wave wave{};
    for (int i = 0; i < BuiltinWaveBytes; ++i) {
        wave[i] = clampSample(127.5 * shape((i + 0.5) / BuiltinWaveBytes) - 0.5);
    }
    return wave;
}

std::array<Wave, BuiltinWaveCount> makeWaves() {
    std::array<Wave, BuiltinWaveCount> waves{};
    for (int k = 0; k < 32; ++k) {
        waves[k] = pulse(k < 16 ? 16 - k : k - 15);
    }
    waves[32] = shaped(saw);
    waves[33] = shaped(triangle);
    waves[34] = shaped(sine);
    waves[35] = shaped([](double p) { return -saw(p); });
    // Mixtures: a shape with a harmonic of another, for brighter timbres.
    for (int k = 0; k < 11; ++k) {
        const double harmonic = 2 + k % 3;
        const double weight = 0.2 + 0.06 * k;
        waves[36 + k] = shaped([&](double p) {
            const double base = k < 4 ? sine(p) : k < 8 ? triangle(p) : saw(p);
            const double upper = square(std::fmod(p * harmonic, 1.0));
            return (1 - weight) * base + weight * upper;
        });
    }
    return waves;
}

const std::array<Wave, BuiltinWaveCount>& waves() {
    static const auto table = makeWaves();
    return table;
}

} // namespace

int periodForNote(int note) {
    note = std::clamp(note, 0, NoteCount - 1);
    const int octave = note / 12;
    // Rounded halving, as the classic tables do (e.g. 1712, 856, 428, 214, 107).
    return (LowestOctave[note % 12] + (1 << octave) / 2) >> octave;
}

std::span<const int8_t> builtinWave(int index) {
    return waves().at(static_cast<size_t>(index));
}

} // namespace fc
