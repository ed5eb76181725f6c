#include "BenchFiles.h"

#include "WavWriter.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace enginebench {

std::string scratchDir(const std::string& name) {
    const std::string dir = "/tmp/tamberlo-bench-" + name + "-" + std::to_string(::getpid());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

void mustRun(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
        std::exit(1);
    }
}

std::vector<int16_t> readWavFrames(const std::string& path, int* rate) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    auto u32 = [&](size_t at) {
        uint32_t v = 0;
        std::memcpy(&v, bytes.data() + at, 4);
        return v;
    };
    if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0) {
        return {};
    }
    for (size_t at = 12; at + 8 <= bytes.size();) {
        const uint32_t size = u32(at + 4);
        if (std::memcmp(bytes.data() + at, "fmt ", 4) == 0 && rate != nullptr) {
            *rate = static_cast<int>(u32(at + 12));
        }
        if (std::memcmp(bytes.data() + at, "data", 4) == 0) {
            const size_t available = std::min<size_t>(size, bytes.size() - at - 8);
            std::vector<int16_t> samples(available / 2);
            std::memcpy(samples.data(), bytes.data() + at + 8, samples.size() * 2);
            return samples;
        }
        at += 8 + size + (size & 1);
    }
    return {};
}

void writeWav(const std::string& path, int rate, const int16_t* samples, size_t frames) {
    // The library's own writer: 16-bit values survive the float round trip exactly.
    std::vector<float> values(samples, samples + frames * 2);
    for (float& v : values) {
        v /= 32768.0f;
    }
    std::unique_ptr<audio::WavWriter> writer;
    if (audio::WavWriter::open(path, rate, &writer) != audio::Result::Ok ||
        writer->write(values.data(), frames) != audio::Result::Ok ||
        writer->finish() != audio::Result::Ok) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        std::exit(1);
    }
}

} // namespace enginebench
