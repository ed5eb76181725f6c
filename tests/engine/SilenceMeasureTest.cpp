// Silence measurement on PCM files written by the test: the start and end a gapless load
// reports, the log lines, and the fixed quarter-time start and 765 ms end lead.
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

namespace enginetest {
namespace {

constexpr int16_t Loud = 12000;

struct Song {
    const char* name;
    std::function<int16_t(uint32_t, int)> sample;
    int threshold;
    int expectedStart;
    int endBeforeLength; // expected length - end
};

uint32_t secondsOf(double s) {
    return static_cast<uint32_t>(s * 44100);
}

// Every song is ten seconds long.
TEST(SilenceMeasure, StartAndEndOfGeneratedSongs) {
    const Song songs[] = {
        // Loud from the first to the last sample.
        {"loud", [](uint32_t, int) { return Loud; }, 0, 0, 765},
        // More than the 45,000 frames read are silent: the start saturates at 1020 ms.
        {"late-start", [](uint32_t f, int) { return f < secondsOf(2) ? int16_t{0} : Loud; }, 0,
         1020, 765},
        // Loud from frame 4410 (100 ms): the counter stops at 4412, a quarter of 100 ms.
        {"100ms-silence", [](uint32_t f, int) { return f < 4410 ? int16_t{0} : Loud; }, 0, 25, 765},
        // The end window (from 180,000 frames before the end, 45,000 frames long) is loud for
        // its first 22,500 frames: the scan stops 157,500 bytes before its end.
        {"half-loud-end-window",
         [](uint32_t f, int) { return f < secondsOf(10) - 180000 + 22500 ? Loud : int16_t{0}; }, 0,
         0, 892},
        // All of the end window silent: the whole read counts as trailing silence.
        {"silent-end-window", [](uint32_t f, int) { return f < secondsOf(5) ? Loud : int16_t{0}; },
         0, 0, 1020},
        // Threshold 0: a pair of ones (0x00010001) is sound.
        {"quiet-threshold-0", [](uint32_t, int) { return int16_t{1}; }, 0, 0, 765},
        // The same pair is silence below a threshold above 65,537.
        {"quiet-threshold-high", [](uint32_t, int) { return int16_t{1}; }, 65537, 1020, 1020},
        // Only the left side loud: the pair's magnitude is the left value, compared as a whole.
        {"left-only", [](uint32_t, int side) { return side == 0 ? Loud : int16_t{0}; }, 11999, 0,
         765},
    };
    for (const Song& song : songs) {
        SCOPED_TRACE(song.name);
        ScratchDir dir(song.name);
        writeWav(dir.file("song.wav"), 44100, secondsOf(10), song.sample);
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        const Loaded loaded = load(*engine, dir.file("song.wav"), 0, false, true, song.threshold);
        ASSERT_TRUE(loaded.ok);
        const int end = loaded.end;
        EXPECT_EQ(10000 - end, song.endBeforeLength);
        EXPECT_TRUE(log.contains("read bytes:180000"));
        EXPECT_TRUE(log.contains("Found start at: " + std::to_string(song.expectedStart) + " of " +
                                 dir.file("song.wav")));
        const int s = end / 1000;
        EXPECT_TRUE(log.contains("Found end at: " + std::to_string(end) + " (" +
                                 std::to_string(s / 60) + ":" + std::to_string(s % 60) + "." +
                                 std::to_string(end - s * 1000) + ")"));
        // ms <-> frames rounding
        EXPECT_NEAR(static_cast<int>(positionMs(*engine, 0)), song.expectedStart, 1);
    }
}

TEST(SilenceMeasure, OpenersReleaseTheirSoundsAndShortSongsLogTheFailedSeek) {
    ScratchDir dir("short");
    // 1 s: shorter than the 180,000 frames the end seek goes back, so the seek fails.
    writeWav(dir.file("short.wav"), 44100, 44100, [](uint32_t, int) { return Loud; });
    CapturedLog log(dir.file("log.html"));
    auto engine = offlineEngine();
    EXPECT_EQ(engine->findSoundStartFromPath(dir.file("short.wav"), 0), 0);
    engine->findSoundEndFromPath(dir.file("short.wav"), 0);
    EXPECT_TRUE(log.contains(std::string("Audio error! (") +
                             std::to_string(audio::code(audio::Result::SeekFailed)) + ")"));
    // A missing file: the creation error is logged and the measurement still answers.
    EXPECT_EQ(engine->findSoundStartFromPath(dir.file("missing.wav"), 0), 0);
    EXPECT_TRUE(log.contains("read bytes:0"));
}

// The fixed lead is counted in 44.1 kHz 16-bit stereo bytes, so a short song at a higher rate can
// be shorter than the stretch that would be cut off.
TEST(SilenceMeasure, ASongShorterThanTheTrimmedStretchKeepsItsFullLength) {
    ScratchDir dir("short-high-rate");
    // Half a second at 48 kHz, silent: 96,000 bytes read, trimmed by 544 ms.
    writeWav(dir.file("silent.wav"), 48000, 24000, [](uint32_t, int) { return int16_t{0}; });
    // 45 frames (0 ms): the end would have been exactly -1, the unknown length.
    writeWav(dir.file("tiny.wav"), 48000, 45, [](uint32_t, int) { return int16_t{0}; });
    auto engine = offlineEngine();
    EXPECT_EQ(load(*engine, dir.file("silent.wav"), 0, false, true).end, 500);
    EXPECT_EQ(load(*engine, dir.file("tiny.wav"), 1, false, true).end, 0);
}

} // namespace
} // namespace enginetest
