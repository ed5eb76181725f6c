#include "PackFormats.h"

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

namespace {
using PM = PromizerVersion;
using PP = ProPackerVersion;
using P4 = ThePlayerVersion;
using P6 = ThePlayer6xVersion;
constexpr ThePlayer6xStyle k50A{P6::V50A};
constexpr ThePlayer6xStyle k60A{P6::V60A};
constexpr ThePlayer6xStyle k61A{P6::V61A};
constexpr ThePlayer6xStyle k61ADeltaTagged{P6::V61A, true, true};

const PackFormat kFormats[] = {
    {"ac1d", packAc1d, expectedFromAc1d},
    {"digital-illusion", packDigitalIllusion, expectedFromDigitalIllusion},
    {"eureka", packEureka, expectedFromEureka},
    {"fc-m", packFcm, expectedFromFcm},
    {"fuchs", packFuchsTracker, expectedFromFuchsTracker},
    {"fuzzac", packFuzzac, expectedFromFuzzac},
    {"game-music-creator", packGameMusicCreator, expectedFromGameMusicCreator},
    {"gnuplayer", packGnuPlayer, expectedFromGnuPlayer},
    {"gpmo", packGpmo, expectedFromGpmo},
    {"heatseeker", packHeatseeker, expectedFromHeatseeker},
    {"hornet", packHornet, expectedFromHornet},
    {"icetracker", packIceTracker, expectedFromIceTracker},
    {"kefrens", packKefrensSoundMachine, expectedFromKefrensSoundMachine},
    {"kris", packKrisTracker, expectedFromKrisTracker},
    {"module-protector", packModuleProtector, expectedFromModuleProtector},
    {"module-protector-trk1", packModuleProtectorTagged, expectedFromModuleProtector},
    {"newtron", packNewtron, expectedFromNewtron},
    {"newtron-old", packNewtronOld, expectedFromNewtronOld},
    {"noise-from-heaven", packNoiseFromHeaven, expectedFromNoiseFromHeaven},
    {"noisepacker1", packNoisePackerV1, expectedFromNoisePackerV1},
    {"noisepacker2", packNoisePackerV2, expectedFromNoisePackerV2},
    {"noisepacker3", packNoisePackerV3, expectedFromNoisePackerV3},
    {"noiserunner", packNoiserunner, expectedFromNoiserunner},
    {"pha", packPha, expectedFromPha},
    {"polka", packPolka, expectedFromPolka},
    {"polka-psux", packPolkaPsux, expectedFromPolka},
    {"power-music", packPowerMusic, expectedFromPowerMusic},
    {"promizer0.1", packPromizerAs<PM::V01>, expectedFromPromizerAs<PM::V01>},
    {"promizer1.0c", packPromizerAs<PM::V10c>, expectedFromPromizerAs<PM::V10c>},
    {"promizer1.8a", packPromizerAs<PM::V18a>, expectedFromPromizerAs<PM::V18a>},
    {"promizer2.0", packPromizerAs<PM::V20>, expectedFromPromizerAs<PM::V20>},
    {"promizer4.0", packPromizerAs<PM::V40>, expectedFromPromizerAs<PM::V40>},
    {"propacker1.0", packProPackerAs<PP::V10>, expectedFromProPackerAs<PP::V10>},
    {"propacker2.1", packProPackerAs<PP::V21>, expectedFromProPackerAs<PP::V21>},
    {"propacker3.0", packProPackerAs<PP::V30>, expectedFromProPackerAs<PP::V30>},
    {"prorunner1", packProRunner1, expectedFromProRunner1},
    {"prorunner2", packProRunner2, expectedFromProRunner2},
    {"quadra", packQuadraComposer, expectedFromQuadraComposer},
    {"skyt", packSkyt, expectedFromSkyt},
    {"soundfx", packSoundFx13, expectedFromSoundFx13},
    {"soundtracker2.6", packSoundTracker26, expectedFromIceTracker},
    {"startrekker", packStarTrekker, expectedFromStarTrekker},
    {"stim", packStim, expectedFromStim},
    {"stone-arts", packStoneArtsPlayer, expectedFromStoneArtsPlayer},
    {"the-dark-demon", packTheDarkDemon, expectedFromTheDarkDemon},
    {"theplayer2.2a", packThePlayerAs<P4::V22A>, expectedFromThePlayerAs<P4::V22A>},
    {"theplayer3.0a", packThePlayerAs<P4::V30A>, expectedFromThePlayerAs<P4::V30A>},
    {"theplayer4.0a", packThePlayerAs<P4::V40A>, expectedFromThePlayerAs<P4::V40A>},
    {"theplayer4.0b", packThePlayerAs<P4::V40B>, expectedFromThePlayerAs<P4::V40B>},
    {"theplayer4.1a", packThePlayerAs<P4::V41A>, expectedFromThePlayerAs<P4::V41A>},
    {"theplayer5.0a", packThePlayer6xAs<k50A>, expectedFromThePlayer6xAs<k50A>},
    {"theplayer6.0a", packThePlayer6xAs<k60A>, expectedFromThePlayer6xAs<k60A>},
    {"theplayer6.1a", packThePlayer6xAs<k61A>, expectedFromThePlayer6xAs<k61A>},
    {"theplayer6.1a-delta-tagged", packThePlayer6xAs<k61ADeltaTagged>,
     expectedFromThePlayer6xAs<k61ADeltaTagged>},
    {"titanics", packTitanicsPlayer, expectedFromTitanicsPlayer, "-1.stk"},
    {"tmk", packTmk, expectedFromTmk},
    {"tmk-delta", packTmkDelta, expectedFromTmkDelta},
    {"trackerpacker1", packTrackerPacker1, expectedFromTrackerPacker1},
    {"trackerpacker2", packTrackerPacker2, expectedFromTrackerPacker2},
    {"trackerpacker3", packTrackerPacker3, expectedFromTrackerPacker3},
    {"unic1", packUnicV1, expectedFromUnicV1},
    {"unic1-mk", packUnicV1MK, expectedFromUnicV1},
    {"unic1-tag", packUnicV1Tag, expectedFromUnicV1},
    {"unic2", packUnicV2, expectedFromUnicV2},
    {"wanton", packWantonPacker, expectedFromWantonPacker},
    {"xann", packXann, expectedFromXann},
    {"zen", packZen, expectedFromZen},
};
} // namespace

std::span<const PackFormat> packFormats() {
    return kFormats;
}

const PackFormat* findPackFormat(std::string_view name) {
    for (const PackFormat& format : kFormats)
        if (name == format.name)
            return &format;
    return nullptr;
}
