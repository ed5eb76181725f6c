#include "ToneDescription.h"

#include <cstring>
#include <sstream>
#include <string>

namespace tone {

bool hasMagic(const uint8_t* head, size_t size) {
    const size_t length = sizeof(Magic) - 1;
    return size >= length && std::memcmp(head, Magic, length) == 0;
}

std::optional<ToneDescription> parseToneDescription(const char* text, size_t size) {
    if (!hasMagic(reinterpret_cast<const uint8_t*>(text), size) || size > 4096) {
        return std::nullopt;
    }
    ToneDescription tone;
    std::istringstream lines(std::string(text + sizeof(Magic) - 1, text + size));
    std::string key;
    double value = 0;
    while (lines >> key >> value) {
        if (key == "rate") {
            if (value < 1000 || value > 192000) {
                return std::nullopt;
            }
            tone.rate = static_cast<int>(value);
        } else if (key == "frequency") {
            if (!(value >= 1 && value <= 20000)) {
                return std::nullopt;
            }
            tone.frequency = value;
        } else if (key == "frames") {
            if (value < 1 || value > 192000.0 * 600) {
                return std::nullopt;
            }
            tone.frames = static_cast<uint64_t>(value);
        } else if (key == "subsongs") {
            if (value < 1 || value > 16) {
                return std::nullopt;
            }
            tone.subsongs = static_cast<int>(value);
        }
    }
    if (!lines.eof() || tone.frames > static_cast<uint64_t>(tone.rate) * 600) {
        return std::nullopt;
    }
    return tone;
}

} // namespace tone
