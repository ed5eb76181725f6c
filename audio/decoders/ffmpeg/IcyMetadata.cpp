#include "IcyMetadata.h"

#include <cstdint>

namespace audio::ffmpeg {

namespace {

// Length of the UTF-8 sequence starting at text[at], or 0 when it is not valid UTF-8 (overlong
// forms, surrogates and values past U+10FFFF included).
size_t utf8SequenceAt(std::string_view text, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(at);
    if (lead < 0x80) {
        return 1;
    }
    size_t length = 0;
    uint32_t value = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        value = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        value = lead & 0x0Fu;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        value = lead & 0x07u;
    } else {
        return 0;
    }
    if (at + length > text.size()) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0u) != 0x80u) {
            return 0;
        }
        value = (value << 6) | (byte(at + i) & 0x3Fu);
    }
    const uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < smallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        return 0;
    }
    return length;
}

bool isUtf8(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8SequenceAt(text, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string latin1ToUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x80) {
            out += c;
        } else {
            out += static_cast<char>(0xC0 | (byte >> 6));
            out += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return out;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string icyDisplayText(std::string_view raw) {
    std::string text = isUtf8(raw) ? std::string(raw) : latin1ToUtf8(raw);
    for (char& c : text) {
        if (static_cast<uint8_t>(c) < 0x20 || c == 0x7F) {
            c = ' ';
        }
    }
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::optional<std::string> icyStreamTitle(std::string_view block) {
    constexpr std::string_view key = "StreamTitle='";
    const size_t found = block.find(key);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = block.substr(found + key.size());
    size_t end = rest.find("';");
    if (end == std::string_view::npos) {
        end = rest.rfind('\''); // the last field may lack its semicolon
    }
    return icyDisplayText(rest.substr(0, end));
}

std::string icyHeader(std::string_view headers, std::string_view name) {
    for (size_t line = 0; line < headers.size();) {
        const size_t next = headers.find('\n', line);
        const std::string_view text = headers.substr(
            line, next == std::string_view::npos ? std::string_view::npos : next - line);
        const size_t colon = text.find(':');
        if (colon != std::string_view::npos && equalIgnoringCase(text.substr(0, colon), name)) {
            return icyDisplayText(text.substr(colon + 1));
        }
        if (next == std::string_view::npos) {
            break;
        }
        line = next + 1;
    }
    return {};
}

} // namespace audio::ffmpeg
