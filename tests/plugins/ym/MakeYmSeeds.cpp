// Writes seed inputs for the ym fuzz target: YM5 dumps plain and LHA-packed (levels 0, 1 and 2,
// -lh5- and stored), a YM3b and a YM6 with effects and a digidrum.
#include "YmLh5Packer.h"
#include "YmWriter.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

void save(const std::string& folder, const std::string& name, const std::vector<uint8_t>& bytes) {
    std::ofstream(folder + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s corpus-folder\n", argv[0]);
        return 1;
    }
    const std::string folder = argv[1];
    chipgen::YmDescription song;
    song.frames = chipgen::ymToneFrames(284, 15, 40);
    song.frames[5].envelopeShape = 10;
    song.frames[5].envelopePeriod = 40;
    song.frames[5].volumes[1] = 16;
    song.frames[9].mixer = 0x36;
    song.frames[9].noisePeriod = 7;
    const auto ym5 = chipgen::writeYm(song, chipgen::YmFormat::Ym5);
    save(folder, "plain.ym", ym5);
    save(folder, "lh5-level0.lha", chipgen::lhaArchive(ym5, {}));
    save(folder, "lh5-level1.lha", chipgen::lhaArchive(ym5, {"song.ym", 1, false}));
    save(folder, "lh5-level2.lha", chipgen::lhaArchive(ym5, {"song.ym", 2, false}));
    save(folder, "stored.lha", chipgen::lhaArchive(ym5, {"song.ym", 0, true}));
    save(folder, "ym3b.ym", chipgen::writeYm(song, chipgen::YmFormat::Ym3b));

    song.drums.assign(2, std::vector<uint8_t>(300, 0x80));
    song.frames[2].extraBits[1] = 0x10 | 0xC0; // sync buzzer on voice A
    song.frames[2].extraBits[6] = 3 << 5;
    song.frames[2].register14 = 40;
    song.frames[3].extraBits[3] = 0x20 | 0x40; // drum on voice B
    song.frames[3].volumes[1] = 1;
    song.frames[3].extraBits[8] = 2 << 5;
    song.frames[3].register15 = 30;
    song.interleaved = false;
    save(folder, "ym6-effects.ym", chipgen::writeYm(song, chipgen::YmFormat::Ym6));
    return 0;
}
