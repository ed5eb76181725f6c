// The saved form of a CUE track entry ("SHEET#N") and turning it back into the track.
#include "FileHandle.h"
#include "PathText.h"
#include "PlaylistCue.h"

#include <charconv>
#include <optional>
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

void CueTrackResolver::resolve(PlaylistEntry& entry) {
    const auto reference = splitCueTrackPath(entry.path);
    if (!reference || isRegularFile(entry.path)) {
        return;
    }
    const auto& [sheet, trackNumber] = *reference;
    if (sheet != sheet_) {
        sheet_ = sheet;
        tracks_ = readCue(sheet).entries;
        trackIndex_.clear();
        for (std::size_t i = 0; i < tracks_.size(); ++i) {
            if (const auto track = splitCueTrackPath(tracks_[i].path)) {
                trackIndex_.emplace(track->second, i);
            }
        }
    }
    const auto found = trackIndex_.find(trackNumber);
    if (found == trackIndex_.end()) {
        return;
    }
    const PlaylistEntry& track = tracks_[found->second];
    entry.title = track.title;
    entry.trackFile = track.trackFile;
    entry.trackStartMs = track.trackStartMs;
    entry.trackEndMs = track.trackEndMs;
}
