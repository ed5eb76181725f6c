#include "EngineTestSupport.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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
    std::vector<uint8_t> bytes(44 + static_cast<size_t>(frames) * 4);
    auto put32 = [&](size_t at, uint32_t v) { std::memcpy(&bytes[at], &v, 4); };
    auto put16 = [&](size_t at, uint16_t v) { std::memcpy(&bytes[at], &v, 2); };
    std::memcpy(&bytes[0], "RIFF", 4);
    put32(4, static_cast<uint32_t>(bytes.size() - 8));
    std::memcpy(&bytes[8], "WAVEfmt ", 8);
    put32(16, 16);
    put16(20, 1);
    put16(22, 2);
    put32(24, static_cast<uint32_t>(rate));
    put32(28, static_cast<uint32_t>(rate) * 4);
    put16(32, 4);
    put16(34, 16);
    std::memcpy(&bytes[36], "data", 4);
    put32(40, frames * 4);
    for (uint32_t f = 0; f < frames; ++f) {
        for (int side = 0; side < 2; ++side) {
            put16(44 + f * 4 + side * 2, static_cast<uint16_t>(sample(f, side)));
        }
    }
    writeBytes(path, bytes);
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
