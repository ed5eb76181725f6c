// A CUE track of a real FLAC file plays as a song of its own: its length, its first frames at
// INDEX 01, its end at the next track's INDEX 01, and a gapless measurement of the track alone.

#include "EngineTestSupport.h"
#include "PlaylistCue.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <vector>

namespace {

using enginetest::CapturedLog;
using enginetest::ScratchDir;

std::string media(const std::string& name) {
    const char* dir = std::getenv("TAMBERLO_TEST_MEDIA");
    return std::string(dir != nullptr ? dir : TAMBERLO_TEST_MEDIA_DIR) + "/" + name;
}

// Up to `frames` 16-bit stereo frames of `path` opened with the range [startMs, endMs), read
// from frame `from` on.
std::vector<int16_t> readFrames(audio::System& system, const std::string& path, unsigned startMs,
                                unsigned endMs, unsigned from, unsigned frames) {
    audio::CreateSoundInfo info;
    info.rangeStartMs = startMs;
    info.rangeEndMs = endMs;
    audio::Sound* sound = nullptr;
    system.createSound(path.c_str(), audio::Mode::Stream | audio::Mode::OpenOnly, &info, &sound);
    std::vector<int16_t> values(2 * static_cast<size_t>(frames));
    const auto bytes = static_cast<unsigned>(values.size() * 2);
    unsigned total = 0;
    unsigned read = 0;
    if (sound != nullptr && sound->seekData(from) == audio::Result::Ok) {
        do {
            read = 0;
            sound->readData(reinterpret_cast<char*>(values.data()) + total, bytes - total, &read);
            total += read;
        } while (read > 0 && total < bytes);
    }
    values.resize(total / 2);
    if (sound != nullptr) {
        sound->release();
    }
    return values;
}

TEST(CueTrackMedia, ATrackOfAFlacFilePlaysItsOwnRangeAsASongOfItsOwn) {
    ScratchDir dir("cue");
    CapturedLog log(dir.file("log.html"));
    const std::string flac = media("music.flac"); // 20 s at 44.1 kHz
    std::ofstream(dir.file("album.cue"))
        << "FILE \"" << flac << "\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
        << "TRACK 02 AUDIO\nINDEX 01 00:05:00\nTRACK 03 AUDIO\nINDEX 01 00:07:30\n";
    const ListRead sheet = readCue(dir.file("album.cue"));
    ASSERT_EQ(sheet.entries.size(), 3u);
    const PlaylistEntry& second = sheet.entries[1];
    ASSERT_EQ(second.trackFile, flac);

    auto engine = enginetest::offlineEngine();
    PlaybackSequencer sequencer(*engine);
    struct Case {
        const PlaylistEntry& track;
        unsigned lengthMs;
    };
    for (const Case& c : {Case{second, 2400}, Case{sheet.entries[2], 12600}}) {
        SequencedEntry song{
            c.track.trackFile, 0, 0, "", {c.track.trackStartMs, c.track.trackEndMs}, ""};
        ASSERT_TRUE(sequencer.start(song).loaded);
        EXPECT_EQ(song.lengthMs, c.lengthMs);
        EXPECT_EQ(sequencer.endMs(), c.lengthMs);
        EXPECT_NEAR(enginetest::ticksUntilEnd(*engine, sequencer), c.lengthMs / 20, 1);
    }

    // Seeking stays within the track: 2 s in leaves 0.4 s; past its end is refused.
    SequencedEntry again{second.trackFile, 0, 0, "", {second.trackStartMs, second.trackEndMs}, ""};
    ASSERT_TRUE(sequencer.start(again).loaded);
    audio::Channel channel = engine->getChannel(sequencer.slot());
    EXPECT_NE(channel.setPosition(2500, audio::TimeUnit::Ms), audio::Result::Ok);
    ASSERT_EQ(channel.setPosition(2000, audio::TimeUnit::Ms), audio::Result::Ok);
    EXPECT_NEAR(enginetest::ticksUntilEnd(*engine, sequencer), 20, 1);

    // Frame for frame: the track is the file from INDEX 01 (5 s) to the next one (7.4 s).
    const unsigned frames = 2400 * 441 / 10;
    const std::vector<int16_t> track =
        readFrames(*engine->getSystem(), flac, 5000, 7400, 0, 200000);
    EXPECT_EQ(track.size(), 2u * frames);
    EXPECT_EQ(track, readFrames(*engine->getSystem(), flac, 0, 0, 5 * 44100, frames));

    // Gapless on: the silence measurement sees the first track only, not the 20 s file.
    SequencerOptions gapless;
    gapless.gapless = true;
    sequencer.setOptions(gapless);
    SequencedEntry first{sheet.entries[0].trackFile,       0, 0, "",
                         {0, sheet.entries[0].trackEndMs}, ""};
    ASSERT_TRUE(sequencer.start(first).loaded);
    EXPECT_EQ(first.lengthMs, 5000u);
    EXPECT_GT(sequencer.endMs(), 0u);
    EXPECT_LE(sequencer.endMs(), 5000u - 765u);
    sequencer.stop();
}

} // namespace
