// Writes generated IMF, DRO, HSC and CMF songs into the fuzz corpus folder given as the one
// argument.
#include "AdlibDumpTrackerWriter.h"
#include "AdlibDumpWriter.h"

#include "SeedFolder.h"

#include <iterator>

int main(int argc, char** argv) {
    const chipgen::AdlibSong songs[] = {
        {{{0x244, 4, 300}}, 0},
        {{{0x1CA, 3, 120}, {0x2AE, 5, 80}, {0x158, 6, 40}}, 30},
        {{{0x3FF, 7, 2000}}, 500},
    };
    const std::vector<chipgen::HscNote> hscNotes[] = {
        {{49, 1}},
        {{37, 1}, {40, 9}, {44, 17}, {127, 25}, {61, 40}},
        {{1, 1}, {96, 2}, {127, 3}},
    };
    const std::vector<chipgen::CmfNote> cmfNotes[] = {
        {{69, 100, 0}},
        {{60, 30, 5}, {64, 30, 5}, {67, 60, 10}},
        {{0, 1, 0}, {127, 1000, 1000}},
    };
    tamberlo::test::Seeds seeds;
    for (size_t i = 0; i < std::size(songs); ++i) {
        const std::string stem = "song" + std::to_string(i);
        seeds.emplace_back(stem + ".imf", chipgen::writeImf(songs[i]));
        seeds.emplace_back(stem + ".dro", chipgen::writeDro(songs[i]));
        seeds.emplace_back(stem + ".hsc", chipgen::writeHsc(hscNotes[i]));
        seeds.emplace_back(stem + ".cmf", chipgen::writeCmf(cmfNotes[i], 100));
    }
    return tamberlo::test::writeSeeds(argc, argv, seeds);
}
