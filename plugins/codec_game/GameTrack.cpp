#include "GameTrack.h"

#include <algorithm>

namespace game_codec {

namespace {

uint64_t framesOf(int64_t milliseconds) {
    const uint64_t frames = static_cast<uint64_t>(milliseconds) * SampleRate / 1000;
    return std::clamp<uint64_t>(frames, 1, MaxTrackFrames);
}

constexpr int64_t FadeMilliseconds = 4000;

std::string printable(const char* text, size_t maxLength) {
    std::string out;
    for (; text != nullptr && *text != '\0' && out.size() < maxLength; ++text) {
        const unsigned char c = static_cast<unsigned char>(*text);
        if (c >= 0x20 && c < 0x7F) {
            out.push_back(static_cast<char>(c));
        }
    }
    while (!out.empty() && out.back() == ' ') {
        out.pop_back();
    }
    return out;
}

} // namespace

TrackPlan planTrack(const gme_info_t& info) {
    TrackPlan plan;
    if (info.length > 0) {
        plan.lengthFrames = framesOf(info.length);
    } else if (info.loop_length > 0 && info.intro_length >= 0) {
        const int64_t milliseconds = int64_t{info.intro_length} + 2 * int64_t{info.loop_length};
        plan.lengthFrames = framesOf(milliseconds);
        plan.fadeFrames = std::min(plan.lengthFrames / 4, framesOf(FadeMilliseconds));
    }
    return plan;
}

std::optional<TrackPlan> startTrack(Music_Emu& emu, int index) {
    if (index < 0 || index >= gme_track_count(&emu)) {
        return std::nullopt;
    }
    gme_info_t* raw = nullptr;
    if (gme_track_info(&emu, &raw, index) != nullptr || raw == nullptr) {
        return std::nullopt;
    }
    const InfoPtr info(raw);
    const TrackPlan plan = planTrack(*info);
    // Lengths are counted here, not by libgme, which would also fade on its own.
    gme_set_autoload_playback_limit(&emu, 0);
    gme_ignore_silence(&emu, plan.lengthFrames != UnknownLength ? 1 : 0);
    if (gme_start_track(&emu, index) != nullptr) {
        return std::nullopt;
    }
    return plan;
}

std::string systemName(Music_Emu& emu) {
    constexpr size_t MaxLength = 40;
    gme_info_t* raw = nullptr;
    if (gme_track_info(&emu, &raw, 0) == nullptr && raw != nullptr) {
        const InfoPtr info(raw);
        std::string tagged = printable(info->system, MaxLength);
        if (!tagged.empty()) {
            return tagged;
        }
    }
    return printable(gme_type_system(gme_type(&emu)), MaxLength);
}

} // namespace game_codec
