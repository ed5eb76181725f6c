#include "PcmWavWriter.h"

#include <cstring>
#include <string_view>

namespace chipgen {
namespace {

void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

void putText(std::vector<uint8_t>& out, std::string_view text) {
    out.insert(out.end(), text.begin(), text.end());
}

std::vector<uint8_t> wav(int format, int rate, int channels, int bytesPerSample, const void* data,
                         size_t dataBytes) {
    const auto frameBytes = static_cast<uint32_t>(channels * bytesPerSample);
    std::vector<uint8_t> out;
    putText(out, "RIFF");
    putLittle(out, static_cast<uint32_t>(36 + dataBytes), 4);
    putText(out, "WAVEfmt ");
    putLittle(out, 16, 4);
    putLittle(out, static_cast<uint32_t>(format), 2);
    putLittle(out, static_cast<uint32_t>(channels), 2);
    putLittle(out, static_cast<uint32_t>(rate), 4);
    putLittle(out, static_cast<uint32_t>(rate) * frameBytes, 4);
    putLittle(out, frameBytes, 2);
    putLittle(out, static_cast<uint32_t>(8 * bytesPerSample), 2);
    putText(out, "data");
    putLittle(out, static_cast<uint32_t>(dataBytes), 4);
    const size_t at = out.size();
    out.resize(at + dataBytes);
    std::memcpy(out.data() + at, data, dataBytes); // the machines we build for are little-endian
    return out;
}

} // namespace

std::vector<uint8_t> pcmWav(int rate, int channels, const std::vector<int16_t>& samples) {
    return wav(1, rate, channels, 2, samples.data(), samples.size() * 2);
}

std::vector<uint8_t> floatWav(int rate, int channels, const std::vector<float>& samples) {
    return wav(3, rate, channels, 4, samples.data(), samples.size() * 4);
}

} // namespace chipgen
