// Hostile input for the engine, one table per kind: paths that are no plain song files (a pipe,
// a folder, a huge file, gzip files that are damaged, lie about their size or hold several
// members), songs whose samples are not numbers, settings
// that are not numbers, and a current directory planted with a plug-in and a "-1.mod".
#include "EngineTestSupport.h"
#include "PcmWavWriter.h"
#include "PipeWithRescue.h"
#include "RipperFallback.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <thread>
#include <zlib.h>

namespace enginetest {
namespace {

int16_t halfScaleTone(uint32_t frame, int) {
    return static_cast<int16_t>(16384 * std::sin(frame * 0.05));
}

// `data` gzip-compressed as one member, or, with `lastMember` bytes, as two one after the other
// (as `cat a.gz b.gz` makes them); the trailer's size field (its last four bytes) says
// `claimedSize` when given.
std::vector<uint8_t> gzipped(const std::string& path, const std::vector<uint8_t>& data,
                             size_t lastMember = 0, std::optional<uint32_t> claimedSize = {}) {
    const bool twoMembers = lastMember > 0;
    const size_t half = data.size() - lastMember;
    const std::pair<const char*, std::pair<size_t, size_t>> members[] = {
        {"wb", {0, half}}, {"ab", {half, data.size() - half}}};
    for (const auto& [mode, part] : members) {
        gzFile file = gzopen(path.c_str(), mode);
        EXPECT_NE(file, nullptr);
        gzwrite(file, data.data() + part.first, static_cast<unsigned>(part.second));
        gzclose(file);
        if (!twoMembers) {
            break;
        }
    }
    std::vector<uint8_t> bytes = readBytes(path);
    for (size_t i = 0; claimedSize && i < 4; ++i) {
        bytes[bytes.size() - 4 + i] = static_cast<uint8_t>(*claimedSize >> (8 * i));
    }
    writeBytes(path, bytes);
    return bytes;
}

struct PathCase {
    const char* name;
    std::string path;
    int lengthMs;            // the loaded song's length; -1: refused
    const char* logged;      // a log line that must appear
    const char* neverLogged; // and one that must not
};

TEST(HostileInput, PathsThatAreNoPlainSongFilesNeitherBlockNorMislead) {
    ScratchDir dir("hostile-paths");
    writeWav(dir.file("song.wav"), 44100, 44100, halfScaleTone);
    const std::vector<uint8_t> wav = readBytes(dir.file("song.wav"));
    gzipped(dir.file("song.wav.gz"), wav, wav.size() / 2);
    writeWav(dir.file("long.wav"), 44100, 8 * 44100, halfScaleTone);        // 1.4 MB
    gzipped(dir.file("long.wav.gz"), readBytes(dir.file("long.wav")), 100); // trailer says 100
    gzipped(dir.file("bomb.wav.gz"), wav, 0, 0xFFFFFFFF); // small file, claims 4 GiB
    gzipped(dir.file("understated.wav.gz"), wav, 0, 16);  // less than the data holds
    const std::vector<uint8_t> gz = gzipped(dir.file("truncated.wav.gz"), wav);
    writeBytes(dir.file("truncated.wav.gz"), {gz.begin(), gz.begin() + gz.size() / 2});
    tamberlo::test::PipeWithRescue pipe(dir.file("pipe.wav.gz"));
    ASSERT_TRUE(pipe.made());
    std::filesystem::create_directory(dir.file("folder.mod"));
    // 100 MiB that nothing opens, nearly all of it a hole on disk.
    std::ofstream(dir.file("huge.mod")).put('x');
    std::filesystem::resize_file(dir.file("huge.mod"), 100 << 20);
    writeBytes(dir.file("noise.bin"), std::vector<uint8_t>(5000, 0x5A));

    const PathCase cases[] = {
        {"pipe", pipe.path(), -1, "is not a regular file", "No packed module"},
        {"folder", dir.file("folder.mod"), -1, "is not a regular file", "No packed module"},
        {"huge", dir.file("huge.mod"), -1, "Module ripper scans only the first 64 MiB of",
         "Module ripper failed"},
        {"nothing inside", dir.file("noise.bin"), -1, "No packed module found in", "is not a"},
        {"missing", dir.file("missing.wav"), -1, "Audio error! (3)", "No packed module"},
        {"stream", "http://127.0.0.1:1/x", -1, "Audio error!", "No packed module"},
        {"two gzip members", dir.file("song.wav.gz"), 1000, "Loaded file:", "Gzip file"},
        {"small last member", dir.file("long.wav.gz"), 8000, "Loaded file:", "Gzip file"},
        {"gzip bomb", dir.file("bomb.wav.gz"), -1, "claims 4294967295 bytes uncompressed",
         "Loaded file:"},
        // Damaged, or a garbage trailer too large.
        {"truncated gzip", dir.file("truncated.wav.gz"), -1, "Gzip file", "Loaded file:"},
        {"understated gzip", dir.file("understated.wav.gz"), -1, "is damaged", "Loaded file:"},
    };
    for (const PathCase& c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        engine->setRipperPath("/bin/true"); // finds nothing, quickly
        const auto started = std::chrono::steady_clock::now();
        // Refused paths take the trimming load, which measures the song before it plays.
        const Loaded loaded = load(*engine, c.path, 1, false, c.lengthMs < 0);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
        EXPECT_EQ(loaded.ok, c.lengthMs >= 0);
        EXPECT_EQ(channelPlays(*engine, 1), loaded.ok);
        if (loaded.ok) {
            EXPECT_EQ(loaded.end, c.lengthMs);
        } else {
            EXPECT_EQ(loaded.type, "") << "no type name for a failed load";
        }
        EXPECT_TRUE(log.contains(c.logged));
        EXPECT_FALSE(log.contains(c.neverLogged));
        engine->stopAll(); // releasing a failed slot is refused, logged and harmless
    }
}

// What a listener hears of `good` from 0.3 s to 1.3 s after its start, with reverb and
// normalizer on, when it plays after `before` (or first, for "").
std::vector<float> heardOfGoodSong(const std::string& before, const std::string& good) {
    auto engine = offlineEngine();
    const std::array<float, 5> reverb = engine->getReverbParameters();
    engine->setReverbRoomSize(reverb[0]);
    engine->setReverbDamp(reverb[1]);
    engine->setReverbWetMix(reverb[2]);
    engine->setReverbDryMix(reverb[3]);
    engine->setReverbWidth(reverb[4]);
    engine->setNormalizerFadeTime(100.0f); // the peak memory fades within the silence below
    engine->setReverbEnabled(true);
    engine->setNormalizerEnabled(true);
    if (!before.empty()) {
        EXPECT_TRUE(load(*engine, before, 0).ok);
        engine->startSlot(0);
        for (int tick = 0; tick < 1000 && channelPlays(*engine, 0); ++tick) {
            mixMs(*engine, 20);
        }
    }
    EXPECT_TRUE(load(*engine, good, 1).ok);
    engine->startSlot(1);
    for (int tick = 0; tick < 15; ++tick) {
        mixMs(*engine, 20); // the normalizer's gain settles on the new song
    }
    std::vector<float> heard(44100 * 2);
    engine->getSystem()->mix(44100, heard.data());
    return heard;
}

TEST(HostileInput, AGoodSongAfterAPoisonedOneSoundsAsIfItCameFirst) {
    ScratchDir dir("hostile-samples");
    writeWav(dir.file("good.wav"), 44100, 3 * 44100, halfScaleTone);
    const std::vector<float> first = heardOfGoodSong("", dir.file("good.wav"));
    ASSERT_GT(*std::max_element(first.begin(), first.end()), 0.1f);

    const struct {
        const char* name;
        float value;
    } poisons[] = {
        {"nan", std::numeric_limits<float>::quiet_NaN()},
        {"inf", std::numeric_limits<float>::infinity()},
        {"-inf", -std::numeric_limits<float>::infinity()},
        {"huge", 1e30f},
        {"largest", std::numeric_limits<float>::max()},
    };
    for (const auto& poison : poisons) {
        SCOPED_TRACE(poison.name);
        // 50 ms of poison, then 3 s of silence for the reverb to ring out.
        std::vector<float> samples(3 * 44100 * 2 + 2205 * 2, 0.0f);
        std::fill_n(samples.begin(), 2205 * 2, poison.value);
        writeBytes(dir.file("poison.wav"), chipgen::floatWav(44100, 2, samples));
        const std::vector<float> after =
            heardOfGoodSong(dir.file("poison.wav"), dir.file("good.wav"));
        float worst = 0.0f;
        for (size_t i = 0; i < first.size(); ++i) {
            const float difference = std::fabs(after[i] - first[i]);
            worst = std::isnan(difference) ? std::numeric_limits<float>::infinity()
                                           : std::max(worst, difference);
        }
        EXPECT_LT(worst, 1e-3f);
    }
}

TEST(HostileInput, SettingsThatAreNoNumbersChangeNothing) {
    ScratchDir dir("hostile-settings");
    writeWav(dir.file("song.wav"), 44100, 44100, halfScaleTone);
    using Setter = audio::Result (SoundEngine::*)(float);
    const Setter setters[] = {
        &SoundEngine::setReverbRoomSize,      &SoundEngine::setReverbDamp,
        &SoundEngine::setReverbWetMix,        &SoundEngine::setReverbDryMix,
        &SoundEngine::setReverbWidth,         &SoundEngine::setNormalizerFadeTime,
        &SoundEngine::setNormalizerThreshold, &SoundEngine::setNormalizerMaxAmp,
    };
    const float values[] = {std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()};
    for (const float value : values) {
        SCOPED_TRACE(value);
        auto engine = offlineEngine();
        engine->setReverbEnabled(true);
        engine->setNormalizerEnabled(true);
        const auto reverb = engine->getReverbParameters();
        const auto normalizer = engine->getNormalizerParameters();
        for (const Setter set : setters) {
            EXPECT_EQ(((*engine).*set)(value), audio::Result::InvalidParameter);
        }
        // What the settings dialog shows and the exit saves stays as it was.
        EXPECT_EQ(engine->getReverbParameters(), reverb);
        EXPECT_EQ(engine->getNormalizerParameters(), normalizer);
        ASSERT_TRUE(load(*engine, dir.file("song.wav"), 0).ok);
        engine->startSlot(0);
        EXPECT_GT(mixMs(*engine, 500), 0.1f) << "still audible";
    }
}

// A stand-in ripper that insists on an absolute input and on an empty folder of its own, notes
// where it ran and "rips" the input's path as the module.
constexpr const char* CarefulRipper = R"sh(#!/bin/sh
case "$1" in /*) ;; *) exit 9 ;; esac
[ -z "$(ls -A)" ] || exit 8
pwd > "$1.where"
printf '%s' "$1" > -1.mod
)sh";

TEST(HostileInput, AMusicFolderCannotPlantAPluginNorMeetTheRipper) {
    ScratchDir dir("hostile-folder"); // the current directory, as a music folder
    std::filesystem::create_directories(dir.file("plugin"));
    std::filesystem::copy_file(TONE_PLUGIN, dir.file("plugin/codec_fc.so"));
    const std::vector<uint8_t> users(100, 7);
    writeBytes(dir.file("-1.mod"), users);
    writeBytes(dir.file("rip.sh"),
               std::vector<uint8_t>(CarefulRipper, CarefulRipper + std::strlen(CarefulRipper)));
    std::filesystem::permissions(dir.file("rip.sh"), std::filesystem::perms::owner_all);
    std::filesystem::create_directories(dir.file("tmp"));
    const char* oldTmp = std::getenv("TMPDIR");
    const std::string savedTmp = oldTmp != nullptr ? oldTmp : "";
    ::setenv("TMPDIR", dir.file("tmp").c_str(), 1);

    {
        CapturedLog log(dir.file("log.html"));
        auto engine = offlineEngine();
        EXPECT_TRUE(log.contains("Loading of codec_fc.so failed!"));
        EXPECT_FALSE(log.contains("Loading of codec_fc.so completed."));
    }

    // Two rips at once, given relative paths as a command line would.
    engine_detail::RipOutcome outcomes[2];
    const std::string inputs[2] = {"a.bin", "b.bin"};
    std::thread other([&] {
        outcomes[1] = engine_detail::ripModule("rip.sh", inputs[1], std::chrono::seconds(10));
    });
    outcomes[0] = engine_detail::ripModule("rip.sh", inputs[0], std::chrono::seconds(10));
    other.join();
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(inputs[i]);
        EXPECT_EQ(outcomes[i].problem, "");
        const std::string input = dir.file(inputs[i]);
        EXPECT_EQ(std::string(outcomes[i].module.begin(), outcomes[i].module.end()), input);
        const std::vector<uint8_t> where = readBytes(input + ".where");
        const std::string folder(where.begin(), where.end() - (where.empty() ? 0 : 1));
        EXPECT_EQ(folder.rfind(dir.file("tmp/"), 0), 0u) << folder;
        EXPECT_FALSE(std::filesystem::exists(folder)) << "removed after the run";
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir.file("tmp")));
    EXPECT_EQ(readBytes(dir.file("-1.mod")), users);

    if (oldTmp != nullptr) {
        ::setenv("TMPDIR", savedTmp.c_str(), 1);
    } else {
        ::unsetenv("TMPDIR");
    }
}

} // namespace
} // namespace enginetest
