// Writes generated Future Composer modules into the folder argv[1]: seeds for the fuzz target.
#include "FutureComposerWriter.h"
#include "SeedFolder.h"

int main(int argc, char** argv) {
    using namespace chipgen;
    tamberlo::test::Seeds seeds;
    for (const FcVersion version : {FcVersion::Fc13, FcVersion::Fc14}) {
        const std::string prefix = version == FcVersion::Fc13 ? "smod-" : "fc14-";
        FutureComposerSong song;
        song.version = version;
        song.steps = 2;
        song.instruments = {FcInstrument{}, FcInstrument{40, FcSound::Sample, {}, {}},
                            // vibrato, a volume slide and an arpeggio that loops
                            FcInstrument{64,
                                         FcSound::Square,
                                         {0xE2, 10, 0, 0xE3, 4, 20, 12, 7, 0xE0, 6},
                                         {2, 2, 3, 8, 4, 64, 0xEA, 0xFE, 20, 0xE8, 10, 0xE1}}};
        song.notes = {{0, 0, 13, 0}, {1, 4, 25, 1}, {2, 8, 20, 2}, {3, 16, 37, 0}};
        seeds.emplace_back(prefix + "voices.fc", writeFutureComposer(song));
        song.speed = 1;
        song.steps = 1;
        song.notes = {{0, 0, 1, 2}, {0, 10, 72, 1}};
        seeds.emplace_back(prefix + "fast.fc", writeFutureComposer(song));
    }
    return tamberlo::test::writeSeeds(argc, argv, seeds);
}
