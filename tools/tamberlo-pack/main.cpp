// tamberlo-pack FORMAT IN.mod OUT: packs a 31-sample "M.K." module into FORMAT; without
// arguments lists the formats. Exit status 0 on success, 1 on a bad module or file, 2 on usage.
#include "ModulePacker.h"
#include "packers/ChainAPacker.h"
#include "packers/ChainBPacker.h"
#include "packers/ChainCPacker.h"
#include "packers/ChainDPacker.h"
#include "packers/NoisePackerPacker.h"
#include "packers/ProPackerPacker.h"
#include "packers/ProRunnerPacker.h"
#include "packers/PromizerPacker.h"
#include "packers/PtLikePacker.h"
#include "packers/TaggedAPacker.h"
#include "packers/TaggedBPacker.h"
#include "packers/TaggedCPacker.h"
#include "packers/TaggedDPacker.h"
#include "packers/TaggedEPacker.h"
#include "packers/ThePlayer4xPacker.h"
#include "packers/ThePlayer6xPacker.h"
#include "packers/TrackerPackerPacker.h"
#include "packers/UnicPacker.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string_view>

namespace {
struct Format {
    const char* name;
    Bytes (*pack)(const ProTrackerModule&);
};

using V6 = ThePlayer6xVersion;
const Format kFormats[] = {
    {"ac1d", packAc1d},
    {"digital-illusion", packDigitalIllusion},
    {"eureka", packEureka},
    {"fc-m", packFcm},
    {"fuchs", packFuchsTracker},
    {"fuzzac", packFuzzac},
    {"game-music-creator", packGameMusicCreator},
    {"gnuplayer", packGnuPlayer},
    {"gpmo", packGpmo},
    {"heatseeker", packHeatseeker},
    {"hornet", packHornet},
    {"icetracker", packIceTracker},
    {"kefrens", packKefrensSoundMachine},
    {"kris", packKrisTracker},
    {"module-protector", packModuleProtector},
    {"module-protector-trk1", packModuleProtectorTagged},
    {"newtron", packNewtron},
    {"newtron-old", packNewtronOld},
    {"noise-from-heaven", packNoiseFromHeaven},
    {"noisepacker1", packNoisePackerV1},
    {"noisepacker2", packNoisePackerV2},
    {"noisepacker3", packNoisePackerV3},
    {"noiserunner", packNoiserunner},
    {"pha", packPha},
    {"polka", packPolka},
    {"power-music", packPowerMusic},
    {"promizer0.1", packPromizerAs<PromizerVersion::V01>},
    {"promizer1.0c", packPromizerAs<PromizerVersion::V10c>},
    {"promizer1.8a", packPromizerAs<PromizerVersion::V18a>},
    {"promizer2.0", packPromizerAs<PromizerVersion::V20>},
    {"promizer4.0", packPromizerAs<PromizerVersion::V40>},
    {"propacker1.0", packProPackerAs<ProPackerVersion::V10>},
    {"propacker2.1", packProPackerAs<ProPackerVersion::V21>},
    {"propacker3.0", packProPackerAs<ProPackerVersion::V30>},
    {"prorunner1", packProRunner1},
    {"prorunner2", packProRunner2},
    {"quadra", packQuadraComposer},
    {"skyt", packSkyt},
    {"soundfx", packSoundFx13},
    {"soundtracker2.6", packSoundTracker26},
    {"startrekker", packStarTrekker},
    {"stim", packStim},
    {"stone-arts", packStoneArtsPlayer},
    {"the-dark-demon", packTheDarkDemon},
    {"theplayer2.2a", packThePlayerAs<ThePlayerVersion::V22A>},
    {"theplayer3.0a", packThePlayerAs<ThePlayerVersion::V30A>},
    {"theplayer4.0a", packThePlayerAs<ThePlayerVersion::V40A>},
    {"theplayer4.0b", packThePlayerAs<ThePlayerVersion::V40B>},
    {"theplayer4.1a", packThePlayerAs<ThePlayerVersion::V41A>},
    {"theplayer5.0a", packThePlayer6xAs<ThePlayer6xStyle{V6::V50A}>},
    {"theplayer6.0a", packThePlayer6xAs<ThePlayer6xStyle{V6::V60A}>},
    {"theplayer6.1a", packThePlayer6xAs<ThePlayer6xStyle{V6::V61A}>},
    {"titanics", packTitanicsPlayer},
    {"tmk", packTmk},
    {"trackerpacker1", packTrackerPacker1},
    {"trackerpacker2", packTrackerPacker2},
    {"trackerpacker3", packTrackerPacker3},
    {"unic1", packUnicV1},
    {"unic2", packUnicV2},
    {"wanton", packWantonPacker},
    {"xann", packXann},
    {"zen", packZen},
};

int usage(const char* program) {
    std::fprintf(stderr, "usage: %s FORMAT IN.mod OUT\nformats:", program);
    for (const Format& format : kFormats)
        std::fprintf(stderr, " %s", format.name);
    std::fprintf(stderr, "\n");
    return 2;
}
} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return usage(argv[0]);
    const Format* chosen = nullptr;
    for (const Format& format : kFormats)
        if (std::string_view(argv[1]) == format.name)
            chosen = &format;
    if (!chosen)
        return usage(argv[0]);
    std::ifstream in(argv[2], std::ios::binary);
    const Bytes file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const auto module = ProTrackerModule::parse(file);
    if (!module) {
        std::fprintf(stderr, "%s: not a 31-sample M.K. module\n", argv[2]);
        return 1;
    }
    const Bytes packed = chosen->pack(*module);
    std::ofstream out(argv[3], std::ios::binary);
    out.write(reinterpret_cast<const char*>(packed.data()), std::streamsize(packed.size()));
    if (!out) {
        std::fprintf(stderr, "%s: cannot write\n", argv[3]);
        return 1;
    }
    return 0;
}
