#include "AbcText.h"

namespace libmod_codec {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

bool isFieldLine(std::string_view line) {
    return line.size() >= 2 &&
           ((line[0] >= 'A' && line[0] <= 'Z') || (line[0] >= 'a' && line[0] <= 'z')) &&
           line[1] == ':';
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Calls `visit(line)` for each line of `text` (with its line end) until it returns false.
template <class Visit> void forEachLine(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const size_t length = end == std::string_view::npos ? text.size() : end + 1;
        if (!visit(text.substr(0, length))) {
            return;
        }
        text.remove_prefix(length);
    }
}

std::string_view withoutByteOrderMark(std::string_view text) {
    return text.starts_with(ByteOrderMark) ? text.substr(ByteOrderMark.size()) : text;
}

} // namespace

bool looksLikeAbcTune(std::span<const uint8_t> head) {
    const std::string_view text =
        withoutByteOrderMark({reinterpret_cast<const char*>(head.data()), head.size()});
    bool startsWithField = text.starts_with("%abc");
    bool hasKey = false;
    bool firstField = true;
    forEachLine(text, [&](std::string_view line) {
        if (firstField && !isBlank(line) && !line.starts_with('%')) {
            startsWithField = startsWithField || isFieldLine(line);
            firstField = false;
        }
        hasKey = line.starts_with("K:");
        return !hasKey;
    });
    return startsWithField && hasKey;
}

AbcTunes findAbcTunes(std::string_view text, size_t maxTunes) {
    text = withoutByteOrderMark(text);
    // Tune starts, one more than kept: it marks where the last kept tune ends.
    std::vector<size_t> starts;
    size_t offset = 0;
    forEachLine(text, [&](std::string_view line) {
        if (line.starts_with("X:")) {
            starts.push_back(offset);
        }
        offset += line.size();
        return starts.size() <= maxTunes;
    });
    if (starts.empty()) {
        return {{}, {text}};
    }
    AbcTunes found{text.substr(0, starts.front()), {}};
    for (size_t i = 0; i < starts.size() && i < maxTunes; ++i) {
        const size_t end = i + 1 < starts.size() ? starts[i + 1] : text.size();
        found.tunes.push_back(text.substr(starts[i], end - starts[i]));
    }
    return found;
}

std::vector<uint8_t> tuneText(const AbcTunes& tunes, size_t index) {
    std::vector<uint8_t> text;
    forEachLine(tunes.header, [&](std::string_view line) {
        if (!isBlank(line)) {
            text.insert(text.end(), line.begin(), line.end());
        }
        return true;
    });
    const std::string_view tune = tunes.tunes.at(index);
    text.insert(text.end(), tune.begin(), tune.end());
    return text;
}

} // namespace libmod_codec
