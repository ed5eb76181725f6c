// Titanics Player (round trips and damage: EveryFormatTest) on a real file: the 15-sample module
// it gives back ("-1.stk") holds what it claims and plays.
#include "Audio.h"
#include "RipTestSupport.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {
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

// The real file: 15 records, every note period in the finetune-0 table, sizes adding up, and a
// length our sound library can play.
TEST(ChainC, RealTitanicsPlayerFileGivesAPlayable15SampleModule) {
    const auto path = std::filesystem::path(TAMBERLO_PACKED_MODULES_DIR) / "TITANICS.titantrax1";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "no " << path;
    const Bytes module = ripToModule(readFile(path));
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
