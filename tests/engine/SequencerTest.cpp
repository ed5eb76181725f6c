// The player's song change through PlaybackSequencer on the offline output: alternating slots,
// the end detected on the tick, the measured end on an entry's first play and the stored full
// length on later plays, the measured start with gapless on, and a failed load that ends at once.
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

namespace enginetest {
namespace {

constexpr int16_t Loud = 12000;

SequencedEntry entryFor(const std::string& path) {
    SequencedEntry entry;
    entry.path = path;
    return entry;
}

TEST(Sequencer, SongsAlternateSlotsAndEndOnTheTickThatReachesTheirLengthFailedOnesAtOnce) {
    ScratchDir dir("alternate");
    writeWav(dir.file("one.wav"), 44100, 44100, [](uint32_t, int) { return Loud; });
    writeWav(dir.file("half.wav"), 44100, 22050, [](uint32_t, int) { return Loud; });
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    EXPECT_FALSE(sequencer.tick().ended) << "idle before the first start";

    SequencedEntry one = entryFor(dir.file("one.wav"));
    const PlaybackSequencer::StartResult started = sequencer.start(one);
    EXPECT_TRUE(started.loaded);
    EXPECT_TRUE(started.seekable);
    EXPECT_EQ(sequencer.slot(), 1);
    EXPECT_EQ(one.lengthMs, 1000u);
    EXPECT_EQ(one.formatName, "Microsoft WAV");
    EXPECT_EQ(ticksUntilEnd(*engine, sequencer), 50);

    SequencedEntry half = entryFor(dir.file("half.wav"));
    ASSERT_TRUE(sequencer.start(half).loaded);
    EXPECT_EQ(sequencer.slot(), 0);
    EXPECT_FALSE(channelPlays(*engine, 1)) << "the old slot's channel is stopped";
    EXPECT_EQ(ticksUntilEnd(*engine, sequencer), 25);

    sequencer.stop();
    EXPECT_FALSE(sequencer.active());
    EXPECT_FALSE(sequencer.tick().ended);

    // A failed load ends on the next tick, so the player moves on.
    engine->setRipperPath("/bin/true");
    SequencedEntry missing = entryFor(dir.file("missing.wav"));
    EXPECT_FALSE(sequencer.start(missing).loaded);
    EXPECT_EQ(missing.lengthMs, 0u);
    EXPECT_EQ(ticksUntilEnd(*engine, sequencer), 1);
}

TEST(Sequencer, GaplessEndActsOnTheFirstPlayAndTheFullLengthOnLaterOnes) {
    ScratchDir dir("gapless");
    writeWav(dir.file("loud.wav"), 44100, 441000, [](uint32_t, int) { return Loud; });
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    SequencerOptions options;
    options.gapless = true;
    sequencer.setOptions(options);

    SequencedEntry entry = entryFor(dir.file("loud.wav"));
    ASSERT_TRUE(sequencer.start(entry).loaded);
    EXPECT_EQ(sequencer.endMs(), 10000u - 765u);
    EXPECT_EQ(entry.lengthMs, 10000u) << "the entry keeps the full length for later plays";
    EXPECT_EQ(ticksUntilEnd(*engine, sequencer), (10000 - 765 + 19) / 20);

    ASSERT_TRUE(sequencer.start(entry).loaded);
    EXPECT_EQ(sequencer.endMs(), 10000u);
}

TEST(Sequencer, GaplessPlayStartsAfterTheMeasuredLeadingSilence) {
    ScratchDir dir("lead");
    // One second of silence, then two loud ones.
    writeWav(dir.file("lead.wav"), 44100, 3 * 44100,
             [](uint32_t frame, int) { return frame < 44100 ? int16_t(0) : Loud; });
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    SequencerOptions options;
    options.gapless = true;
    sequencer.setOptions(options);

    SequencedEntry entry = entryFor(dir.file("lead.wav"));
    ASSERT_TRUE(sequencer.start(entry).loaded);
    EXPECT_EQ(entry.startOffsetMs, 250u) << "a quarter of the silence, as measured";
    EXPECT_EQ(positionMs(*engine, sequencer.slot()), 250u);
    mixMs(*engine, 100);
    EXPECT_EQ(positionMs(*engine, sequencer.slot()), 350u);

    options.gapless = false;
    sequencer.setOptions(options);
    ASSERT_TRUE(sequencer.start(entry).loaded);
    EXPECT_EQ(entry.startOffsetMs, 0u) << "without gapless the song starts at its beginning";
    EXPECT_EQ(positionMs(*engine, sequencer.slot()), 0u);
}

// Sample-exact: the queued song follows without a tick of its own, its start adopts the
// playing channel, and a song change before the end (the user's Next) still plays it from 0.
TEST(Sequencer, SampleExactQueuesTheNextSongAndAdoptsItsChannel) {
    ScratchDir dir("exact");
    writeWav(dir.file("a.wav"), 44100, 22050, [](uint32_t, int) { return Loud; });
    writeWav(dir.file("b.wav"), 44100, 44100, [](uint32_t, int) { return Loud; });
    auto engine = offlineEngine();
    PlaybackSequencer sequencer(*engine);
    SequencerOptions options;
    options.gapless = true; // has no effect: sample-exact trims nothing
    options.sampleExact = true;
    sequencer.setOptions(options);
    for (const bool early : {false, true}) {
        SCOPED_TRACE(early ? "changed early" : "played through");
        SequencedEntry a = entryFor(dir.file("a.wav"));
        SequencedEntry b = entryFor(dir.file("b.wav"));
        ASSERT_TRUE(sequencer.start(a).loaded);
        EXPECT_EQ(a.startOffsetMs, 0u);
        ASSERT_TRUE(sequencer.queueNext(b.path));
        EXPECT_TRUE(sequencer.queueNext(b.path)) << "asking again keeps it queued";
        const size_t frames = early ? 441 : 22050 + 441; // into a, or 441 frames into b
        std::vector<float> mixed(2 * frames);
        engine->getSystem()->mix(frames, mixed.data());
        EXPECT_EQ(mixed[2 * (frames - 441)], Loud / 32768.0f) << "b follows a at once";
        ASSERT_TRUE(sequencer.start(b).loaded);
        EXPECT_EQ(b.lengthMs, 1000u);
        unsigned position = 0;
        engine->getChannel(sequencer.slot()).getPosition(&position, audio::TimeUnit::Pcm);
        EXPECT_EQ(position, early ? 0u : 441u);
        EXPECT_EQ(ticksUntilEnd(*engine, sequencer), 50);
        sequencer.stop();
    }
}

} // namespace
} // namespace enginetest
