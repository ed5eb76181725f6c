#include "DecoderTestSupport.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace audio::test {

std::string mediaPath(const std::string& relative) {
    // The build tree's media folder unless the environment names another one.
    const char* folder = std::getenv("TAMBERLO_TEST_MEDIA");
    return std::string(folder != nullptr ? folder : DECODER_TEST_MEDIA_DIR) + "/" + relative;
}

std::unique_ptr<Decoder> openOrFail(const std::string& path, bool accurateTime) {
    DecoderSource source;
    source.path = path;
    source.accurateTime = accurateTime;
    std::unique_ptr<Decoder> decoder;
    const Result result = openDecoder(source, nullptr, &decoder);
    EXPECT_EQ(result, Result::Ok) << path << ": " << errorString(result);
    return decoder;
}

std::vector<float> readAll(Decoder& decoder, size_t blockFrames) {
    std::vector<float> all;
    std::vector<float> block(blockFrames * 2);
    for (;;) {
        const size_t got = decoder.read(block.data(), blockFrames);
        if (got == 0) {
            break;
        }
        all.insert(all.end(), block.begin(), block.begin() + static_cast<long>(got * 2));
    }
    return all;
}

namespace {
std::string runAndCapture(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return output;
    }
    char buffer[65536];
    size_t got = 0;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        output.append(buffer, got);
    }
    pclose(pipe);
    return output;
}
} // namespace

int ffmpegChannels(const std::string& path) {
    const std::string out = runAndCapture(
        "ffprobe -v quiet -select_streams a:0 -show_entries stream=channels -of csv=p=0 '" + path +
        "'");
    return std::atoi(out.c_str());
}

std::vector<float> ffmpegReference(const std::string& path) {
    const int channels = ffmpegChannels(path);
    const std::string raw = runAndCapture("ffmpeg -nostdin -v quiet -i '" + path +
                                          "' -map 0:a:0 -f f32le -c:a pcm_f32le -");
    std::vector<float> samples(raw.size() / sizeof(float));
    std::memcpy(samples.data(), raw.data(), samples.size() * sizeof(float));
    if (channels == 1) {
        std::vector<float> stereo(samples.size() * 2);
        for (size_t i = 0; i < samples.size(); ++i) {
            stereo[2 * i] = stereo[2 * i + 1] = samples[i];
        }
        return stereo;
    }
    return samples;
}

double bestCorrelation(const std::vector<float>& a, const std::vector<float>& b, size_t frames,
                       int maxShift) {
    double best = -1;
    for (int shift = -maxShift; shift <= maxShift; ++shift) {
        double ab = 0;
        double aa = 0;
        double bb = 0;
        for (size_t i = 0; i < frames; ++i) {
            const long j = static_cast<long>(i) + shift;
            if (j < 0 || 2 * static_cast<size_t>(j) >= b.size() || 2 * i >= a.size()) {
                continue;
            }
            const double x = a[2 * i];
            const double y = b[2 * static_cast<size_t>(j)];
            ab += x * y;
            aa += x * x;
            bb += y * y;
        }
        if (aa > 0 && bb > 0) {
            best = std::max(best, ab / std::sqrt(aa * bb));
        }
    }
    return best;
}

std::string testName(const std::string& file) {
    std::string name = file;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) {
            c = '_';
        }
    }
    return name;
}

std::vector<uint8_t> fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string writeTempFile(const std::string& name, const std::vector<uint8_t>& bytes) {
    const auto folder = std::filesystem::temp_directory_path() /
                        ("tamberlo-decoder-test-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const auto path = folder / name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
    return path.string();
}

} // namespace audio::test
