// Writes generated SID tunes into the folder argv[1]: seeds for the SID plug-in's fuzz target.
#include "PsidWriter.h"
#include "SeedFolder.h"

int main(int argc, char** argv) {
    using chipgen::PsidDescription;
    using chipgen::PsidLoop;
    const std::pair<const char*, PsidDescription> tunes[] = {
        {"one.sid", PsidDescription{}},
        {"three.sid", PsidDescription{.frequencies = {3000, 6000, 9000}, .startSong = 2}},
        {"version1.sid", PsidDescription{.version = 1}},
        {"version4.sid", PsidDescription{.version = 4}},
        {"stereo.sid", PsidDescription{.version = 3, .secondSidAddress = 0xD500}},
        {"real.sid", PsidDescription{.rsid = true}},
        {"busy-play.sid", PsidDescription{.loop = PsidLoop::Play}},
        {"busy-init.sid", PsidDescription{.loop = PsidLoop::InitAtOnce}},
    };
    tamberlo::test::Seeds seeds;
    for (const auto& [name, description] : tunes)
        seeds.emplace_back(name, chipgen::writePsid(description));
    return tamberlo::test::writeSeeds(argc, argv, seeds);
}
