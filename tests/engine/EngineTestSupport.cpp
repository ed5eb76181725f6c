#include "EngineTestSupport.h"

#include "WavWriter.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <unistd.h>

namespace enginetest {

ScratchDir::ScratchDir(const std::string& name) {
    path_ = ::testing::TempDir() + "engine-" + name + "-" + std::to_string(::getpid());
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
    previous_ = std::filesystem::current_path().string();
    std::filesystem::current_path(path_);
}

ScratchDir::~ScratchDir() {
    std::filesystem::current_path(previous_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

CapturedLog::CapturedLog(const std::string& path) : path_(path) {
    std::filesystem::remove(path_);
    log_ = std::make_unique<LogFile>(path_);
    theLogFile = log_.get();
}

CapturedLog::~CapturedLog() {
    theLogFile = nullptr;
}

std::vector<LogEntry> CapturedLog::entries() const {
    std::ifstream file(path_);
    const std::string html((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    static const std::regex line(R"re(<span class="(\w*)">\d\d:\d\d:\d\d ([^\n]*)</span><br>)re");
    std::vector<LogEntry> out;
    for (auto it = std::sregex_iterator(html.begin(), html.end(), line);
         it != std::sregex_iterator(); ++it) {
        const std::string cls = (*it)[1];
        out.push_back({cls == "black" ? 0 : cls == "blue" ? 1 : cls == "red" ? 2 : 3, (*it)[2]});
    }
    return out;
}

bool CapturedLog::contains(const std::string& text) const {
    for (const LogEntry& entry : entries()) {
        if (entry.text.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::unique_ptr<SoundEngine> offlineEngine() {
    auto engine = std::make_unique<SoundEngine>();
    audio::OutputSpec outputSpec;
    outputSpec.kind = audio::OutputKind::Offline;
    engine->init(outputSpec);
    return engine;
}

void writeWav(const std::string& path, int rate, uint32_t frames,
              const std::function<int16_t(uint32_t, int)>& sample) {
    // The library's own writer: 16-bit values survive the float round trip exactly.
    std::vector<float> values(size_t{frames} * 2);
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = sample(static_cast<uint32_t>(i / 2), static_cast<int>(i % 2)) / 32768.0f;
    }
    std::unique_ptr<audio::WavWriter> writer;
    ASSERT_EQ(audio::WavWriter::open(path, rate, &writer), audio::Result::Ok);
    EXPECT_EQ(writer->write(values.data(), frames), audio::Result::Ok);
    EXPECT_EQ(writer->finish(), audio::Result::Ok);
}

void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

std::vector<uint8_t> readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Loaded load(SoundEngine& engine, const std::string& path, int slot, bool accurate, bool trim,
            int cutoff) {
    Loaded loaded;
    loaded.ok = engine.loadSong(path, slot, accurate, trim, cutoff, &loaded.end, &loaded.type);
    return loaded;
}

bool channelPlays(const SoundEngine& engine, int slot) {
    bool playing = false;
    engine.getChannel(slot).isPlaying(&playing);
    return playing;
}

unsigned positionMs(const SoundEngine& engine, int slot) {
    unsigned position = 0;
    EXPECT_EQ(engine.getChannel(slot).getPosition(&position, audio::TimeUnit::Ms),
              audio::Result::Ok);
    return position;
}

float mixMs(SoundEngine& engine, unsigned ms) {
    const size_t frames = 44100u * ms / 1000;
    std::vector<float> out(frames * 2);
    engine.getSystem()->mix(frames, out.data());
    float peak = 0;
    for (float v : out) {
        peak = std::max(peak, std::fabs(v));
    }
    return peak;
}

int ticksUntilEnd(SoundEngine& engine, PlaybackSequencer& sequencer, int limit) {
    for (int ticks = 1; ticks <= limit; ++ticks) {
        mixMs(engine, 20);
        if (sequencer.tick().ended) {
            return ticks;
        }
    }
    return -1;
}

} // namespace enginetest
