// Game Music Creator, The Dark Demon and Titanics Player: real music packed by the test packers
// comes back as its music; cut modules and files full of packed headers neither convert wrongly
// nor read outside the input. Titanics Player writes a 15-sample module ("-1.stk"), which the
// shared helpers do not read, so its cases are its own.
#include "Audio.h"
#include "RipTestSupport.h"
#include "packers/ChainCPacker.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {
const Packer kPackers[] = {
    {"Game Music Creator", packGameMusicCreator, expectedFromGameMusicCreator},
    {"The Dark Demon", packTheDarkDemon, expectedFromTheDarkDemon}};
const Packer kTitanics[] = {{"Titanics Player", packTitanicsPlayer, expectedFromTitanicsPlayer}};

// Rips `file` in a fresh directory: "-1.stk", empty when none was written.
Bytes ripToSoundTracker(const Bytes& file) {
    TempWorkDir dir;
    writeFile("input.bin", file);
    EXPECT_GE(ripCaptured("input.bin").result, 0);
    return std::filesystem::exists("-1.stk") ? readFile("-1.stk") : Bytes{};
}

// Length in milliseconds as our sound library plays it; 0 when it cannot open the module.
unsigned playedLength(const Bytes& module) {
    audio::System* system = nullptr;
    audio::System::create(&system);
    audio::OutputSpec output;
    output.kind = audio::OutputKind::Offline;
    unsigned length = 0;
    audio::Sound* sound = nullptr;
    audio::CreateSoundInfo info;
    info.length = module.size();
    if (system->init(4, output) == audio::Result::Ok &&
        system->createSound(reinterpret_cast<const char*>(module.data()),
                            audio::Mode::OpenOnly | audio::Mode::OpenMemory, &info,
                            &sound) == audio::Result::Ok) {
        sound->getLength(&length, audio::TimeUnit::Ms);
        sound->release();
    }
    system->release();
    return length;
}

TEST(ChainC, PackedRealModulesComeBackAsTheirMusic) {
    expectRoundTrips(kPackers);
}

TEST(ChainC, CutModulesAreRefused) {
    expectCutModulesRefused(kPackers);
}

TEST(ChainC, FilesFullOfPackedHeadersNeitherCrashNorHang) {
    expectHeaderFloodsAreSafe(kPackers);
    expectHeaderFloodsAreSafe(kTitanics);
}

TEST(ChainC, TitanicsPlayerComesBackAsA15SampleModule) {
    int converted = 0;
    unsigned seed = 40;
    for (const auto& path : mediaModules()) {
        const auto module = ProTrackerModule::parse(readFile(path));
        if (!module)
            continue;
        SCOPED_TRACE(path.filename().string());
        const Bytes actual = ripToSoundTracker(hideInside(packTitanicsPlayer(*module), ++seed));
        const Bytes expected = expectedFromTitanicsPlayer(*module);
        ASSERT_EQ(actual.size(), expected.size());
        EXPECT_TRUE(actual == expected);
        ++converted;
    }
    EXPECT_GE(converted, 10) << "too few modules in TAMBERLO_TEST_MEDIA/mod";

    const Bytes packed = packTitanicsPlayer(firstMediaModule());
    for (std::size_t cut : {packed.size() - 1, packed.size() / 2, std::size_t{290}}) {
        SCOPED_TRACE("cut to " + std::to_string(cut));
        Bytes file = filler(2000, 5);
        file.insert(file.end(), packed.begin(), packed.begin() + std::ptrdiff_t(cut));
        EXPECT_TRUE(ripToSoundTracker(file).empty());
    }
}

// The real file: 15 records, every note period in the finetune-0 table, sizes adding up, and a
// length our sound library can play.
TEST(ChainC, RealTitanicsPlayerFileGivesAPlayable15SampleModule) {
    const auto path = std::filesystem::path(TAMBERLO_PACKED_MODULES_DIR) / "TITANICS.titantrax1";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "no " << path;
    const Bytes module = ripToSoundTracker(readFile(path));
    ASSERT_GE(module.size(), 600u);
    const unsigned songLength = module[470];
    ASSERT_TRUE(songLength >= 1 && songLength <= 128);
    const unsigned patterns =
        *std::max_element(module.begin() + 472, module.begin() + 472 + songLength) + 1u;
    std::size_t sampleBytes = 0;
    for (int i = 0; i < 15; ++i)
        sampleBytes += 2 * get16(&module[20 + 30 * i + 22]);
    ASSERT_EQ(module.size(), 600 + 1024 * std::size_t(patterns) + sampleBytes);
    std::set<unsigned> periods;
    for (unsigned note = 0; note < kPeriodCount; ++note)
        periods.insert(periodOfNote(note));
    for (std::size_t at = 600; at < 600 + 1024 * std::size_t(patterns); at += 4)
        ASSERT_TRUE(periods.count((module[at] & 0x0F) << 8 | module[at + 1])) << "at " << at;
    const unsigned length = playedLength(module);
    EXPECT_GE(length, 5000u);
    EXPECT_LE(length, 30u * 60 * 1000);
}
} // namespace
