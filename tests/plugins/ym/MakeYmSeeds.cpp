// Writes seed inputs for the ym fuzz target: YM5 dumps plain and LHA-packed (levels 0, 1 and 2,
// -lh5- and stored), a YM3b and a YM6 with effects and a digidrum.
#include "SeedFolder.h"
#include "YmLh5Packer.h"
#include "YmWriter.h"

int main(int argc, char** argv) {
    chipgen::YmDescription song;
    song.frames = chipgen::ymToneFrames(284, 15, 40);
    song.frames[5].envelopeShape = 10;
    song.frames[5].envelopePeriod = 40;
    song.frames[5].volumes[1] = 16;
    song.frames[9].mixer = 0x36;
    song.frames[9].noisePeriod = 7;
    const auto ym5 = chipgen::writeYm(song, chipgen::YmFormat::Ym5);
    tamberlo::test::Seeds seeds = {
        {"plain.ym", ym5},
        {"lh5-level0.lha", chipgen::lhaArchive(ym5, {})},
        {"lh5-level1.lha", chipgen::lhaArchive(ym5, {"song.ym", 1, false})},
        {"lh5-level2.lha", chipgen::lhaArchive(ym5, {"song.ym", 2, false})},
        {"stored.lha", chipgen::lhaArchive(ym5, {"song.ym", 0, true})},
        {"ym3b.ym", chipgen::writeYm(song, chipgen::YmFormat::Ym3b)},
    };

    song.drums.assign(2, std::vector<uint8_t>(300, 0x80));
    song.frames[2].extraBits[1] = 0x10 | 0xC0; // sync buzzer on voice A
    song.frames[2].extraBits[6] = 3 << 5;
    song.frames[2].register14 = 40;
    song.frames[3].extraBits[3] = 0x20 | 0x40; // drum on voice B
    song.frames[3].volumes[1] = 1;
    song.frames[3].extraBits[8] = 2 << 5;
    song.frames[3].register15 = 30;
    song.interleaved = false;
    seeds.emplace_back("ym6-effects.ym", chipgen::writeYm(song, chipgen::YmFormat::Ym6));
    return tamberlo::test::writeSeeds(argc, argv, seeds);
}
