// Seeds of the libmod fuzz target: small ABC tunes that use the notation's main features
// (lengths, rests, octaves, accidentals, chords, ties, triplets, repeats, parts, several tunes).
#include "SeedFolder.h"

#include <cstring>

namespace {

const struct {
    const char* name;
    const char* text;
} Seeds[] = {
    {"scale.abc", "X:1\nT:Scale\nM:4/4\nL:1/8\nQ:1/4=120\nK:D\nDEFG ABcd|d'c'ba gfed|\n"},
    {"rests.abc", "X:1\nT:Rests\nM:3/4\nL:1/4\nK:Am\nA z B|z2 c|e3-|e z2|]\n"},
    {"chords.abc",
     "%abc-2.1\nX:2\nT:Chords\nM:6/8\nL:1/8\nK:F\n\"F\"[FAc]2 [GBd] (3cde f|^F_B=c C,D,E,|\n"},
    {"repeats.abc", "X:3\nT:Repeats\nM:2/4\nL:1/16\nK:G\n|:GABc d2d2|1 e4 d4:|2 g4 G4||\n"},
    {"parts.abc", "X:4\nT:Parts\nP:ABA\nM:4/4\nL:1/4\nK:C\nP:A\nC D E F|\nP:B\nG A B c|\n"},
    {"voices.abc", "X:5\nT:Voices\nM:4/4\nL:1/4\nK:C\nV:1\nc d e f|\nV:2\nC, D, E, F,|\n"},
    {"collection.abc",
     "% a file header\nM:4/4\n\nX:1\nT:One\nL:1/4\nK:C\nCDEF|\n\nX:2\nT:Two\nL:1/8\nK:G\nGABc "
     "dcBA|\n"},
};

} // namespace

int main(int argc, char** argv) {
    tamberlo::test::Seeds seeds;
    for (const auto& seed : Seeds)
        seeds.emplace_back(seed.name,
                           std::vector<uint8_t>(seed.text, seed.text + std::strlen(seed.text)));
    return tamberlo::test::writeSeeds(argc, argv, seeds);
}
