#include "PluginTestSupport.h"

#include "DecoderTestSupport.h"
#include "ModulePacker.h"
#include "PcmWavWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace plugin_test {

std::unique_ptr<audio::PluginRegistry> loadPlugin(const std::string& path) {
    auto registry = std::make_unique<audio::PluginRegistry>();
    EXPECT_EQ(registry->load(path), audio::Result::Ok) << path;
    return registry;
}

Opened openBytes(const audio::PluginRegistry* plugins, const std::string& name,
                 const std::vector<uint8_t>& bytes, bool asMemory) {
    audio::DecoderSource source;
    if (asMemory) {
        source.path = name;
        source.memory = std::make_shared<std::vector<uint8_t>>(bytes);
    } else {
        source.path = audio::test::writeTempFile(name, bytes);
    }
    Opened opened;
    opened.result = audio::openDecoder(source, plugins, &opened.decoder);
    return opened;
}

std::vector<float> readUpTo(audio::Decoder& decoder, size_t maxFrames) {
    std::vector<float> out(2 * maxFrames);
    size_t total = 0;
    while (total < maxFrames) {
        const size_t got =
            decoder.read(out.data() + 2 * total, std::min<size_t>(4096, maxFrames - total));
        if (got == 0) {
            break;
        }
        total += got;
    }
    out.resize(2 * total);
    return out;
}

Heard listen(const std::vector<float>& stereo, int sampleRate) {
    Heard heard;
    heard.frames = stereo.size() / 2;
    if (heard.frames == 0) {
        return heard;
    }
    std::vector<double> left(heard.frames);
    double sum = 0;
    for (size_t i = 0; i < heard.frames; ++i) {
        left[i] = stereo[2 * i];
        sum += left[i] * left[i];
        heard.peak = std::max(heard.peak, std::abs(left[i]));
    }
    heard.rms = std::sqrt(sum / static_cast<double>(heard.frames));
    if (heard.rms < 1e-4) {
        return heard;
    }
    // Autocorrelation over a window from the loudest part's start: the first lag (30 Hz ..
    // 8 kHz) whose correlation comes near the best one is the fundamental period.
    const size_t window = std::min<size_t>(heard.frames / 2, 8192);
    const size_t minLag = std::max<size_t>(2, static_cast<size_t>(sampleRate / 8000));
    const size_t maxLag = std::min(heard.frames - window, static_cast<size_t>(sampleRate / 30));
    if (window < 256 || maxLag <= minLag) {
        return heard;
    }
    const size_t start = (heard.frames - window - maxLag) / 2;
    std::vector<double> correlation(maxLag + 1, 0.0);
    double best = 0;
    for (size_t lag = minLag; lag <= maxLag; ++lag) {
        double c = 0;
        for (size_t i = 0; i < window; ++i) {
            c += left[start + i] * left[start + i + lag];
        }
        correlation[lag] = c;
        best = std::max(best, c);
    }
    for (size_t lag = minLag + 1; lag < maxLag; ++lag) {
        const double c = correlation[lag];
        if (c >= 0.9 * best && c >= correlation[lag - 1] && c >= correlation[lag + 1]) {
            // Parabolic interpolation between the neighbours for a sub-sample period.
            const double a = correlation[lag - 1], b = c, d = correlation[lag + 1];
            const double denominator = a - 2 * b + d;
            const double offset = denominator != 0 ? 0.5 * (a - d) / denominator : 0;
            heard.frequencyHz = sampleRate / (static_cast<double>(lag) + offset);
            break;
        }
    }
    return heard;
}

std::vector<uint8_t> noiseBytes(size_t size, uint32_t seed) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = seed * 2654435761u + 1;
    for (auto& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<uint8_t>(state);
    }
    return bytes;
}

namespace {

// A second of 16-bit mono tone.
std::vector<uint8_t> smallWav() {
    std::vector<int16_t> samples(22050);
    for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<int16_t>(8000 * std::sin(static_cast<double>(i) * 0.1));
    }
    return chipgen::pcmWav(22050, 1, samples);
}

// A ProTracker module: one pattern that plays a square-wave sample on every channel.
std::vector<uint8_t> smallModule() {
    ProTrackerModule module = ProTrackerModule::blank(1);
    module.setSample(0, 16, 0, 64, 0, 16);
    for (size_t i = 0; i < module.sampleData.size(); ++i) {
        module.sampleData[i] = i < 16 ? 0x60 : 0xA0;
    }
    for (int channel = 0; channel < 4; ++channel) {
        writeCell(module.patterns[0], 0, channel, {1, 214, 0, 0});
    }
    return module.bytes();
}

} // namespace

void expectRefused(const audio::PluginRegistry& plugins, const NamedFiles& files) {
    for (const auto& [name, bytes] : files) {
        for (const bool asMemory : {false, true}) {
            const Opened opened = openBytes(&plugins, name, bytes, asMemory);
            EXPECT_FALSE(opened.decoder && opened.decoder->type() == audio::SoundType::User)
                << name << (asMemory ? " in memory" : " as a file") << " was taken";
        }
    }
    expectLeavesForeignDataAlone(plugins);
}

void expectLeavesForeignDataAlone(const audio::PluginRegistry& plugins) {
    const struct {
        std::string name;
        std::vector<uint8_t> bytes;
    } foreign[] = {
        {"noise.bin", noiseBytes(64 * 1024)},
        {"noise.mod", noiseBytes(3000, 7)},
        {"tone.wav", smallWav()},
        {"song.mod", smallModule()},
        {"tiny.bin", {0x01}},
        {"zeros.bin", std::vector<uint8_t>(8192, 0)},
    };
    for (const auto& file : foreign) {
        for (const bool asMemory : {false, true}) {
            const Opened opened = openBytes(&plugins, file.name, file.bytes, asMemory);
            if (opened.decoder) {
                EXPECT_NE(opened.decoder->type(), audio::SoundType::User)
                    << file.name << " was taken by a plug-in";
            }
        }
    }
}

} // namespace plugin_test
