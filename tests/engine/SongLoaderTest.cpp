// Loading off the caller's thread: the loader hands out only the latest request and never waits
// long for a slow source when it goes; the sequencer starts a preloaded next song without
// loading, adopts one installed ahead, and drops one that is no longer next.
#include "SongLoader.h"
#include "EngineTestSupport.h"
#include "ScriptedHttpServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <sys/stat.h>
#include <thread>

namespace enginetest {
namespace {

using Clock = std::chrono::steady_clock;

// Counts the loader's "ready" calls so the test can wait for them.
class ReadyCount {
public:
    void notify() {
        {
            std::lock_guard lock(mutex_);
            ++count_;
        }
        changed_.notify_all();
    }
    bool waitFor(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return count_ >= count; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

SequencedEntry entryFor(const std::string& path) {
    SequencedEntry entry;
    entry.path = path;
    return entry;
}

void writeTones(const ScratchDir& dir, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        writeWav(dir.file(name), 44100, 22050, [](uint32_t, int) { return int16_t{9000}; });
    }
}

TEST(SongLoader, HandsOutOnlyTheLatestRequestAndStopsSlowSourcesAtOnce) {
    ScratchDir dir("loader");
    writeTones(dir, {"good.wav"});
    writeBytes(dir.file("noise.bin"), std::vector<uint8_t>(4096, 0x5a));
    std::ofstream(dir.file("slow-ripper")) << "#!/bin/sh\nexec sleep 30\n";
    ::chmod(dir.file("slow-ripper").c_str(), 0755);
    tamberlo::test::ScriptedHttpServer silent({.head = ""});
    auto engine = offlineEngine();
    engine->setRipperPath(dir.file("slow-ripper"));

    const struct {
        const char* name;
        std::string slowPath;
    } cases[] = {
        {"silent server", silent.url("/stream")},
        {"ripper that hangs", dir.file("noise.bin")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ReadyCount ready;
        auto loader = std::make_unique<SongLoader>(*engine, [&] { ready.notify(); });
        // The slow source is given time to be under way (it would take 5 or 30 s).
        const SongLoader::Ticket first = loader->request(c.slowPath, {});
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const Clock::time_point superseded = Clock::now();
        const SongLoader::Ticket second = loader->request(dir.file("good.wav"), {});
        EXPECT_FALSE(loader->waitFor(first)) << "a superseded request is never handed out";
        std::optional<SongLoader::Finished> latest = loader->waitFor(second);
        EXPECT_LT(Clock::now() - superseded, std::chrono::seconds(2));
        ASSERT_TRUE(latest);
        EXPECT_TRUE(latest->song.loaded());
        EXPECT_EQ(latest->song.path, dir.file("good.wav"));
        EXPECT_FALSE(loader->take()) << "handed out once";

        loader->request(c.slowPath, {});
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_TRUE(loader->busy());
        const Clock::time_point closing = Clock::now();
        loader.reset();
        EXPECT_LT(Clock::now() - closing, std::chrono::seconds(2)) << "the slow source was cut";
    }
}

TEST(SongLoader, PreloadedNextSongStartsWithoutLoadingUnlessItIsNoLongerNext) {
    ScratchDir dir("preload");
    writeTones(dir, {"one.wav", "two.wav", "three.wav"});
    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();
    ReadyCount ready;
    int readyCalls = 0;
    SongLoader loader(*engine, [&] { ready.notify(); });
    PlaybackSequencer sequencer(*engine, &loader);
    const auto preload = [&](const char* name) {
        sequencer.preloadNext(dir.file(name));
        ASSERT_TRUE(ready.waitFor(++readyCalls));
        EXPECT_FALSE(sequencer.collect(false)) << "a preload is held, not started";
        EXPECT_TRUE(sequencer.isPreloaded(dir.file(name)));
    };
    SequencedEntry one = entryFor(dir.file("one.wav"));
    ASSERT_TRUE(sequencer.start(one).loaded);
    ++readyCalls;

    preload("two.wav");
    const std::optional<PlaybackSequencer::Started> two =
        sequencer.begin(entryFor(dir.file("two.wav")), false);
    ASSERT_TRUE(two) << "no loading step";
    EXPECT_TRUE(two->result.loaded && two->result.preloaded);
    EXPECT_EQ(two->entry.lengthMs, 500u);
    EXPECT_TRUE(channelPlays(*engine, sequencer.slot()));

    // Installed ahead in the other slot, paused; the start adopts that channel.
    preload("three.wav");
    const audio::Channel ahead = sequencer.installNextPaused();
    bool paused = false;
    EXPECT_EQ(ahead.getPaused(&paused), audio::Result::Ok);
    EXPECT_TRUE(paused);
    const std::optional<PlaybackSequencer::Started> three =
        sequencer.begin(entryFor(dir.file("three.wav")), false);
    ASSERT_TRUE(three && three->result.preloaded);
    EXPECT_EQ(ahead.getPaused(&paused), audio::Result::Ok) << "the very channel plays";
    EXPECT_FALSE(paused);

    // A held song that is not what starts next is released, and the start loads as usual.
    const struct {
        const char* name;
        std::function<void()> change;
        const char* started;
    } dropped[] = {
        {"another entry", [] {}, "three.wav"},
        {"other settings", [&] { sequencer.setOptions({.gapless = true}); }, "one.wav"},
    };
    for (const auto& d : dropped) {
        SCOPED_TRACE(d.name);
        preload("one.wav");
        d.change();
        SequencedEntry entry = entryFor(dir.file(d.started));
        const PlaybackSequencer::StartResult result = sequencer.start(entry);
        ++readyCalls;
        EXPECT_TRUE(result.loaded);
        EXPECT_FALSE(result.preloaded);
        EXPECT_FALSE(sequencer.isPreloaded(dir.file("one.wav")));
    }

    // While a load is pending the tick says so and never reports an end.
    ASSERT_FALSE(sequencer.begin(entryFor(dir.file("two.wav")), false));
    const PlaybackSequencer::Tick tick = sequencer.tick();
    EXPECT_TRUE(tick.loading);
    EXPECT_FALSE(tick.ended);
    sequencer.stop();
}

} // namespace
} // namespace enginetest
