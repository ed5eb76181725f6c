// Writes seed inputs for the decoder fuzz target: a short WAV, a small four-channel module and,
// when the ffmpeg command is there, the same tone as MP3, Ogg Vorbis, FLAC and AIFF. Mutating
// real files takes the short CI run into the decoders instead of their first refusal.
#include "ModulePacker.h"
#include "PcmWavWriter.h"
#include "RipTestSupport.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// 50 ms of a 16-bit stereo tone at 44.1 kHz.
Bytes toneWav() {
    std::vector<int16_t> samples;
    for (int i = 0; i < 2205; ++i) {
        const auto sample = static_cast<int16_t>(8000 * std::sin(i * 0.0627));
        samples.insert(samples.end(), {sample, static_cast<int16_t>(-sample)});
    }
    return chipgen::pcmWav(44100, 2, samples);
}

// A two-pattern "M.K." module with two short looped samples and a few notes and effects.
Bytes smallModule() {
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 2;
    module.header[953] = 1;
    module.setSample(0, 32, 0, 64, 0, 16);
    module.setSample(1, 24, 3, 40, 8, 8);
    for (size_t i = 0; i < module.sampleData.size(); ++i) {
        module.sampleData[i] = static_cast<uint8_t>((i * 37) & 0xFF);
    }
    writeCell(module.patterns[0], 0, 0, {1, 428, 0x0, 0x00});
    writeCell(module.patterns[0], 4, 1, {2, 320, 0x4, 0x44});
    writeCell(module.patterns[0], 8, 2, {1, 214, 0xA, 0x04});
    writeCell(module.patterns[1], 0, 3, {2, 254, 0xF, 0x03});
    writeCell(module.patterns[1], 16, 0, {1, 428, 0xD, 0x00});
    return module.bytes();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
        return 2;
    }
    const std::filesystem::path dir = argv[1];
    std::filesystem::create_directories(dir);
    const std::filesystem::path wav = dir / "seed-tone.wav";
    writeFile(wav, toneWav());
    writeFile(dir / "seed-module.mod", smallModule());
    for (const char* suffix : {"mp3", "ogg", "flac", "aiff"}) {
        const std::filesystem::path out = dir / (std::string("seed-tone.") + suffix);
        const std::string command = "ffmpeg -nostdin -v error -y -i '" + wav.string() + "' '" +
                                    out.string() + "' 2>/dev/null";
        if (std::system(command.c_str()) != 0) {
            std::fprintf(stderr, "no %s seed (ffmpeg failed or is missing)\n", suffix);
        }
    }
    return 0;
}
