#pragma once
// Where the generated test media are, and the 16-bit sample bytes of a RIFF WAV file, found by
// walking its chunks (encoders may put LIST or other chunks before "data").

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace audio::test {

// The generated media folder: TAMBERLO_TEST_MEDIA when set, else the build tree's own.
inline std::string mediaPath(const std::string& name) {
    const char* dir = std::getenv("TAMBERLO_TEST_MEDIA");
    return std::string(dir != nullptr && *dir != '\0' ? dir : TAMBERLO_TEST_MEDIA_DIR) + "/" + name;
}

inline std::vector<char> fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The bytes of the "data" chunk; empty when there is none.
inline std::vector<char> wavData(const std::vector<char>& file) {
    size_t at = 12;
    while (at + 8 <= file.size()) {
        uint32_t size = 0;
        std::memcpy(&size, file.data() + at + 4, 4);
        const size_t body = at + 8;
        if (std::memcmp(file.data() + at, "data", 4) == 0) {
            const size_t end = std::min(file.size(), body + size);
            return {file.begin() + static_cast<long>(body), file.begin() + static_cast<long>(end)};
        }
        at = body + size + (size & 1);
    }
    return {};
}

inline std::vector<int16_t> wavSamples(const std::string& path) {
    const std::vector<char> data = wavData(fileBytes(path));
    std::vector<int16_t> samples(data.size() / 2);
    std::memcpy(samples.data(), data.data(), samples.size() * 2);
    return samples;
}

} // namespace audio::test
