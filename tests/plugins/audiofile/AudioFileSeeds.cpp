// Seeds of the audiofile fuzz target: short tones in every format the plug-in claims, written
// with libaudiofile, in a few sample formats and channel counts.
#include <audiofile.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Seed {
    const char* name;
    int fileFormat;
    int channels;
    int sampleFormat;
    int bits;
    int compression;
};

const Seed Seeds[] = {
    {"tone.smp", AF_FILE_SAMPLEVISION, 1, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_NONE},
    {"tone.sf", AF_FILE_IRCAM, 1, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_NONE},
    {"quad.sf", AF_FILE_IRCAM, 4, AF_SAMPFMT_FLOAT, 32, AF_COMPRESSION_NONE},
    {"ulaw.sf", AF_FILE_IRCAM, 2, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_G711_ULAW},
    {"tone.avr", AF_FILE_AVR, 2, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_NONE},
    {"byte.avr", AF_FILE_AVR, 1, AF_SAMPFMT_TWOSCOMP, 8, AF_COMPRESSION_NONE},
    {"tone.8svx", AF_FILE_IFF_8SVX, 1, AF_SAMPFMT_TWOSCOMP, 8, AF_COMPRESSION_NONE},
    {"tone.sph", AF_FILE_NIST_SPHERE, 2, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_NONE},
    {"alaw.sph", AF_FILE_NIST_SPHERE, 1, AF_SAMPFMT_TWOSCOMP, 16, AF_COMPRESSION_G711_ALAW},
};

constexpr int Frames = 1000;

bool writeSeed(const std::string& path, const Seed& seed) {
    AFfilesetup setup = afNewFileSetup();
    afInitFileFormat(setup, seed.fileFormat);
    afInitChannels(setup, AF_DEFAULT_TRACK, seed.channels);
    afInitRate(setup, AF_DEFAULT_TRACK, 11025);
    afInitSampleFormat(setup, AF_DEFAULT_TRACK, seed.sampleFormat, seed.bits);
    afInitCompression(setup, AF_DEFAULT_TRACK, seed.compression);
    AFfilehandle file = afOpenFile(path.c_str(), "w", setup);
    afFreeFileSetup(setup);
    if (file == AF_NULL_FILEHANDLE) {
        return false;
    }
    afSetVirtualSampleFormat(file, AF_DEFAULT_TRACK, AF_SAMPFMT_FLOAT, 32);
    std::vector<float> samples(static_cast<size_t>(Frames * seed.channels));
    for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = 0.5f * static_cast<float>(std::sin(0.25 * static_cast<double>(i)));
    }
    const bool written = afWriteFrames(file, AF_DEFAULT_TRACK, samples.data(), Frames) == Frames;
    return afCloseFile(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    int failures = 0;
    for (const Seed& seed : Seeds) {
        if (!writeSeed(std::string(argv[1]) + "/" + seed.name, seed)) {
            std::fprintf(stderr, "could not write %s\n", seed.name);
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
