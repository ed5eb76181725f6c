// The saved form of a CUE track entry ("SHEET#N") and turning it back into the track.
#include "FileHandle.h"
#include "PathText.h"
#include "PlaylistCue.h"

#include <charconv>
#include <optional>
#include <unordered_map>
#include <utility>

namespace {

// "X.cue#N": the sheet and track number, or nothing.
std::optional<std::pair<std::string, unsigned>> splitCueTrackPath(const std::string& path) {
    const size_t hash = path.rfind('#');
    if (hash == std::string::npos) {
        return std::nullopt;
    }
    const std::string_view sheet = std::string_view(path).substr(0, hash);
    const std::string_view digits = std::string_view(path).substr(hash + 1);
    unsigned trackNumber = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), trackNumber);
    if (digits.empty() || digits.size() > 9 || error != std::errc() ||
        end != digits.data() + digits.size() || !pathtext::endsWithNoCase(sheet, ".cue")) {
        return std::nullopt;
    }
    return std::pair{std::string(sheet), trackNumber};
}

} // namespace

std::string cueTrackPath(std::string_view sheetPath, unsigned trackNumber) {
    return std::string(sheetPath) + "#" + std::to_string(trackNumber);
}

void resolveCueTracks(std::vector<PlaylistEntry>& entries) {
    std::unordered_map<std::string, std::vector<PlaylistEntry>> sheets;
    for (PlaylistEntry& entry : entries) {
        const auto reference = splitCueTrackPath(entry.path);
        if (!reference || isRegularFile(entry.path)) {
            continue;
        }
        const auto [sheet, trackNumber] = *reference;
        auto found = sheets.find(sheet);
        if (found == sheets.end()) {
            found = sheets.emplace(sheet, readCue(sheet).entries).first;
        }
        const std::string wanted = cueTrackPath(sheet, trackNumber);
        for (const PlaylistEntry& track : found->second) {
            if (track.path == wanted) {
                entry.title = track.title;
                entry.trackFile = track.trackFile;
                entry.trackStartMs = track.trackStartMs;
                entry.trackEndMs = track.trackEndMs;
                break;
            }
        }
    }
}
