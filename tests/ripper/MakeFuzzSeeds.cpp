// Writes seed inputs for the ripper's fuzz target: a small module packed in every format the
// ripper converts, and a plain module, each inside other bytes, so the fuzzer starts past the
// format tests.
#include "ModulePacker.h"
#include "RipTestSupport.h"
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
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
        return 2;
    }
    ProTrackerModule module = ProTrackerModule::blank(2);
    module.header[950] = 3;
    module.header[953] = 1;
    module.setSample(0, 40, 0, 64, 0, 1);
    module.setSample(1, 30, 2, 20, 4, 10);
    writeCell(module.patterns[0], 0, 0, {1, 428, 0xA, 0x30});
    writeCell(module.patterns[1], 3, 2, {2, 214, 0xB, 0x01});
    writeCell(module.patterns[1], 9, 1, {1, 0, 0x7, 0x22});
    using V6 = ThePlayer6xVersion;
    const Bytes seeds[] = {
        packNoisePackerV2(module),
        packAc1d(module),
        module.bytes(),
        packNoisePackerV1(module),
        packNoisePackerV3(module),
        packNoiserunner(module),
        packProPacker(module, ProPackerVersion::V10),
        packProPacker(module, ProPackerVersion::V21),
        packProPacker(module, ProPackerVersion::V30),
        packProRunner1(module),
        packProRunner2(module),
        packPromizer(module, PromizerVersion::V01),
        packPromizer(module, PromizerVersion::V10c),
        packPromizer(module, PromizerVersion::V18a),
        packPromizer(module, PromizerVersion::V20),
        packPromizer(module, PromizerVersion::V40),
        packThePlayer(module, ThePlayerVersion::V22A),
        packThePlayer(module, ThePlayerVersion::V40A),
        packThePlayer(module, ThePlayerVersion::V41A),
        packThePlayer6x(module, {V6::V50A}),
        packThePlayer6x(module, {V6::V60A}),
        packThePlayer6x(module, {V6::V61A, true, true}),
        packTrackerPacker1(module),
        packTrackerPacker2(module),
        packTrackerPacker3(module),
        packKrisTracker(module),
        packKefrensSoundMachine(module),
        packFuzzac(module),
        packFcm(module),
        packHornet(module),
        packSkyt(module),
        packStim(module),
        packFuchsTracker(module),
        packSoundFx13(module),
        packDigitalIllusion(module),
        packEureka(module),
        packZen(module),
        packStarTrekker(module),
        packXann(module),
        packPha(module),
        packGameMusicCreator(module),
        packTheDarkDemon(module),
        packTitanicsPlayer(module),
        packNewtron(module),
        packNewtronOld(module),
        packHeatseeker(module),
        packModuleProtector(module),
        packModuleProtectorTagged(module),
        packPowerMusic(module),
        packWantonPacker(module),
        packPolka(module),
        packPolkaPsux(module),
        packSoundTracker26(module),
        packIceTracker(module),
        packTmk(module),
        packTmkDelta(module),
        packQuadraComposer(module),
        packNoiseFromHeaven(module),
        packStoneArtsPlayer(module),
        packGnuPlayer(module),
        packGpmo(module),
        packUnicV1(module),
        packUnicV1MK(module),
        packUnicV1Tag(module),
        packUnicV2(module),
    };
    const std::filesystem::path dir = argv[1];
    std::filesystem::create_directories(dir);
    int index = 0;
    for (const Bytes& seed : seeds) {
        Bytes file = filler(80, 1);
        file.insert(file.end(), seed.begin(), seed.end());
        file.resize(file.size() + 70, 0x55);
        writeFile(dir / ("seed-" + std::to_string(index++)), file);
    }
    return 0;
}
