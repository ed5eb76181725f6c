// Writes Tamberlo's demo song: a short four-channel ProTracker module ("M.K.") whose samples
// are synthesised here, so the project ships music of its own and no third-party file.
//
// Usage: tamberlo-make-demo-song OUT.mod

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr int Rows = 64;
constexpr int Channels = 4;

struct Sample {
    std::string name;
    std::vector<int8_t> data;
    int volume = 64;
    bool loopsWhole = false;
};

struct Note {
    int period = 0;
    int sample = 0; // 1-based; 0 = none
    int effect = 0;
    int param = 0;
};

using Pattern = std::vector<Note>; // Rows * Channels

// Amiga periods, finetune 0, octaves 1 to 3 (C-1 = 856).
constexpr int periods[36] = {856, 808, 762, 720, 678, 640, 604, 570, 538, 508, 480, 453,
                             428, 404, 381, 360, 339, 320, 302, 285, 269, 254, 240, 226,
                             214, 202, 190, 180, 170, 160, 151, 143, 135, 127, 120, 113};

// Note index: semitone within the table above (0 = C-1).
int period(int semitone) {
    return periods[semitone];
}

int8_t clip8(double v) {
    return static_cast<int8_t>(std::lround(std::clamp(v, -127.0, 127.0)));
}

Sample makeBass() {
    Sample s{"tamberlo bass", {}, 56, true};
    for (int i = 0; i < 64; ++i) { // one saw cycle, softened by its own fundamental
        double saw = 2.0 * i / 64.0 - 1.0;
        double sine = std::sin(2 * std::numbers::pi * i / 64.0);
        s.data.push_back(clip8(70 * saw + 40 * sine));
    }
    return s;
}

Sample makeLead() {
    Sample s{"tamberlo lead", {}, 40, true};
    for (int i = 0; i < 32; ++i) { // a pulse with a little second harmonic
        double pulse = i < 12 ? 1.0 : -1.0;
        s.data.push_back(clip8(80 * pulse + 20 * std::sin(4 * std::numbers::pi * i / 32.0)));
    }
    return s;
}

Sample makeKick() {
    Sample s{"tamberlo kick", {}, 64, false};
    double phase = 0;
    for (int i = 0; i < 2400; ++i) {
        double t = i / 8287.0;
        double frequency = 45 + 140 * std::exp(-t * 30);
        phase += 2 * std::numbers::pi * frequency / 8287.0;
        s.data.push_back(clip8(120 * std::exp(-t * 9) * std::sin(phase)));
    }
    return s;
}

Sample makeHat() {
    Sample s{"tamberlo hat", {}, 28, false};
    uint32_t seed = 0x1234567;
    for (int i = 0; i < 700; ++i) {
        seed = seed * 1664525u + 1013904223u;
        double noise = static_cast<int>(seed >> 24) - 128;
        s.data.push_back(clip8(noise * std::exp(-i / 140.0)));
    }
    return s;
}

// Chord roots (semitones above C-1) for four bars: A minor, F, C, G.
constexpr int roots[4] = {9, 5, 0, 7};
constexpr int chords[4][3] = {{9, 12, 16}, {5, 9, 12}, {0, 4, 7}, {7, 11, 14}};

Pattern makePattern(int index) {
    Pattern p(Rows * Channels);
    auto at = [&](int row, int channel) -> Note& { return p[row * Channels + channel]; };
    for (int bar = 0; bar < 4; ++bar) {
        int chord = (index * 4 + bar) % 4;
        for (int step = 0; step < 16; ++step) {
            int row = bar * 16 + step;
            if (step % 2 == 0) { // bass in eighths, octave jump on the off-beats
                at(row, 0) = {period(roots[chord] + (step % 4 == 2 ? 12 : 0)), 1, 0, 0};
            }
            // Arpeggio lead in sixteenths, an octave up, from the third pattern on.
            if (index >= 1) {
                int note = chords[chord][step % 3] + 12 + (index >= 2 && step >= 8 ? 12 : 0);
                at(row, 1) = {period(std::min(note, 35)), 2, 0, 0};
            }
            if (step % 4 == 0) {
                at(row, 2) = {period(12), 3, 0, 0};
            } else if (step % 4 == 2 && index >= 1) {
                at(row, 3) = {period(24), 4, 0, 0};
            }
        }
    }
    at(0, 0).effect = 0xF; // speed 6
    at(0, 0).param = 6;
    return p;
}

void put16(std::vector<uint8_t>& out, int value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value & 0xFF));
}

void putText(std::vector<uint8_t>& out, const std::string& text, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        out.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : 0);
    }
}

std::vector<uint8_t> buildModule() {
    std::vector<Sample> samples = {makeBass(), makeLead(), makeKick(), makeHat()};
    const std::vector<int> order = {0, 1, 2, 3, 2, 3};
    std::vector<uint8_t> out;
    putText(out, "tamberlo demo", 20);
    for (int i = 0; i < 31; ++i) {
        if (i < static_cast<int>(samples.size())) {
            const Sample& s = samples[i];
            putText(out, s.name, 22);
            int words = static_cast<int>(s.data.size() / 2);
            put16(out, words);
            out.push_back(0); // finetune
            out.push_back(static_cast<uint8_t>(s.volume));
            put16(out, 0);
            put16(out, s.loopsWhole ? words : 1);
        } else {
            putText(out, "", 22);
            put16(out, 0);
            out.push_back(0);
            out.push_back(0);
            put16(out, 0);
            put16(out, 1);
        }
    }
    out.push_back(static_cast<uint8_t>(order.size()));
    out.push_back(127);
    for (int i = 0; i < 128; ++i) {
        out.push_back(i < static_cast<int>(order.size()) ? static_cast<uint8_t>(order[i]) : 0);
    }
    putText(out, "M.K.", 4);
    for (int index = 0; index < 4; ++index) {
        for (const Note& n : makePattern(index)) {
            out.push_back(static_cast<uint8_t>((n.sample & 0xF0) | (n.period >> 8)));
            out.push_back(static_cast<uint8_t>(n.period & 0xFF));
            out.push_back(static_cast<uint8_t>(((n.sample & 0x0F) << 4) | n.effect));
            out.push_back(static_cast<uint8_t>(n.param));
        }
    }
    for (const Sample& s : samples) {
        for (int8_t v : s.data) {
            out.push_back(static_cast<uint8_t>(v));
        }
    }
    return out;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUT.mod\n", argv[0]);
        return 2;
    }
    std::vector<uint8_t> module = buildModule();
    std::FILE* file = std::fopen(argv[1], "wb");
    if (!file || std::fwrite(module.data(), 1, module.size(), file) != module.size()) {
        std::fprintf(stderr, "cannot write %s\n", argv[1]);
        return 1;
    }
    return std::fclose(file) == 0 ? 0 : 1;
}
